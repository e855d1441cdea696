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
// Only a region given with a negative size comes out with one.
inline Rechteck teil_von(const CBILD* image, CTeilbereich* region) {
    if (!region) return {0, 0, image->breite, image->hoehe};
    region->testteilx(image->breite);
    region->testteily(image->hoehe);
    return {region->links, region->oben, region->breite, region->hoehe};
}

}  // namespace bild
