// CBia: the native BIA/BIR image file. A 32-byte little-endian header with
// the image's geometry and descriptive fields, then the rows exactly as the
// image holds them in memory (planar colour rows included), top row first,
// without padding. Width and height are 16-bit fields: larger sizes are
// stored modulo 65,536.
#pragma once
#include "bild/bild.h"
#include "files/datei.h"

class CBia {
public:
    CBia();

    // Results: 0 success; 1 name null or empty; 2 the file cannot be opened;
    // 3 a read came back short, or closing a read file failed; 4 a write came
    // back short, or closing a written file failed; 12 the image or the
    // header is unusable (a depth other than 1, 2, 3, 4, 6; writing: no
    // image, width or height below 1, a region of negative size).
    int lesen(const wchar_t* name, CBILD* image);
    int einbia0(const wchar_t* name);  // open, header into the members
    int einbia1(unsigned char* row);   // one row of bpp x breite bytes
    int einbia2();                     // close

    int schreiben(const wchar_t* name, CBILD* image);
    int schreibenteil(const wchar_t* name, CBILD* image, CTeilbereich* region);
    // Record region and image fields, open, write the header.
    int ausbia0(CBILD* image, const wchar_t* name, int left, int top, int width, int height);
    int ausbia1(unsigned char* row);  // one region row, `row` at the region's left edge
    int ausbia2();                    // close

    bild::Datei datei;
    int bpp;
    int flag;
    int breite;  // image width (reading: from the header)
    int hoehe;
    int teilx;  // region left
    int teily;  // region top
    int teilbreite;
    int teilhoehe;
    int schritt;  // bytes per pixel of region left: bpp, or one sample for planar rows
    int info[3];  // image info[0], info[1] and farbe32
};
