// Sub-region copies: a region of an image into a new image, and an image
// into another at a position. Pixels are moved as stored, plane by plane.
#include <cstddef>
#include <cstring>

#include "bild/bild.h"

namespace {

// A row as planes of `bytes` bytes per pixel: interleaved rows are one plane
// of bpp bytes; planar colour rows are three planes of one sample (and a
// fourth byte plane for 4-byte colour).
struct Ebenen {
    int anzahl;
    size_t bytes;
};

Ebenen ebenen(const CBILD& b) {
    if (!b.istplanar()) return {1, size_t(b.bpp)};
    if (b.bpp == 6) return {3, 2};
    return {b.bpp, 1};
}

// Columns [x0, x0 + w) of a row `vonbreite` pixels wide to columns
// [z0, z0 + w) of a row `nachbreite` wide. memmove: two images may wrap
// overlapping caller memory.
void kopiere_spalten(const unsigned char* von, int vonbreite, int x0, unsigned char* nach,
                     int nachbreite, int z0, int w, Ebenen e) {
    for (int p = 0; p < e.anzahl; ++p)
        std::memmove(nach + (size_t(p) * size_t(nachbreite) + size_t(z0)) * e.bytes,
                     von + (size_t(p) * size_t(vonbreite) + size_t(x0)) * e.bytes, size_t(w) * e.bytes);
}

}  // namespace

int CBILD::setzteil(const CBILD* src, CTeilbereich* region) {
    CBILD kopie;
    const CBILD* q = quelle(src, kopie);
    if (!q || !q->hatpixel()) return 1;
    CTeilbereich ganz;
    region = CTeilbereich::einpassen(region, ganz, q->breite, q->hoehe);
    speicher(region->breite, region->hoehe, q->bpp);
    worte_von(*q);
    const Ebenen e = ebenen(*q);
    for (int i = 0; i < hoehe; ++i)
        kopiere_spalten(q->zeile[region->oben + i], q->breite, region->links, zeile[i], breite, 0, breite, e);
    return 0;
}

int CBILD::einfuegen(const CBILD* src, int x, int y) {
    CBILD kopie;
    const CBILD* q = quelle(src, kopie);
    if (!q || !q->hatpixel() || !hatpixel()) return 1;
    // Bytes are copied as they are, so both must read them the same way.
    if (q->bpp != bpp || q->istfarbig() != istfarbig() || (istfarbig() && q->flag != flag)) return 1;
    CTeilbereich ort(x, y, q->breite, q->hoehe);
    ort.testteilx(breite);
    ort.testteily(hoehe);
    const Ebenen e = ebenen(*this);
    for (int i = 0; i < ort.hoehe; ++i)
        kopiere_spalten(q->zeile[i], q->breite, 0, zeile[ort.oben + i], breite, ort.links, ort.breite, e);
    return 0;
}
