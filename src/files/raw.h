// CRaw: raw image files. A 49-byte header whose magic is "KVX RawImage",
// then the rows uncompressed, top row first, without padding.
#pragma once
#include <cstddef>

#include "bild/bild.h"
#include "files/datei.h"

// The file header as it lies on disk: every multi-byte field little-endian,
// read and written with the byte helpers, never through a wider type.
struct __attribute__((packed)) KVX_RAW_HEADER {
    char magic[12];                  // "KVX RawImage"
    char ende;                       // 0
    unsigned char konstante1[4];     // 1
    unsigned char breite[4];         // width in pixels
    unsigned char hoehe[4];          // height in rows
    unsigned char konstante2[4];     // 1
    unsigned char bits[4];           // bits per pixel: 8, 16, 24, 32, 48
    unsigned char farbtyp[4];        // 0 gray; 3 red-green-blue; 5 blue-green-red
    unsigned char zusatzlaenge[4];   // bytes between this header and the rows
    unsigned char bpp[4];            // bytes per pixel (not read back)
    unsigned char zeilenlaenge[4];   // bytes per row (not read back)
};
static_assert(sizeof(KVX_RAW_HEADER) == 49, "the raw header is 49 bytes on disk");
static_assert(offsetof(KVX_RAW_HEADER, breite) == 17 && offsetof(KVX_RAW_HEADER, bits) == 29 &&
                  offsetof(KVX_RAW_HEADER, zusatzlaenge) == 37 && offsetof(KVX_RAW_HEADER, zeilenlaenge) == 45,
              "raw header field offsets");

class CRaw {
public:
    CRaw();

    // Results: 0 success; 1 name null or empty; 2 the file cannot be opened;
    // 3 a read came back short, or a negative width with rows to read;
    // 4 a write came back short or closing the written file failed; 12 the
    // image is unusable (no image, width or height below 1, a depth other
    // than 1, 2, 3, 4, 6, a region of negative size); 30 wrong magic.
    int lesen(const wchar_t* name, CBILD* image);
    int einraw0(const wchar_t* name);  // open, header into the members
    int einraw1(unsigned char* row);   // one row of bpp x breite bytes
    // `count` rows into rows[0] ... rows[count - 1] with few reads; 3 when
    // one came back short (the rows before it are read, as row by row).
    int einraw1n(unsigned char* const* rows, int count);
    int einraw2();                     // close

    int schreiben(const wchar_t* name, CBILD* image);
    int schreibenteil(const wchar_t* name, CBILD* image, CTeilbereich* region);
    int fillheader(CBILD* image, KVX_RAW_HEADER* header);
    // Record the region, open, write the header.
    int ausraw0(CBILD* image, const wchar_t* name, int left, int top, int width, int height);
    int ausraw1(unsigned char* row);  // teilbreite x bpp bytes of `row`
    int ausraw2();                    // close; 4 when closing fails

    bild::Datei datei;
    int bpp;
    int breite;
    int hoehe;
    int teilx;  // region left
    int teily;  // region top
    int teilbreite;
    int teilhoehe;
    int farbtyp;
};
