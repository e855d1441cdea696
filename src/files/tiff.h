// CTiff: TIFF files. The writer stores an image, or a region of it, as an
// uncompressed little-endian baseline TIFF with one directory of exactly 16
// entries and 20 rows per strip. The reader takes the first image of a
// classic or BigTIFF file in either byte order: strips or tiles, chunky or
// planar, uncompressed or in any compression of the reader's table.
#pragma once
#include <cstdint>
#include <vector>

#include "bild/bild.h"
#include "bild/bytes.h"
#include "files/datei.h"

class CTiff {
public:
    // 0 success; 1 name null or empty; 2 the file cannot be opened;
    // 3 a read came back short or the file is damaged; 4 a write or closing
    // failed; 12 the image (or, for the reader, the file's kind of image) is
    // unusable.
    int lesen(const wchar_t* name, CBILD* image);
    // Open, parse the first directory, plan the strips or tiles; the image's
    // geometry is then known: width, height and bytes per pixel below.
    int eintiff0(const wchar_t* name);
    int lesebreite() const { return breite_; }
    int lesehoehe() const { return hoehe_; }
    int lesebpp() const { return bpp_; }
    // The next image row, top to bottom, into `row` (width x bytes per pixel
    // bytes); decodes the next band of strips or tiles when the last is used up.
    int eintiff1(unsigned char* row);
    int eintiff2();  // close; 3 when closing fails

    int schreiben(const wchar_t* name, CBILD* image);
    int schreibenteil(const wchar_t* name, CBILD* image, CTeilbereich* region);
    // Open the file and write everything up to the pixel data.
    int austiff0(CBILD* image, const wchar_t* name, int x, int y, int width, int height);
    // Fill the writer state and the strip tables for a region.
    void startausgabe(CBILD* image, int x, int y, int width, int height);
    int austiff1(CBILD* image);  // the pixel rows
    int austiff2();              // close; 4 when closing fails

private:
    // A segment's compressed bytes, and its rows where they cannot be
    // decoded in place; one set per thread that decodes.
    struct Puffer {
        std::vector<unsigned char> roh, segment;
    };
    int lies_band();
    int lies_segment(size_t index, unsigned char* ziel, uint32_t zeilen, Puffer& p);
    template <class Ort, class Setzen>
    int lies_segmente(CBILD* image, bool frisch, size_t anzahl, Ort ort, Setzen setzen);
    void platziere(const unsigned char* segment, uint32_t spalte, int ebene, int zeilen,
                   unsigned char* const* ziele);

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

    // Reader: the first directory (in the fields above where they are the
    // same: size, bits, samples, photometric, planar, rows per strip) and the
    // plan made from it.
    bild::ByteOrder ordnung_;
    uint64_t dateigroesse_ = 0;
    uint32_t kompression_ = 1, praediktor_ = 1, optionen_ = 0;
    const void* dekoder_ = nullptr;    // entry of the reader's table of compressions
    bool bitumkehr_ = false;           // FillOrder 2: bits of each byte reversed
    bool ycbcr_ = false;               // JPEG data in YCbCr, turned into RGB
    std::vector<unsigned char> jpegtabellen_;
    int bpp_ = 1, flag_ = 0, farbe32_ = 0;  // the image to fill
    std::vector<uint32_t> palette_;    // from the ColorMap, 0x00RRGGBB
    unsigned char wert_[16] = {};      // value of a 1-, 2- or 4-bit sample in the image
    // How a band row becomes an image row (see eintiff1): band pixels hold
    // bandspp_ samples of bitspersample_ bits, the image keeps behalten_.
    int zeilenart_ = 0, bandspp_ = 1, behalten_ = 1;
    // Strips are segments as wide as the image; tiles are segments of a
    // grid. Segment k of plane p in grid row r, column c has index
    // (p * runter + r) * quer + c; only the planes the image keeps are read.
    uint32_t segbreite_ = 0, seghoehe_ = 0, quer_ = 0, runter_ = 0;
    int ebenen_ = 1;                   // planes read: 1 for chunky files
    bool kacheln_ = false;
    size_t segzeile_ = 0, bandzeile_ = 0;
    std::vector<uint64_t> segoffset_, seglaenge_;
    std::vector<unsigned char> band_;
    Puffer puffer_, hilfe_;            // this thread's; the helper's (see lies_segmente)
    std::vector<unsigned char*> bandzeilen_;  // the band's rows
    unsigned char achtel_[256][8] = {};        // a byte of 1-bit samples as eight image bytes
    int zeile_ = 0, bandende_ = 0;     // next row; first row after the band held

    int lies_direkt(CBILD* image, bool frisch);
    void wandle(const unsigned char* src, unsigned char* row) const;
    int lies_roh(uint64_t offset, unsigned char* ziel, size_t n);
    void nachbearbeiten(unsigned char* ziel, size_t zeilen);
};
