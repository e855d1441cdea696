// 8-bit display rows and gray images from colour images.
#include <cstddef>
#include <cstdint>

#include "bild/bild.h"

namespace {

// Luminance with the weights 0.299, 0.587, 0.114 in units of 1/32768
// (9798 + 19235 + 3735 = 32768, so white stays white), rounded half up.
// 16-bit samples keep the sum below 2^32.
inline uint32_t leuchte(uint32_t r, uint32_t g, uint32_t b) {
    return (9798u * r + 19235u * g + 3735u * b + 16384u) >> 15;
}

inline unsigned char bis255(uint32_t v) { return (unsigned char)(v < 255u ? v : 255u); }

// The three colour samples of a row and the distance between pixels.
template <typename T>
struct Farbzeile {
    const T* r;
    const T* g;
    const T* b;
    int schritt;
};

template <typename T>
Farbzeile<T> farbzeile(const CBILD& bild, const unsigned char* zeile) {
    const T* s = reinterpret_cast<const T*>(zeile);
    const size_t n = size_t(bild.breite);
    if (bild.istplanar()) return {s + 2 * n, s + n, s, 1};
    const int schritt = bild.bpp == 4 ? 4 : 3;
    if (bild.flag == 0) return {s + 2, s + 1, s, schritt};
    return {s, s + 1, s + 2, schritt};
}

// The pixel step is a constant in each loop so the compiler can vectorise it.
template <int Schritt, typename T, typename Op>
void je_pixel(const Farbzeile<T>& f, size_t n, Op op) {
    for (size_t i = 0; i < n; ++i) op(i, f.r[Schritt * i], f.g[Schritt * i], f.b[Schritt * i]);
}

template <typename T, typename Op>
void je_pixel(const Farbzeile<T>& f, size_t n, Op op) {
    if (f.schritt == 1) je_pixel<1>(f, n, op);
    else if (f.schritt == 3) je_pixel<3>(f, n, op);
    else je_pixel<4>(f, n, op);
}

template <typename T>
void grau_anzeigen(const T* __restrict s, size_t n, unsigned int sh, int kanaele, unsigned char* __restrict d) {
    if (kanaele == 1) {
        for (size_t i = 0; i < n; ++i) d[i] = bis255(uint32_t(s[i]) >> sh);
    } else {
        for (size_t i = 0; i < n; ++i) d[3 * i] = d[3 * i + 1] = d[3 * i + 2] = bis255(uint32_t(s[i]) >> sh);
    }
}

template <typename T>
void farbe_anzeigen(const CBILD& bild, const unsigned char* zeile, unsigned int sh, int kanaele,
                    unsigned char* d) {
    const Farbzeile<T> f = farbzeile<T>(bild, zeile);
    const size_t n = size_t(bild.breite);
    if (kanaele == 1) {
        je_pixel(f, n, [=](size_t i, uint32_t r, uint32_t g, uint32_t b) { d[i] = bis255(leuchte(r, g, b) >> sh); });
    } else {
        je_pixel(f, n, [=](size_t i, uint32_t r, uint32_t g, uint32_t b) {
            d[3 * i] = bis255(r >> sh);
            d[3 * i + 1] = bis255(g >> sh);
            d[3 * i + 2] = bis255(b >> sh);
        });
    }
}

template <typename T>
void grau_zeile(const CBILD& bild, const unsigned char* zeile, T* d) {
    je_pixel(farbzeile<T>(bild, zeile), size_t(bild.breite),
             [=](size_t i, uint32_t r, uint32_t g, uint32_t b) { d[i] = T(leuchte(r, g, b)); });
}

}  // namespace

int CBILD::anzeigezeile(int y, unsigned char* ziel, int kanaele, unsigned int shift) const {
    if (!ziel || !hatpixel() || y < 0 || y >= hoehe || (kanaele != 1 && kanaele != 3)) return 1;
    const unsigned int sh = shift & 31;
    const size_t n = size_t(breite);
    const unsigned char* z = zeile[y];
    if (bpp == 1) grau_anzeigen(z, n, sh, kanaele, ziel);
    else if (bpp == 2) grau_anzeigen(reinterpret_cast<const uint16_t*>(z), n, sh, kanaele, ziel);
    else if (bpp == 4 && farbe32 != 256) grau_anzeigen(reinterpret_cast<const uint32_t*>(z), n, sh, kanaele, ziel);
    else if (bpp == 3 || bpp == 4) farbe_anzeigen<uint8_t>(*this, z, sh, kanaele, ziel);
    else if (bpp == 6) farbe_anzeigen<uint16_t>(*this, z, sh, kanaele, ziel);
    else return 1;
    return 0;
}

unsigned int CBILD::anzeigeschiebung() const {
    // getminmax reads 4-byte colour as 32-bit words and 3-byte rows only in
    // part; 8-bit samples need no shift anyway.
    if (bpp == 1 || bpp == 3 || (bpp == 4 && farbe32 == 256)) return 0;
    unsigned int lo = 0, hi = 0;
    getminmax(&lo, &hi);
    return passschiebung(hi, 8);
}

int CBILD::setzgrau(const CBILD* src) {
    if (!src || !src->hatpixel()) return 1;
    if (!src->istfarbig()) {
        setzen(src);
        return 0;
    }
    CBILD kopie;
    const CBILD* q = quelle(src, kopie);
    const bool breit = q->bpp == 6;
    speicher(q->breite, q->hoehe, breit ? 2 : 1);
    worte_von(*q);
    flag = 0;
    farbe32 = 0;
    for (int y = 0; y < hoehe; ++y) {
        if (breit) grau_zeile(*q, q->zeile[y], reinterpret_cast<uint16_t*>(zeile[y]));
        else grau_zeile(*q, q->zeile[y], zeile[y]);
    }
    return 0;
}
