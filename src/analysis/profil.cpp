#include "analysis/profil.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/kurve.h"
#include "bild/bild.h"

namespace {

// How to turn one image row into the pixel values of the region's columns.
// Chosen once per call; the per-row reader is a plain strided loop.
struct Auswahl {
    void (*lies)(const unsigned char* zeile, const Auswahl& a, uint32_t* werte);
    size_t start[3];  // offset, in samples, of the first selected sample(s)
    int schritt;      // samples from one pixel to the next
    int n;            // pixels per region row
};

// One sample per pixel, S samples apart.
template <typename T, int S>
void lies1(const unsigned char* zeile, const Auswahl& a, uint32_t* werte) {
    const T* p = reinterpret_cast<const T*>(zeile) + a.start[0];
    const int n = a.n;  // a local bound: the stores could otherwise alias a.n
    for (int i = 0; i < n; ++i) werte[i] = p[size_t(i) * S];
}

// The sum of three samples per pixel. Three 16-bit samples stay far below
// 2^32, so the row of values is 32 bits wide for every depth.
template <typename T, int S>
void lies3(const unsigned char* zeile, const Auswahl& a, uint32_t* werte) {
    const T* s = reinterpret_cast<const T*>(zeile);
    const T* p0 = s + a.start[0];
    const T* p1 = s + a.start[1];
    const T* p2 = s + a.start[2];
    const int n = a.n;
    for (int i = 0; i < n; ++i) {
        const size_t j = size_t(i) * S;
        werte[i] = uint32_t(p0[j]) + p1[j] + p2[j];
    }
}

template <typename T>
bool waehle_farbe(bool summe, Auswahl& a) {
    switch (a.schritt) {
        case 1: a.lies = summe ? lies3<T, 1> : lies1<T, 1>; return true;
        case 3: a.lies = summe ? lies3<T, 3> : lies1<T, 3>; return true;
        case 4: a.lies = summe ? lies3<T, 4> : lies1<T, 4>; return true;
    }
    return false;
}

bool waehle(const CBILD* b, int kanal, Auswahl& a) {
    const bool farbe = b->bpp == 3 || b->bpp == 6 || (b->bpp == 4 && b->farbe32 == 256);
    if (!farbe) {
        a.start[0] = 0;
        a.schritt = 1;
        switch (b->bpp) {
            case 1: a.lies = lies1<uint8_t, 1>; return true;
            case 2: a.lies = lies1<uint16_t, 1>; return true;
            case 4: a.lies = lies1<uint32_t, 1>; return true;
        }
        return false;
    }
    if (kanal < -1 || kanal > 2) return false;
    const bool planar = b->flag != 0 && b->flag != 4;
    // Samples of one pixel: adjacent when interleaved, a plane apart when planar.
    a.schritt = planar ? 1 : (b->bpp == 4 ? 4 : 3);
    const size_t ebene = planar ? size_t(b->breite) : 1;
    if (kanal >= 0) {
        // Storage index of red, green, blue: as stored for order 4, reversed
        // for order 0 and for planar rows (blue plane first).
        const int k = b->flag == 4 ? kanal : 2 - kanal;
        a.start[0] = size_t(k) * ebene;
    } else {
        for (int k = 0; k < 3; ++k) a.start[k] = size_t(k) * ebene;
    }
    return b->bpp == 6 ? waehle_farbe<uint16_t>(kanal < 0, a) : waehle_farbe<uint8_t>(kanal < 0, a);
}

// Refusals first, so that a refused call leaves even the region alone; then
// fit the region and move the reader to its left column.
bool vorbereite(const CBILD* b, CTeilbereich* region, int kanal, CTeilbereich& r, Auswahl& a) {
    if (!b || !b->zeile || b->breite < 1 || b->hoehe < 1 || !waehle(b, kanal, a)) return false;
    r = CTeilbereich(0, 0, b->breite, b->hoehe);
    if (region) {
        region->testteilx(b->breite);
        region->testteily(b->hoehe);
        r = *region;
    }
    if (r.breite < 1 || r.hoehe < 1) return false;
    a.n = r.breite;
    for (size_t& s : a.start) s += size_t(r.links) * size_t(a.schritt);
    return true;
}

}  // namespace

int profilsummen(const CBILD* bild, CKurve* zeilen, CKurve* spalten, int kanal, CTeilbereich* region) {
    CTeilbereich r;
    Auswahl a{};
    if (!vorbereite(bild, region, kanal, r, a)) return 0;
    std::vector<uint32_t> werte(size_t(r.breite));
    std::vector<uint64_t> spaltensummen(spalten ? size_t(r.breite) : 0);
    if (zeilen) zeilen->speicher(r.hoehe);
    uint32_t* w = werte.data();
    uint64_t* s = spaltensummen.data();
    for (int i = 0; i < r.hoehe; ++i) {
        a.lies(bild->zeile[r.oben + i], a, w);
        uint64_t summe = 0;
        if (spalten) {
            for (int j = 0; j < r.breite; ++j) {
                summe += w[j];
                s[j] += w[j];
            }
        } else {
            for (int j = 0; j < r.breite; ++j) summe += w[j];
        }
        if (zeilen) {
            zeilen->x[i] = double(r.oben + i);
            zeilen->y[i] = double(summe);
        }
    }
    if (zeilen) zeilen->anzahl = r.hoehe;
    if (spalten) {
        spalten->speicher(r.breite);
        for (int j = 0; j < r.breite; ++j) {
            spalten->x[j] = double(r.links + j);
            spalten->y[j] = double(s[j]);
        }
        spalten->anzahl = r.breite;
    }
    return 1;
}

int zeilensumme(const CBILD* bild, CKurve* kurve, int kanal, CTeilbereich* region) {
    return profilsummen(bild, kurve, nullptr, kanal, region);
}

int spaltensumme(const CBILD* bild, CKurve* kurve, int kanal, CTeilbereich* region) {
    return profilsummen(bild, nullptr, kurve, kanal, region);
}

int mittelwert(const CBILD* bild, double* mittel, double* min, double* max, int kanal,
               CTeilbereich* region) {
    CTeilbereich r;
    Auswahl a{};
    if (!vorbereite(bild, region, kanal, r, a)) return 0;
    std::vector<uint32_t> werte(size_t(r.breite));
    const uint32_t* w = werte.data();
    uint64_t summe = 0;
    uint32_t lo = UINT32_MAX, hi = 0;
    for (int i = 0; i < r.hoehe; ++i) {
        a.lies(bild->zeile[r.oben + i], a, werte.data());
        for (int j = 0; j < r.breite; ++j) {
            summe += w[j];
            lo = std::min(lo, w[j]);
            hi = std::max(hi, w[j]);
        }
    }
    if (mittel) *mittel = double(summe) / (double(r.breite) * double(r.hoehe));
    if (min) *min = lo;
    if (max) *max = hi;
    return 1;
}
