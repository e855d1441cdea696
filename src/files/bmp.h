// CBmp: Windows bitmap files. The reader takes the pixel bytes as stored: it
// applies no colour table, decompresses nothing and checks no signature. The
// writer stores 1-, 2-, 3- and 6-byte images as 8-, 16-, 24- and 48-bit
// files that the reader takes back to the same pixels.
#pragma once
#include <cstdint>
#include <memory>

#include "bild/bild.h"
#include "files/datei.h"

class CBmp {
public:
    CBmp();
    ~CBmp();

    // 0 success; 1 name null or empty; 2 the file cannot be opened; 3 a row
    // read came back short, or closing failed.
    int lesen(const wchar_t* name, CBILD* image);
    int einbmp0(const wchar_t* name);  // open, headers, position at the pixels
    int einbmp1(unsigned char* row);   // one stored row into `row`
    // The next `count` stored rows into rows[0] ... rows[count - 1], as
    // einbmp1 row by row would (stopping at the first that fails), but
    // rows copied as stored move in with few reads.
    int einbmp1n(unsigned char* const* rows, int count);
    int einbmp2();                     // close

    // 0 success; 1 name null or empty; 2 the file cannot be opened; 4 a
    // write or closing failed; 12 the image (or region) cannot be written.
    int schreiben(const wchar_t* name, CBILD* image);
    int schreibenteil(const wchar_t* name, CBILD* image, CTeilbereich* region);
    // Open the file and write the headers (and the gray table of 8-bit files).
    int ausbmp0(CBILD* image, const wchar_t* name, int x, int y, int width, int height);
    int ausbmp1(CBILD* image);  // the rows, bottom row first
    int ausbmp2();              // close; 4 when closing fails

    void wandel32(unsigned int* src, int count, unsigned char* dst);
    static int getshift32(unsigned int mask, int* shift);
    static int tauschrb_a(unsigned char* src, unsigned char* dst, int count);
    static int tauschrb_w(unsigned short* src, unsigned short* dst, int count);

    void speicher(int size);
    void speichfrei();
    void speicher1(int count);
    void speichfrei1();

    bild::Datei datei;
    int breite = 0;
    int hoehe = 0;
    int bpp = 1;
    std::unique_ptr<unsigned char[]> puffer;  // work buffer
    int puffergroesse = 0;
    int bitcount = 0;
    int planes = 0;
    int compression = 0;
    int stride = 0;
    std::unique_ptr<unsigned int[]> puffer32;  // one row of 32-bit pixels
    int puffer32anzahl = 0;
    unsigned int rmask = 0xFF0000, gmask = 0xFF00, bmask = 0xFF;
    int rshift = 16, gshift = 8, bshift = 0;

private:
    bool ueberspringe(int64_t n);
    int startx_ = 0, starty_ = 0;  // the region being written
};
