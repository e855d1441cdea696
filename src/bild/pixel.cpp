// Pixel value operations: fill, 2x2 mosaic fill, gain and offset.
#include <cstddef>
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "bild/bild.h"

namespace {

// Table of factor * i + offset for every sample value i, rounded half up
// (+0.5, then truncated) and clamped with strict comparisons, so exactly
// 255.0 stays 255 and -0.0 gives 0. A NaN gain or offset maps to 0 instead
// of an undefined conversion.
template <typename T>
std::vector<T> multaddtabelle(double factor, double offset) {
    constexpr size_t n = size_t(1) << (8 * sizeof(T));
    const double grenze = double(n - 1);
    const double c = offset + 0.5;
    std::vector<T> tabelle(n);
    for (size_t i = 0; i < n; ++i) {
        const double t = double(i) * factor + c;
        tabelle[i] = t > grenze ? T(n - 1) : t >= 0.0 ? T(t) : T(0);
    }
    return tabelle;
}

template <typename T>
void abbilden(T* __restrict zeile, size_t n, const T* __restrict tabelle) {
    for (size_t i = 0; i < n; ++i) zeile[i] = tabelle[zeile[i]];
}

// 8-bit samples go through a table of byte pairs built from the 256
// entries: one 16-bit lookup maps two samples, which halves the loads and
// stores per sample (the table's 128 KiB stay in the second-level cache).
// Worth building only for images of some size.
void abbilden_paare(unsigned char** zeilen, int hoehe, size_t n, const uint8_t* tabelle) {
    std::vector<uint16_t> paare(65536);
    for (uint32_t v = 0; v < 65536; ++v) {
        unsigned char b[2] = {tabelle[v & 0xFF], tabelle[v >> 8]};
        uint16_t w;
        std::memcpy(&w, b, 2);  // the bytes of a pair stay where they were
        paare[v] = w;
    }
    for (int y = 0; y < hoehe; ++y) {
        unsigned char* z = zeilen[y];
        size_t i = 0;
        for (; i + 2 <= n; i += 2) {
            unsigned char b[2] = {z[i], z[i + 1]};
            uint16_t w;
            std::memcpy(&w, b, 2);
            w = paare[w];
            std::memcpy(z + i, &w, 2);
        }
        if (i < n) z[i] = tabelle[z[i]];
    }
}

}  // namespace

void CBILD::setzwert(unsigned value) {
    if (!hatpixel()) return;
    const size_t n = size_t(breite);
    for (int y = 0; y < hoehe; ++y) {
        if (bpp == 1)
            std::memset(zeile[y], int(value & 0xff), n);
        else if (bpp == 2)
            std::fill_n(reinterpret_cast<uint16_t*>(zeile[y]), n, uint16_t(value));
    }
}

void CBILD::setzrawvalue(unsigned* values) {
    if (!values || !hatpixel() || (bpp != 1 && bpp != 2)) return;
    const size_t n = size_t(breite);
    // Row 1 belongs to the pattern even when the image has one row only:
    // then it is simply not there to write.
    for (int y = 0; y < std::min(hoehe, 2); ++y) {
        const unsigned gerade = values[size_t(2 * y)], ungerade = values[size_t(2 * y + 1)];
        for (size_t x = 0; x < n; ++x) {
            const unsigned v = (x & 1) ? ungerade : gerade;
            if (bpp == 1)
                zeile[y][x] = uint8_t(v);
            else
                reinterpret_cast<uint16_t*>(zeile[y])[x] = uint16_t(v);
        }
    }
    for (int y = 2; y < hoehe; ++y) std::memcpy(zeile[y], zeile[y - 2], n * size_t(bpp));
}

void CBILD::multaddwert(double factor, double offset) {
    if (!hatpixel()) return;
    const size_t n = size_t(breite) * size_t(bpp);
    if (bpp == 1 || bpp == 3) {
        const std::vector<uint8_t> tabelle = multaddtabelle<uint8_t>(factor, offset);
        if (n * size_t(hoehe) >= (size_t(1) << 20))
            abbilden_paare(zeile, hoehe, n, tabelle.data());
        else
            for (int y = 0; y < hoehe; ++y) abbilden(zeile[y], n, tabelle.data());
    } else if (bpp == 2 || bpp == 6) {
        const std::vector<uint16_t> tabelle = multaddtabelle<uint16_t>(factor, offset);
        for (int y = 0; y < hoehe; ++y)
            abbilden(reinterpret_cast<uint16_t*>(zeile[y]), n / 2, tabelle.data());
    }
}
