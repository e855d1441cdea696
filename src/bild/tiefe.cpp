// Depth conversion between 32-, 16- and 8-bit gray, and 4-byte colour to
// 3-byte colour.
#include <cstddef>
#include <cstdint>

#include "app/dateiname.h"
#include "bild/bild.h"
#include "bild/zeile.h"

namespace {

// Right shift, then saturate: a bright pixel stays the brightest value
// instead of wrapping round to a dark one.
template <typename T>
void schiebe_saettige(const uint32_t* __restrict von, size_t n, unsigned int shift, T* __restrict nach) {
    constexpr uint32_t grenze = T(~T(0));
    for (size_t i = 0; i < n; ++i) {
        const uint32_t v = von[i] >> shift;
        nach[i] = T(v < grenze ? v : grenze);
    }
}

template <typename T>
int set32_teil(CBILD& ziel, const CBILD* src, CTeilbereich* region, unsigned int shift) {
    if (!src || !src->hatpixel() || src->bpp != 4) return 1;
    CTeilbereich ganz;
    region = CTeilbereich::einpassen(region, ganz, src->breite, src->hoehe);
    ziel.speicher(region->breite, region->hoehe, int(sizeof(T)));
    // A fitted region lies inside src whenever it has pixels, and this
    // image now has exactly its size (or no rows).
    for (int i = 0; i < ziel.hoehe; ++i) {
        const uint32_t* von = reinterpret_cast<const uint32_t*>(src->zeile[region->oben + i]) + region->links;
        schiebe_saettige(von, size_t(ziel.breite), shift & 31, reinterpret_cast<T*>(ziel.zeile[i]));
    }
    return 0;
}

void schiebe_links(const uint16_t* __restrict von, size_t n, unsigned int shift, uint32_t* __restrict nach) {
    for (size_t i = 0; i < n; ++i) nach[i] = uint32_t(von[i]) << shift;
}

}  // namespace

unsigned int CBILD::passschiebung(unsigned int maximum, int bits) {
    const int s = getstellen(maximum) - bits;
    return s > 0 ? unsigned(s) : 0u;
}

int CBILD::set32_16_teil(CBILD* src, CTeilbereich* region, unsigned int shift) {
    CBILD kopie;
    return set32_teil<uint16_t>(*this, quelle(src, kopie), region, shift);
}

int CBILD::set32_8_teil(CBILD* src, CTeilbereich* region, unsigned int shift) {
    CBILD kopie;
    return set32_teil<uint8_t>(*this, quelle(src, kopie), region, shift);
}

void CBILD::bildwandel32_16() {
    if (!hatpixel() || bpp != 4) return;
    // The old image moves out whole; the temporary frees it on every path.
    CBILD alt;
    bildtausch(&alt, this);
    unsigned int lo = 0, hi = 0;
    alt.getminmax(&lo, &hi);
    set32_16_teil(&alt, nullptr, passschiebung(hi, 16));
}

void CBILD::bildwandel16_32(int shift) {
    if (!hatpixel() || bpp != 2) return;
    CBILD alt;
    bildtausch(&alt, this);
    speicher(alt.breite, alt.hoehe, 4);
    // Above 16 the samples would lose their top bits; a negative shift is
    // taken modulo 32 as the shift instruction does.
    const unsigned int s = shift > 16 ? 16u : unsigned(shift) & 31u;
    for (int y = 0; y < hoehe; ++y)
        schiebe_links(reinterpret_cast<const uint16_t*>(alt.zeile[y]), size_t(breite), s,
                      reinterpret_cast<uint32_t*>(zeile[y]));
}

void CBILD::setzen_ohne_alpha(CBILD* src) {
    if (!src || src->bpp != 4 || src->farbe32 != 256) {
        setzen(src);
        return;
    }
    if (!src->hatpixel()) return;
    CBILD kopie;
    const CBILD* q = quelle(src, kopie);
    speicher(q->breite, q->hoehe, 3);
    flag = 4;
    farbe32 = 0;
    for (int y = 0; y < hoehe; ++y) wandelzeile8b(q->flag, q->zeile[y], breite, zeile[y]);
}
