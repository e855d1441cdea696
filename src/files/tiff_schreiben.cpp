// The TIFF writer. Its layout is fixed: header, 16 entries, the strip tables
// (only for more than one strip), the two resolutions, then the rows.
#include <fcntl.h>

#include <algorithm>
#include <cstring>

#include "app/dateiname.h"
#include "bild/bytes.h"
#include "bild/groesse.h"
#include "bild/zeile.h"
#include "files/format.h"
#include "files/tiff.h"
#include "files/tiff_format.h"

namespace {

constexpr int kZeilenProStreifen = int(tiff::kEigeneStreifenhoehe);
constexpr uint32_t kKopf = 8, kEintraege = 16;
// Header, entry count, entries, next-directory offset: the out-of-line
// values start here.
constexpr uint32_t kNachVerzeichnis = kKopf + 2 + 12 * kEintraege + 4;  // 206

struct Tiefe {
    int bpp;
    uint16_t bits, samples, photometric;
    uint32_t maxwert;
};
// 12 bytes per pixel is never written (refused earlier) but belongs to the
// family of depths the directory can describe.
constexpr Tiefe kTiefen[] = {
    {1, 8, 1, 1, 255},  {2, 16, 1, 1, 65535}, {3, 8, 3, 2, 255},
    {4, 32, 1, 1, 4294967295u}, {6, 16, 3, 2, 65535}, {12, 32, 3, 2, 4294967295u},
};

const Tiefe* tiefe_von(int bpp) {
    for (const Tiefe& t : kTiefen)
        if (t.bpp == bpp) return &t;
    return nullptr;
}


void eintrag(unsigned char*& p, uint16_t tag, uint16_t typ, uint32_t anzahl, uint32_t wert) {
    bild::put_le16(p, tag);
    bild::put_le16(p + 2, typ);
    bild::put_le32(p + 4, anzahl);
    bild::put_le32(p + 8, wert);  // a SHORT sits in the first two bytes, the rest 0
    p += 12;
}

}  // namespace

int CTiff::schreiben(const wchar_t* name, CBILD* image) { return schreibenteil(name, image, nullptr); }

int CTiff::schreibenteil(const wchar_t* name, CBILD* image, CTeilbereich* region) {
    bild::Rechteck r;
    // A region of no pixels (its own width or height below 1) has nothing a
    // TIFF can describe.
    if (!bild::schreibbereich(image, region, &r) || r.breite < 1 || r.hoehe < 1) return 12;
    const int w = r.breite, h = r.hoehe;
    // Classic TIFF addresses 32 bits: the pixel data must end below 4 GiB.
    uint64_t pixel = 0;
    const uint64_t streifen = uint64_t(h - 1) / kZeilenProStreifen + 1;
    if (!bild::produkt_passt(w, h, image->bpp, UINT32_MAX - 222 - 8 * streifen, &pixel)) return 12;

    int result = austiff0(image, name, r.x, r.y, w, h);
    if (result == 0) result = austiff1(image);
    if (austiff2() != 0) result = 4;
    return result;
}

void CTiff::startausgabe(CBILD* image, int x, int y, int width, int height) {
    const Tiefe& t = *tiefe_von(image->bpp);
    startx_ = x;
    starty_ = y;
    breite_ = width;
    hoehe_ = height;
    bitspersample_ = t.bits;
    samplesperpixel_ = t.samples;
    photometric_ = t.photometric;
    maxsample_ = t.maxwert;
    minsample_ = 0;
    planar_ = 1;
    resunit_ = 1;
    xres_z_ = xres_n_ = yres_z_ = yres_n_ = 1024;
    rowsperstrip_ = kZeilenProStreifen;

    const int n = (height - 1) / kZeilenProStreifen + 1;
    if (n != streifen_) {
        streifenoffset_.assign(size_t(n), 0);
        streifenlaenge_.assign(size_t(n), 0);
        streifen_ = n;
    }
    const uint64_t zeile = uint64_t(width) * uint64_t(image->bpp);
    const uint64_t groesse = zeile * kZeilenProStreifen;
    const uint64_t gesamt = zeile * uint64_t(height);
    for (int i = 0; i < n; ++i) {
        const uint64_t offset = uint64_t(i) * groesse;
        streifenoffset_[size_t(i)] = uint32_t(offset);
        streifenlaenge_[size_t(i)] = uint32_t(offset + groesse > gesamt ? gesamt - offset : groesse);
    }
}

int CTiff::austiff0(CBILD* image, const wchar_t* name, int x, int y, int width, int height) {
    if (!name || !*name) return 1;
    datei_.setzen(wfopen1(name, L"wb"));
    if (!datei_) return 2;
    startausgabe(image, x, y, width, height);

    const uint32_t n = uint32_t(streifen_);
    const uint32_t tabellen = n > 1 ? 8 * n : 0;
    const uint32_t aufloesung = kNachVerzeichnis + tabellen;
    // The pixel data start at 222 + 8n when the tables are written and at 222
    // for a single strip, yet every offset gets 222 + 8n: a single-strip file
    // states its strip 8 bytes past where its rows begin. Readers of our own
    // files rely on exactly this layout, so it stays.
    for (uint32_t& o : streifenoffset_) o += tiff::kEigenerKopf + 8 * n;

    std::vector<unsigned char> kopf(aufloesung + 16);
#ifdef __linux__
    // Reserving the file's blocks at once spares the file system one
    // reservation per block as the rows come. The size still grows only
    // with the writes, so a failed write leaves the same partial file; where
    // the file cannot reserve (a pipe, a device), nothing changes.
    const uint64_t gesamt = kopf.size() + uint64_t(width) * uint64_t(height) * uint64_t(image->bpp);
    (void)::fallocate(fileno(datei_.get()), FALLOC_FL_KEEP_SIZE, 0, off_t(gesamt));
#endif
    unsigned char* p = kopf.data();
    p[0] = 'I';  // little-endian
    p[1] = 'I';
    bild::put_le16(p + 2, 42);
    bild::put_le32(p + 4, kKopf);
    bild::put_le16(p + 8, kEintraege);
    p += 10;
    using namespace tiff;
    // The entries follow kEigeneTags, which the reader uses to recognise our files.
    eintrag(p, NewSubfileType, Long, 1, 0);
    eintrag(p, ImageWidth, Long, 1, uint32_t(breite_));
    eintrag(p, ImageLength, Long, 1, uint32_t(hoehe_));
    eintrag(p, BitsPerSample, Short, 1, bitspersample_);
    eintrag(p, Compression, Short, 1, Keine);
    eintrag(p, Photometric, Short, 1, photometric_);
    eintrag(p, StripOffsets, Long, n, n == 1 ? streifenoffset_[0] : kNachVerzeichnis);
    eintrag(p, SamplesPerPixel, Short, 1, uint32_t(samplesperpixel_));
    eintrag(p, RowsPerStrip, Long, 1, uint32_t(rowsperstrip_));
    eintrag(p, StripByteCounts, Long, n, n == 1 ? streifenlaenge_[0] : kNachVerzeichnis + 4 * n);
    eintrag(p, MinSampleValue, Short, 1, minsample_);
    eintrag(p, MaxSampleValue, bitspersample_ == 32 ? Long : Short, 1, maxsample_);
    eintrag(p, XResolution, Rational, 1, aufloesung);
    eintrag(p, YResolution, Rational, 1, aufloesung + 8);
    eintrag(p, PlanarConfiguration, Short, 1, uint32_t(planar_));
    eintrag(p, ResolutionUnit, Short, 1, uint32_t(resunit_));
    bild::put_le32(p, 0);  // no further directory
    p += 4;
    if (n > 1) {
        for (uint32_t o : streifenoffset_) { bild::put_le32(p, o); p += 4; }
        for (uint32_t l : streifenlaenge_) { bild::put_le32(p, l); p += 4; }
    }
    bild::put_le32(p, xres_z_);
    bild::put_le32(p + 4, xres_n_);
    bild::put_le32(p + 8, yres_z_);
    bild::put_le32(p + 12, yres_n_);
    return datei_.schreib(kopf.data(), kopf.size()) ? 0 : 4;
}

int CTiff::austiff1(CBILD* image) {
    const int bpp = image->bpp;
    const size_t zeile = size_t(breite_) * size_t(bpp);
    const size_t links = size_t(startx_) * size_t(bpp);
    if (bpp == 1 || bpp == 2 || bpp == 4 || (image->flag == 4 && (bpp == 3 || bpp == 6))) {
        // Gray and chunky colour samples go out as stored; rows that follow
        // each other in memory go out in one write. Short writes are not
        // reported here: a failing disk shows when the file is closed.
        const unsigned char* lauf = nullptr;
        size_t laenge = 0;
        for (int i = 0; i < hoehe_; ++i) {
            const unsigned char* z = image->zeile[starty_ + i] + links;
            if (lauf && z == lauf + laenge) {
                laenge += zeile;
                continue;
            }
            if (lauf) datei_.schreib(lauf, laenge);
            lauf = z;
            laenge = zeile;
        }
        if (lauf) datei_.schreib(lauf, laenge);
        return 0;
    }
    if (bpp != 3 && bpp != 6) return 0;

    // Colour rows in other layouts are converted into a block of rows and
    // written together.
    const size_t zeilen_pro_block = std::max<size_t>(1, (size_t(1) << 20) / zeile);
    std::vector<unsigned char> block(zeile * std::min<size_t>(zeilen_pro_block, size_t(hoehe_)));
    const size_t w = size_t(breite_), ebene = size_t(image->breite);
    int result = 0;
    size_t gefuellt = 0;
    for (int i = 0; i < hoehe_; ++i) {
        unsigned char* src = image->zeile[starty_ + i];
        unsigned char* dst = block.data() + gefuellt;
        if (bpp == 3) {
            if (image->flag == 0)
                wandelzeile8(0, src + links, breite_, dst);
            else
                ebenen_verschachteln(src + startx_, ebene, w, true, dst);
        } else {
            auto* s16 = reinterpret_cast<unsigned short*>(src);
            auto* d16 = reinterpret_cast<unsigned short*>(dst);
            if (image->flag == 0)
                wandelzeile16(0, s16 + 3 * size_t(startx_), breite_, d16);
            else
                ebenen_verschachteln(s16 + startx_, ebene, w, true, d16);
        }
        gefuellt += zeile;
        if (gefuellt == block.size() || i == hoehe_ - 1) {
            if (!datei_.schreib(block.data(), gefuellt)) result = 4;
            gefuellt = 0;
        }
    }
    return result;
}

int CTiff::austiff2() {
    const bool ok = datei_.schliessen();
    streifenoffset_.clear();
    streifenlaenge_.clear();
    streifen_ = 0;
    return ok ? 0 : 4;
}
