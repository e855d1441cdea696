// Helpers the format classes share: the depths they carry and the
// rectangle a writer stores.
#pragma once
#include "bild/bild.h"

namespace bild {

// 1, 2, 3, 4 and 6 bytes per pixel: the depths every format class carries.
inline bool tiefe_gueltig(int bpp) { return bpp == 1 || bpp == 2 || bpp == 3 || bpp == 4 || bpp == 6; }

// An image a writer can store: rows to read and one of those depths.
inline bool schreibbar(const CBILD* image) {
    return image && image->breite >= 1 && image->hoehe >= 1 && image->zeile && tiefe_gueltig(image->bpp);
}

struct Rechteck {
    int x, y, breite, hoehe;
};

// What a writer stores: the whole image, or the region fitted into it (the
// caller's region is changed in place, as callers of the writers expect).
// False, and nothing to write (result 12), for an image schreibbar refuses
// or a region given with a negative size, which would reach outside the
// image.
inline bool schreibbereich(const CBILD* image, CTeilbereich* region, Rechteck* r) {
    if (!schreibbar(image)) return false;
    CTeilbereich ganz;
    const CTeilbereich* t = CTeilbereich::einpassen(region, ganz, image->breite, image->hoehe);
    *r = {t->links, t->oben, t->breite, t->hoehe};
    return r->breite >= 0 && r->hoehe >= 0;
}

}  // namespace bild
