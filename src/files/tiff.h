// CTiff: TIFF files. The writer stores an image, or a region of it, as an
// uncompressed little-endian baseline TIFF with one directory of exactly 16
// entries and 20 rows per strip.
#pragma once
#include <cstdint>
#include <vector>

#include "bild/bild.h"
#include "files/datei.h"

class CTiff {
public:
    // 0 success; 1 name null or empty; 2 the file cannot be opened;
    // 3 a read came back short; 4 a write or closing failed; 12 the image
    // (or, for the reader, the file's kind of image) is unusable.
    int lesen(const wchar_t* name, CBILD* image);

    int schreiben(const wchar_t* name, CBILD* image);
    int schreibenteil(const wchar_t* name, CBILD* image, CTeilbereich* region);
    // Open the file and write everything up to the pixel data.
    int austiff0(CBILD* image, const wchar_t* name, int x, int y, int width, int height);
    // Fill the writer state and the strip tables for a region.
    void startausgabe(CBILD* image, int x, int y, int width, int height);
    int austiff1(CBILD* image);  // the pixel rows
    int austiff2();              // close; 4 when closing fails

private:
    bild::Datei datei_;
    // Strip plan (offsets relative to the pixel data until austiff0 adds the
    // header size).
    std::vector<uint32_t> streifenoffset_, streifenlaenge_;
    int streifen_ = 0;
    int breite_ = 0, hoehe_ = 0, startx_ = 0, starty_ = 0;
    uint16_t bitspersample_ = 8, photometric_ = 1;
    int samplesperpixel_ = 1, rowsperstrip_ = 20;
    uint32_t xres_z_ = 1024, xres_n_ = 1024, yres_z_ = 1024, yres_n_ = 1024;
    int resunit_ = 1, planar_ = 1;
    uint32_t minsample_ = 0, maxsample_ = 255;
};
