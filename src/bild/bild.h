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
    // The region to work on in a w x h image: `region` fitted in place, or,
    // when it is null, `ganz` set to the whole image. Once fitted, a region
    // with a positive width and height lies inside the image.
    static CTeilbereich* einpassen(CTeilbereich* region, CTeilbereich& ganz, int w, int h);
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
    unsigned char* puffer;       // owned pixel buffer (zeroed when fresh; freed by speichfrei), null without storage
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

    // Rows with pixels: a row table, width, height and bytes per pixel all at
    // least 1 (speicher accepts 0 bytes per pixel and makes empty rows).
    bool hatpixel() const;
    // Colour pixels: 3 or 6 bytes, or 4 with farbe32 256.
    bool istfarbig() const;
    // Colour pixels stored as planar rows: a flag word other than 0 and 4.
    // The planes are blue, green, red, each `breite` samples; a 4-byte row
    // has a fourth plane after them.
    bool istplanar() const;

    // ---- Pixel values (pixel.cpp). Nothing happens for a width below 1. ----

    // Fill a 1- or 2-byte image with the low 8 or 16 bits of value; other
    // depths are left alone.
    void setzwert(unsigned value);
    // Fill a 1- or 2-byte image with the 2x2 mosaic values[0] values[1] /
    // values[2] values[3] (even row / odd row), each cut to the sample width.
    // Rows 0 and 1 are written, further rows copy the row two above. A 1-row
    // image gets row 0 only.
    void setzrawvalue(unsigned* values);
    // Every sample s becomes factor * s + offset, rounded half up and clamped
    // to 0..255 (1 and 3 bytes) or 0..65535 (2 and 6 bytes), through a table
    // built once per call. 4-byte images are left alone.
    void multaddwert(double factor, double offset);

    // ---- Row and pixel access (zugriff.cpp). Values are copied as stored. ----

    // Row y as width values for 1-, 2- and 4-byte gray; nothing for other
    // depths or a row outside the image. 32-bit samples stay unsigned.
    void lesezeile(int y, double* out) const;
    void lesezeile_uint(int y, unsigned int* out) const;
    // Row y from width words, cut to the low 8/16 bits (no clamping).
    void setzzeile_uint(int y, unsigned int* in);
    // Column x as height values, for 1- and 2-byte images only.
    void lesespalte(int x, double* out) const;
    // This image becomes channel k of the 2x2 mosaic src (1 or 2 bytes):
    // source column 2j + (k & 1), row 2i + ((k / 2) & 1); half size, rounded
    // down.
    void setzrohkanal(int k, CBILD* src);
    // Pixel (x, y) as r, g, b. Result 0, or a mask of 1 (x < 0), 2 (x >= width),
    // 4 (y < 0), 8 (y >= height) with nothing written. Planar colour rows
    // always give column 0; a 4-byte gray image gives the byte at x.
    int getrgb(int x, int y, int* r, int* g, int* b) const;
    // Smallest and largest stored sample (0, 0 for an empty image). 4-byte:
    // every 32-bit sample; 2 and 6: every 16-bit sample; other depths scan
    // width * (bpp / 2) bytes per row, so an 8-bit image reports its first
    // pixel as both and a 3-byte image the first width bytes of each row.
    void getminmax(unsigned int* min, unsigned int* max) const;

    // ---- Depth conversion (tiefe.cpp) ----

    // This image becomes the region (null: all) of the 4-byte src as 16-
    // (8-)bit samples: sample >> (shift & 31), saturated at 65535 (255). The
    // region is fitted into src in place. 0 done, 1 refused (src missing,
    // empty or not 4 bytes per pixel).
    int set32_16_teil(CBILD* src, CTeilbereich* region, unsigned int shift);
    int set32_8_teil(CBILD* src, CTeilbereich* region, unsigned int shift);
    // 32-bit gray to 16-bit in place with the shift passschiebung(max, 16).
    // The descriptive words do not survive: the result is a fresh image.
    void bildwandel32_16();
    // 16-bit gray to 32-bit in place, each sample << shift (above 16: 16, a
    // negative shift modulo 32). Also a fresh image, like bildwandel32_16.
    void bildwandel16_32(int shift);
    // This image becomes src without the fourth byte when src is 4-byte
    // colour (farbe32 256): 3 bytes, red, green, blue, flag 4. Otherwise a
    // plain copy (setzen).
    void setzen_ohne_alpha(CBILD* src);
    // Smallest right shift that brings `maximum` into `bits` bits:
    // (highest set bit index) - (bits - 1), not below 0.
    static unsigned int passschiebung(unsigned int maximum, int bits);

    // ---- Sub-regions (teil.cpp). Pixels are copied as stored. ----

    // This image becomes a copy of the region of src (null: all of it), with
    // src's depth, flag word and descriptive words. The region is fitted
    // into src in place with testteilx/testteily: moved inside, cut only
    // when larger than src. Planar rows are cut plane by plane. 0 done,
    // 1 refused (src missing or empty).
    int setzteil(const CBILD* src, CTeilbereich* region);
    // Copy src into this image with its top-left pixel at (x, y). The target
    // rectangle is fitted like a region (testteilx/testteily): moved inside
    // this image, and only src's top-left part is used when src is larger.
    // 0 done, 1 refused (either image missing or empty, or another pixel
    // layout: bytes per pixel, farbe32 for 4 bytes, flag word for colour).
    int einfuegen(const CBILD* src, int x, int y);

    // ---- Display lines and gray images (anzeige.cpp) ----

    // Row y as an 8-bit display row: kanaele 1 = gray (width bytes), 3 = red,
    // green, blue (3 width bytes). Each sample is shifted right by
    // (shift & 31) and saturated at 255; colour to gray goes through the
    // luminance of setzgrau before the shift; gray to RGB repeats the value.
    // 0 done, 1 refused with nothing written (row outside, depth not 1, 2, 3,
    // 4 or 6, kanaele not 1 or 3).
    int anzeigezeile(int y, unsigned char* ziel, int kanaele, unsigned int shift) const;
    // The display shift for this image: 0 for 8-bit samples, else
    // passschiebung(getminmax maximum, 8). Scans the image: call once.
    unsigned int anzeigeschiebung() const;
    // This image becomes the gray image of the colour image src with the same
    // sample width (3 and 4-colour -> 1 byte, 6 -> 2 bytes):
    // gray = (9798 r + 19235 g + 3735 b + 16384) >> 15, the weights
    // 0.299/0.587/0.114 in 1/32768, rounded half up; white stays white.
    // A gray src is copied (setzen). 0 done, 1 refused (src missing or empty).
    int setzgrau(const CBILD* src);

    // ---- External memory (extern.cpp) ----

    // Wrap caller memory as a row-table-only image: row y starts at
    // daten + y * stride (stride 0: width * bytes per pixel). The image owns
    // only its row table and never frees the caller's memory; writes into
    // the image go to it. farbig marks 4-byte pixels as colour (farbe32 256).
    // 1 done; 0 refused with the image untouched: null data, width or height
    // below 1, depth not 1, 2, 3, 4, 6, stride below one row, or data or
    // stride not a multiple of the sample size (2 bytes for 2 and 6, 4 for
    // 4). A copy (setzen) compacts it into owned storage.
    int setimage(unsigned char* daten, int width, int height, int bytesPerPixel, int stride,
                 int flagword, bool farbig = false);

private:
    void freigeben();
    // Copy flag word, info words, farbe32, palette (entry 255 cleared) and
    // the trailing word from src.
    void worte_von(const CBILD& src);
    // src itself, or a copy of it in `kopie` when src is this image, so a
    // conversion may reallocate this image while it reads src.
    const CBILD* quelle(const CBILD* src, CBILD& kopie) const;
};

// Exchange every field of two images; nothing is allocated or released.
void bildtausch(CBILD* a, CBILD* b);
// Move the image of a into b, release what b held, leave a empty.
void bildrename(CBILD* a, CBILD* b);
