// CBILD, the in-memory image, and CTeilbereich, a rectangle within one.
//
// An image is one contiguous pixel buffer plus a table of row pointers (row 0
// is the top row) and a few descriptive words that travel with the pixels.
// Depths by bytes per pixel: 1 = 8-bit gray, 2 = 16-bit gray, 3 = three 8-bit
// colour samples, 4 = 32-bit gray (or colour bytes plus a fourth byte when
// farbe32 is 256), 6 = three 16-bit colour samples. Samples are native
// (little-endian) order. The flag word gives the colour order: 0 = blue,
// green, red; 4 = red, green, blue; any other value = planar rows (three
// planes of `breite` samples one after the other).
//
// The layout of the public fields is part of the API: code built on the
// library reads them directly.
#pragma once
#include <cstdint>

class CTeilbereich {
public:
    int links = 0;   // left column
    int oben = 0;    // top row
    int breite = 0;  // width in columns
    int hoehe = 0;   // height in rows
    int schrittx = 1;
    int schritty = 1;

    CTeilbereich() = default;
    CTeilbereich(int x, int y, int w, int h) : links(x), oben(y), breite(w), hoehe(h) {}

    // Fit the columns (rows) into 0..limit in place. A region that fits is
    // moved inside the image, not cut; only one wider (taller) than the image
    // is cut to it.
    void testteilx(int limit);
    void testteily(int limit);
    // Set the rectangle and fit it into a w x h image with the same rules.
    void setzteilbild(int w, int h, int x, int y, int width, int height);
    // What a writer writes of a w x h image: all of it without a region
    // (null), else the region fitted in place. False when that has no pixels.
    static bool schreibbereich(CTeilbereich* region, int w, int h, CTeilbereich* ergebnis);
};

class CBILD {
public:
    unsigned char** zeile;       // row-pointer table, hoehe entries
    int breite;                  // pixels per row
    int hoehe;                   // rows
    int bpp;                     // bytes per pixel
    int flag;                    // colour order or planar layout
    int info[4];                 // descriptive words, carried only
    int farbe32;                 // 256: 4-byte pixels hold colour bytes
    unsigned int palette[256];   // carried; entry 0 cleared on (re)allocation
    unsigned char* puffer;       // owned pixel buffer, null without storage
    unsigned int puffergroesse;  // bytes in puffer
    int zusatz;                  // trailing descriptive word

    CBILD(int width = 0, int height = 0);
    CBILD(const CBILD& src);
    ~CBILD();

    // (Re)allocate storage; 1 on success, 0 for a height below 1. The same
    // size and depth keeps the storage and its content. A request whose
    // buffer does not fit the 32-bit buffer size, or whose row table would be
    // absurdly large, throws std::bad_alloc like an exhausted allocator.
    int speicher(int width, int height, int bytesPerPixel);
    int speicher(int width, int height);
    // Row-table-only image of `height` rows (entries for the caller to set).
    int speicher1(int height);
    void speichfrei();

    CBILD& operator=(const CBILD& src);
    void setzen(const CBILD* src);

    // 0: null or empty image; 2: 3 or 6 bytes per pixel; 1 otherwise.
    static int testImage(CBILD* image);

    // File access by extension (see the files layer). 0 on success.
    int bildlese(const wchar_t* name);
    int bildspeich(const wchar_t* name);
    int bildspeichteil(const wchar_t* name, CTeilbereich* region);

private:
    void freigeben();
};

// Exchange every field of two images; nothing is allocated or released.
void bildtausch(CBILD* a, CBILD* b);
// Move the image of a into b, release what b held, leave a empty.
void bildrename(CBILD* a, CBILD* b);
