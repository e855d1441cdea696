// The TIFF reader: parse the first directory, plan the strips or tiles,
// decode one band of them at a time (all segments that cover the same rows)
// and hand out its rows. Every size from the file is checked against the file
// before it becomes an allocation, a seek or a loop bound, and what decoding
// may cost is bounded by the bytes the file really holds.
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>
#include <mutex>
#include <thread>

#include "app/dateiname.h"
#include "bild/groesse.h"
#include "files/codec/ccitt.h"
#include "files/codec/inflate.h"
#include "files/codec/jpeg.h"
#include "files/codec/lzw.h"
#include "files/codec/packbits.h"
#include "files/tiff.h"
#include "files/tiff_format.h"

namespace {

using namespace tiff;

// The tags the reader looks at; everything else in the directory is skipped.
constexpr Tag kGelesen[] = {ImageWidth,   ImageLength, BitsPerSample,   Compression,  Photometric,
                            FillOrder,    StripOffsets, SamplesPerPixel, RowsPerStrip, StripByteCounts,
                            PlanarConfiguration, Predictor, ColorMap, TileWidth, TileLength,
                            TileOffsets,  TileByteCounts, SampleFormat, T4Options, T6Options,
                            InkSet,       JpegTables};
constexpr size_t kAnzahlGelesen = sizeof kGelesen / sizeof kGelesen[0];

// One strip or tile to decode: the compressed bytes and where its rows go.
struct Auftrag {
    const unsigned char* quelle;
    size_t n;
    unsigned char* ziel;
    size_t zeilenbytes;      // bytes of one decoded row of the segment
    uint32_t breite, zeilen;  // pixels of a segment row; rows wanted
    uint32_t art;             // the compression
    uint32_t optionen;        // T4Options or T6Options
    const std::vector<unsigned char>* tabellen;  // JPEGTables
    bool ycbcr;
    int kanaele;
};

template <int64_t (*F)(const unsigned char*, size_t, unsigned char*, size_t)>
bool bytestrom(const Auftrag& a) {
    const size_t kap = a.zeilenbytes * a.zeilen;
    return F(a.quelle, a.n, a.ziel, kap) == int64_t(kap);
}

bool ccitt(const Auftrag& a) {
    return bild::ccitt_entpacken(a.quelle, a.n, int(a.art), a.optionen, a.breite, a.zeilen, a.ziel, a.zeilenbytes) ==
           int64_t(a.zeilen);
}

bool jpeg(const Auftrag& a) {
    const std::vector<unsigned char>& t = *a.tabellen;
    return bild::jpeg_entpacken(t.data(), t.size(), a.quelle, a.n, a.ycbcr, a.ziel, a.zeilenbytes, a.breite, a.zeilen,
                                a.kanaele, nullptr) == 0;
}

// A blank fax row is one bit whatever its width; a row of 8192 bytes per
// byte of data (65536 pixels) covers a blank page at 1200 dpi.
constexpr uint64_t kCcittAusdehnung = 8192;

// The compressions the reader decodes. `ausdehnung` is the most output bytes
// one input byte can give; with `zeilen_pro_byte` a row costs a fraction of
// a byte whatever its width, which bounds the rows too. `bilddaten`: the
// decoder gives finished samples (no byte order or predictor of the file's
// to undo). Uncompressed data (no decoder) is read straight into place.
struct Dekoder {
    uint32_t kompression;
    uint64_t ausdehnung, zeilen_pro_byte;
    bool bilddaten;
    bool (*entpacken)(const Auftrag&);
};
constexpr Dekoder kDekoder[] = {
    {Keine, 1, 0, false, nullptr},
    {PackBits, bild::kPackBitsAusdehnung, 0, false, bytestrom<bild::packbits_entpacken>},
    {Lzw, bild::kLzwAusdehnung, 0, false, bytestrom<bild::lzw_entpacken>},
    {Deflate, bild::kInflateAusdehnung, 0, false, bytestrom<bild::inflate_entpacken>},
    {DeflateAlt, bild::kInflateAusdehnung, 0, false, bytestrom<bild::inflate_entpacken>},
    {CcittMh, kCcittAusdehnung, bild::kCcittZeilenProByte, true, ccitt},
    {CcittG3, kCcittAusdehnung, bild::kCcittZeilenProByte, true, ccitt},
    {CcittG4, kCcittAusdehnung, bild::kCcittZeilenProByte, true, ccitt},
    {Jpeg, bild::kJpegAusdehnung, 0, true, jpeg},
};

const Dekoder* dekoder_von(uint64_t kompression) {
    for (const Dekoder& d : kDekoder)
        if (d.kompression == kompression) return &d;
    return nullptr;
}

int typgroesse(uint16_t typ) {
    switch (typ) {
        case 1: case 2: case 6: case 7: return 1;
        case 3: case 8: return 2;
        case 4: case 9: case 11: case 13: return 4;
        case 5: case 10: case 12: case 16: case 17: case 18: return 8;
        default: return 0;
    }
}

// n bytes at `offset` of the file, with pread: no stdio buffer in between
// and no seek (strip tables need not be in order).
bool lies_bei(bild::Datei& d, uint64_t dateigroesse, uint64_t offset, void* p, size_t n) {
    if (!bild::bereich_passt(offset, n, dateigroesse) || offset > uint64_t(LLONG_MAX)) return false;
    auto* z = static_cast<unsigned char*>(p);
    while (n > 0) {
        const ssize_t r = ::pread(fileno(d.get()), z, n, off_t(offset));
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) return false;
        z += r;
        n -= size_t(r);
        offset += uint64_t(r);
    }
    return true;
}

// The first directory of a classic or BigTIFF file, as far as we use it.
// Values are fetched with wert()/werte(); a value that cannot be had marks
// the directory damaged instead of returning a code at every call.
class Verzeichnis {
public:
    Verzeichnis(bild::Datei& d, uint64_t groesse) : d_(d), groesse_(groesse) {}

    bild::ByteOrder ordnung;
    bool eigene_tags = false;  // "II", classic, at 8, exactly our writer's 16 entries
    bool kaputt = false;

    int lies() {
        unsigned char kopf[16];
        if (!lies_bei(d_, groesse_, 0, kopf, 8)) return 3;
        if (kopf[0] == 'M' && kopf[1] == 'M') ordnung.big = true;
        else if (kopf[0] != 'I' || kopf[1] != 'I') return 3;
        uint64_t ifd = 0;
        const uint16_t magic = ordnung.u16(kopf + 2);
        if (magic == 42) {
            ifd = ordnung.u32(kopf + 4);
        } else if (magic == 43) {  // BigTIFF: offsets of 8 bytes
            gross_ = true;
            if (ordnung.u16(kopf + 4) != 8 || ordnung.u16(kopf + 6) != 0) return 3;
            if (!lies_bei(d_, groesse_, 8, kopf + 8, 8)) return 3;
            ifd = ordnung.u64(kopf + 8);
        } else {
            return 3;
        }
        const size_t zaehler = gross_ ? 8 : 2, groesse = gross_ ? 20 : 12;
        unsigned char z[8];
        if (!lies_bei(d_, groesse_, ifd, z, zaehler)) return 3;
        const uint64_t anzahl = gross_ ? ordnung.u64(z) : ordnung.u16(z);
        uint64_t bytes = 0;
        if (!bild::produkt_passt(int64_t(std::min<uint64_t>(anzahl, INT64_MAX)), int64_t(groesse), 1, groesse_,
                                 &bytes))
            return 3;
        std::vector<unsigned char> e(bytes);
        if (!lies_bei(d_, groesse_, ifd + zaehler, e.data(), e.size())) return 3;
        for (uint64_t i = 0; i < anzahl; ++i) {
            const unsigned char* p = e.data() + i * groesse;
            const uint16_t tag = ordnung.u16(p);
            const auto* k = std::find(kGelesen, kGelesen + kAnzahlGelesen, tag);
            if (k == kGelesen + kAnzahlGelesen || eintraege_[size_t(k - kGelesen)].da) continue;
            Eintrag& x = eintraege_[size_t(k - kGelesen)];
            x.da = true;
            x.typ = ordnung.u16(p + 2);
            x.anzahl = gross_ ? ordnung.u64(p + 4) : ordnung.u32(p + 4);
            std::memcpy(x.wert, p + (gross_ ? 12 : 8), gross_ ? 8 : 4);
        }
        eigene_tags = !ordnung.big && !gross_ && ifd == 8 && anzahl == 16;
        for (size_t i = 0; eigene_tags && i < 16; ++i) eigene_tags = ordnung.u16(e.data() + 12 * i) == kEigeneTags[i];
        return 0;
    }

    bool hat(Tag tag) const { return eintrag(tag).da; }
    uint64_t anzahl(Tag tag) const { return eintrag(tag).anzahl; }

    // The bytes of a tag's first `max` values as stored (any type); all of
    // its values must lie in the file.
    std::vector<unsigned char> roh(Tag tag, uint64_t max) {
        std::vector<unsigned char> out;
        const Eintrag& x = eintrag(tag);
        const size_t g = size_t(typgroesse(x.typ));
        uint64_t bytes = 0, alle = 0;
        if (!x.da) return out;
        if (g == 0 || !bild::produkt_passt(int64_t(std::min<uint64_t>(x.anzahl, INT64_MAX)), int64_t(g), 1, groesse_, &alle) ||
            !bild::produkt_passt(int64_t(std::min(x.anzahl, max)), int64_t(g), 1, alle, &bytes)) {
            kaputt = true;
            return out;
        }
        if (alle <= (gross_ ? 8u : 4u)) return std::vector<unsigned char>(x.wert, x.wert + bytes);
        out.resize(size_t(bytes));
        const uint64_t offset = gross_ ? ordnung.u64(x.wert) : ordnung.u32(x.wert);
        if (!bild::bereich_passt(offset, alle, groesse_) || !lies_bei(d_, groesse_, offset, out.data(), out.size())) {
            kaputt = true;
            out.clear();
        }
        return out;
    }

    // The first `max` values of an integer tag (BYTE, SHORT, LONG, LONG8);
    // none when the tag is absent.
    std::vector<uint64_t> werte(Tag tag, uint64_t max) {
        std::vector<uint64_t> out;
        const Eintrag& x = eintrag(tag);
        if (!x.da) return out;
        if (x.typ != Byte && x.typ != Short && x.typ != Long && x.typ != Long8) {
            kaputt = true;
            return out;
        }
        const std::vector<unsigned char> p = roh(tag, max);
        const size_t g = size_t(typgroesse(x.typ));
        out.resize(p.size() / g);
        for (size_t i = 0; i < out.size(); ++i) {
            const unsigned char* q = p.data() + i * g;
            out[i] = g == 1 ? *q : g == 2 ? ordnung.u16(q) : g == 4 ? ordnung.u32(q) : ordnung.u64(q);
        }
        return out;
    }

    uint64_t wert(Tag tag, uint64_t vorgabe) {
        if (!hat(tag)) return vorgabe;
        const std::vector<uint64_t> v = werte(tag, 1);
        if (v.empty()) kaputt = true;
        return v.empty() ? vorgabe : v[0];
    }

    // One value for all `spp` samples: 0 when the values differ (a file
    // may give a single value for all of them).
    uint64_t gemeinsam(Tag tag, uint64_t spp, uint64_t vorgabe) {
        if (!hat(tag)) return vorgabe;
        const std::vector<uint64_t> v = werte(tag, spp);
        if (v.empty()) {
            kaputt = true;
            return vorgabe;
        }
        for (uint64_t x : v)
            if (x != v[0]) return 0;
        return v[0];
    }

private:
    struct Eintrag {
        bool da = false;
        uint16_t typ = 0;
        uint64_t anzahl = 0;
        unsigned char wert[8] = {};  // the value field: 4 bytes classic, 8 BigTIFF
    };
    const Eintrag& eintrag(Tag tag) const {
        return eintraege_[size_t(std::find(kGelesen, kGelesen + kAnzahlGelesen, tag) - kGelesen)];
    }

    bild::Datei& d_;
    uint64_t groesse_;
    bool gross_ = false;
    std::array<Eintrag, kAnzahlGelesen> eintraege_{};
};

uint64_t aufrunden(uint64_t a, uint64_t b) { return a / b + (a % b != 0); }

unsigned char bits_umgekehrt(unsigned char b) {
    b = uint8_t((b & 0xF0) >> 4 | (b & 0x0F) << 4);
    b = uint8_t((b & 0xCC) >> 2 | (b & 0x33) << 2);
    return uint8_t((b & 0xAA) >> 1 | (b & 0x55) << 1);
}

// Horizontal differencing undone on one row of `n` samples, A channels
// interleaved (A samples between neighbours of the same channel); samples
// already in little-endian order. The running sums stay in registers: each
// sample depends on the one before it, and going through memory would make
// every step wait for the store before.
template <typename T, size_t A>
void summiere(unsigned char* z, size_t n) {
    T summe[A];
    for (size_t c = 0; c < A && c < n; ++c) std::memcpy(&summe[c], z + c * sizeof(T), sizeof(T));
    for (size_t i = A; i + A <= n; i += A)
        for (size_t c = 0; c < A; ++c) {
            T v;
            std::memcpy(&v, z + (i + c) * sizeof(T), sizeof(T));
            summe[c] = T(summe[c] + v);
            std::memcpy(z + (i + c) * sizeof(T), &summe[c], sizeof(T));
        }
}

template <typename T>
void summiere(unsigned char* z, size_t n, size_t abstand) {
    switch (abstand) {
        case 1: summiere<T, 1>(z, n); break;
        case 2: summiere<T, 2>(z, n); break;
        case 3: summiere<T, 3>(z, n); break;
        default: summiere<T, 4>(z, n); break;
    }
}

void praediktor(unsigned char* z, size_t n, size_t abstand, int bytes) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    if (bytes == 1) summiere<uint8_t>(z, n, abstand);
    else if (bytes == 2) summiere<uint16_t>(z, n, abstand);
    else summiere<uint32_t>(z, n, abstand);
#else
    if (bytes == 1) {
        for (size_t i = abstand; i < n; ++i) z[i] = uint8_t(z[i] + z[i - abstand]);
    } else if (bytes == 2) {
        for (size_t i = abstand; i < n; ++i) bild::put_le16(z + 2 * i, uint32_t(bild::le16(z + 2 * i) + bild::le16(z + 2 * (i - abstand))));
    } else {
        for (size_t i = abstand; i < n; ++i) bild::put_le32(z + 4 * i, bild::le32(z + 4 * i) + bild::le32(z + 4 * (i - abstand)));
    }
#endif
}

// How a band row becomes an image row.
enum Zeilenart : int {
    kKopie,    // the same bytes
    kAuswahl,  // whole-byte samples, the first `behalten` of each pixel
    kKlein,    // 1, 2 or 4 bits to one byte through wert_
    kWeit,     // 9 to 15 bits to 16-bit samples, values as stored
    kCmyk,     // 8-bit CMYK to 8-bit RGB
};

// The `bits` bits from bit `pos` of a row, most significant first.
uint32_t bits_bei(const unsigned char* z, size_t pos, int bits) {
    const unsigned char* p = z + (pos >> 3);
    // Three bytes hold any value of up to 16 bits at any bit offset; the
    // band row has two bytes of slack after its end for this read.
    const uint32_t v = uint32_t(p[0]) << 16 | uint32_t(p[1]) << 8 | p[2];
    return (v >> (24 - bits - int(pos & 7))) & ((1u << bits) - 1);
}

}  // namespace

int CTiff::eintiff0(const wchar_t* name) {
    datei_.schliessen();
    zeile_ = bandende_ = 0;
    if (!name || !*name) return 1;
    datei_.setzen(wfopen1(name, L"rb"));
    if (!datei_) return 2;
    if (std::fseek(datei_.get(), 0, SEEK_END) != 0) return 3;
    const long groesse = std::ftell(datei_.get());
    if (groesse < 0) return 3;
    dateigroesse_ = uint64_t(groesse);

    Verzeichnis v(datei_, dateigroesse_);
    int r = v.lies();
    if (r != 0) return r;
    ordnung_ = v.ordnung;

    const uint64_t w = v.wert(ImageWidth, 0), h = v.wert(ImageLength, 0);
    const uint64_t spp = v.wert(SamplesPerPixel, 1);
    const uint64_t bits = v.gemeinsam(BitsPerSample, spp, 1);
    const uint64_t format = v.gemeinsam(SampleFormat, spp, 1);
    const uint64_t photo = v.wert(Photometric, 99), planar = v.wert(PlanarConfiguration, 1);
    kompression_ = uint32_t(std::min<uint64_t>(v.wert(Compression, Keine), UINT32_MAX));
    praediktor_ = uint32_t(std::min<uint64_t>(v.wert(Predictor, 1), UINT32_MAX));
    bitumkehr_ = v.wert(FillOrder, 1) == 2;
    if (v.kaputt || w == 0 || h == 0 || spp == 0 || !v.hat(Photometric)) return 3;

    // What the image can hold: unsigned samples of the listed kinds, the
    // compressions of the table, at most four samples.
    const auto* dekoder = dekoder_von(kompression_);
    if (!dekoder) return 12;
    dekoder_ = dekoder;
    if (format != 1 || spp > 4 || (planar != 1 && planar != 2) || w > INT_MAX || h > INT_MAX) return 12;
    // The predictor works on whole samples of 8, 16 or 32 bits; fax and JPEG
    // data have none (a tag there is ignored, as other readers do).
    if (!dekoder->bilddaten && praediktor_ != 1 && (praediktor_ != 2 || (bits != 8 && bits != 16 && bits != 32)))
        return 12;
    // Fax data is bilevel gray; JPEG data 8-bit gray or three samples
    // (YCbCr turned into RGB, or RGB), interleaved.
    const bool fax = kompression_ == CcittMh || kompression_ == CcittG3 || kompression_ == CcittG4;
    if (fax && (bits != 1 || spp != 1)) return 12;
    optionen_ = uint32_t(v.wert(kompression_ == CcittG4 ? T6Options : T4Options, 0));
    if (fax && (optionen_ & 2)) return 12;  // uncompressed mode
    ycbcr_ = photo == YCbCr;
    jpegtabellen_.clear();
    if (kompression_ == Jpeg) {
        if (bits != 8 || (spp != 1 && spp != 3) || planar != 1) return 12;
        if (v.hat(JpegTables)) jpegtabellen_ = v.roh(JpegTables, dateigroesse_);
    }
    if (v.kaputt) return 3;
    flag_ = 0;
    farbe32_ = 0;
    palette_.clear();
    zeilenart_ = kKopie;
    behalten_ = 1;
    const bool grau = photo == WhiteIsZero || photo == BlackIsZero;
    const bool weit = bits > 8 && bits < 16;  // 9 to 15 bits: a bit stream, stored as 16-bit samples
    if (grau && (bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 32 || weit)) {
        bpp_ = bits <= 8 ? 1 : bits <= 16 ? 2 : 4;
        // 1-bit white reads as 254 and a 4-bit level as level x 16, as from
        // 1- and 4-bit BMP files: the same picture gives the same bytes
        // whichever format it came in; 2-bit levels likewise stand in the
        // top bits.
        for (int i = 0; i < 16; ++i) wert_[i] = uint8_t(bits == 1 ? (i ? 254 : 0) : bits == 2 ? i * 64 : i * 16);
    } else if (photo == Palette && (bits == 1 || bits == 2 || bits == 4 || bits == 8)) {
        bpp_ = 1;
        for (int i = 0; i < 16; ++i) wert_[i] = uint8_t(i);  // indices stay indices
        const uint64_t n = uint64_t(1) << bits;
        const std::vector<uint64_t> karte = v.werte(ColorMap, 3 * n);
        if (karte.size() < 3 * n) return 3;
        palette_.assign(size_t(n), 0);
        for (size_t i = 0; i < n; ++i)
            palette_[i] = uint32_t((karte[i] >> 8 & 0xFF) << 16 | (karte[n + i] >> 8 & 0xFF) << 8 |
                                   (karte[2 * n + i] >> 8 & 0xFF));
    } else if (photo == Rgb && spp >= 3 && (bits == 8 || bits == 16 || weit)) {
        // 8-bit RGB with an extra sample keeps it (4-byte colour); deeper
        // samples drop it.
        behalten_ = bits == 8 && spp == 4 ? 4 : 3;
        bpp_ = behalten_ * int(bits > 8 ? 2 : 1);
        flag_ = 4;
        farbe32_ = behalten_ == 4 ? 256 : 0;
    } else if (photo == YCbCr && kompression_ == Jpeg && spp == 3) {
        bpp_ = 3;
        flag_ = 4;
        behalten_ = 3;
    } else if (photo == Cmyk && spp == 4 && bits == 8 && v.wert(InkSet, 1) == 1) {
        bpp_ = 3;
        flag_ = 4;
        behalten_ = 4;  // all four inks make the colour
        zeilenart_ = kCmyk;
    } else {
        return 12;
    }
    breite_ = int(w);
    hoehe_ = int(h);
    bitspersample_ = uint16_t(bits);
    samplesperpixel_ = int(spp);
    photometric_ = uint16_t(photo);
    planar_ = int(planar);
    // Planar files: only the planes the image keeps are read. Samples not
    // on byte boundaries are not interleaved from planes.
    ebenen_ = planar == 2 ? behalten_ : 1;
    bandspp_ = planar == 2 ? behalten_ : int(spp);
    if (planar == 2 && ebenen_ > 1 && bits % 8 != 0) return 12;
    if (zeilenart_ != kCmyk) {
        if (bits < 8) zeilenart_ = kKlein;
        else if (weit) zeilenart_ = kWeit;
        else if (bandspp_ != behalten_) zeilenart_ = kAuswahl;
    }
    uint64_t bildbytes = 0;
    if (!bild::produkt_passt(int64_t(w), int64_t(h), bpp_, UINT32_MAX, &bildbytes)) return 12;

    // Segments: strips as wide as the image, or tiles of a grid; a planar
    // file has one set of them per sample.
    kacheln_ = v.hat(TileWidth);
    const uint64_t proPixel = planar == 2 ? 1 : spp;  // samples per segment pixel
    if (kacheln_) {
        segbreite_ = uint32_t(std::min<uint64_t>(v.wert(TileWidth, 0), UINT32_MAX));
        seghoehe_ = uint32_t(std::min<uint64_t>(v.wert(TileLength, 0), UINT32_MAX));
        if (segbreite_ == 0 || seghoehe_ == 0) return 3;
        // Tiles of whole bytes only: a tile of 1-bit samples then starts on a byte.
        if (segbreite_ * proPixel * bits % 8 != 0) return 12;
    } else {
        const uint64_t rps = v.wert(RowsPerStrip, h);
        segbreite_ = uint32_t(w);
        seghoehe_ = uint32_t(rps == 0 || rps > h ? h : rps);  // 0 or more than the image: one strip
    }
    rowsperstrip_ = int(seghoehe_);
    quer_ = uint32_t(aufrunden(w, segbreite_));
    runter_ = uint32_t(aufrunden(h, seghoehe_));
    segzeile_ = size_t(aufrunden(uint64_t(segbreite_) * proPixel * bits, 8));
    bandzeile_ = size_t(aufrunden(w * uint64_t(bandspp_) * bits, 8));
    uint64_t segbytes = 0, segmente = 0;
    // Each segment holds at least one byte, so there cannot be more than
    // the file has bytes.
    if (v.kaputt || !bild::produkt_passt(int64_t(segzeile_), seghoehe_, 1, UINT32_MAX, &segbytes) ||
        !bild::produkt_passt(quer_, runter_, ebenen_, dateigroesse_, &segmente))
        return 3;

    segoffset_ = v.werte(kacheln_ ? TileOffsets : StripOffsets, segmente);
    seglaenge_ = v.werte(kacheln_ ? TileByteCounts : StripByteCounts, segmente);
    if (v.kaputt || segoffset_.size() < segmente || seglaenge_.size() < segmente) return 3;
    // Our own single-strip files state their strip 8 bytes past where the
    // rows are: recognised by the writer's exact layout and read from there.
    if (v.eigene_tags && segmente == 1 && v.anzahl(StripOffsets) == 1 && kompression_ == Keine &&
        segoffset_[0] == kEigenerKopf + 8 && dateigroesse_ == kEigenerKopf + seglaenge_[0])
        segoffset_[0] = kEigenerKopf;

    // What decoding will cost, bounded before anything is allocated: every
    // segment lies in the file, none decodes to more than its bytes can
    // give, and all together decode to no more than the whole file could,
    // however many of them point at the same bytes. Only the rows the image
    // needs count: the part of a tile below the image is never decoded.
    const Dekoder& d = *dekoder;
    uint64_t ausgabe = 0, eingabe = 0, zeilen = 0;
    for (size_t i = 0; i < segmente; ++i) {
        const uint64_t n = seglaenge_[i], band = i / quer_ % runter_;
        const uint64_t z = std::min<uint64_t>(seghoehe_, h - band * seghoehe_), bytes = z * segzeile_;
        if (!bild::bereich_passt(segoffset_[i], n, dateigroesse_) || bytes > n * d.ausdehnung ||
            (d.zeilen_pro_byte && z > n * d.zeilen_pro_byte))
            return 3;
        ausgabe += bytes;  // each term below 2^32 and at most 2^32 terms
        eingabe += d.entpacken ? n : bytes;
        zeilen += z;
    }
    if (ausgabe > dateigroesse_ * d.ausdehnung || (d.zeilen_pro_byte && zeilen > dateigroesse_ * d.zeilen_pro_byte) ||
        eingabe > 2 * dateigroesse_)
        return 3;
    band_.clear();  // made by the first band read: rows read straight into the image need none
    // 1-bit rows become bytes eight pixels at a time.
    if (bits == 1 && bandspp_ == 1)
        for (unsigned b = 0; b < 256; ++b)
            for (unsigned k = 0; k < 8; ++k) achtel_[b][k] = wert_[(b >> (7 - k)) & 1];
    return 0;
}

int CTiff::lies_roh(uint64_t offset, unsigned char* ziel, size_t n) {
    if (!lies_bei(datei_, dateigroesse_, offset, ziel, n)) return 3;
    if (bitumkehr_)
        for (size_t i = 0; i < n; ++i) ziel[i] = bits_umgekehrt(ziel[i]);
    return 0;
}

// Samples to the image's little-endian order, then the predictor on the
// values, then WhiteIsZero turned into black-is-zero (the complement of the
// packed bits is max - v for samples of any width).
void CTiff::nachbearbeiten(unsigned char* ziel, size_t zeilen) {
    const size_t erwartet = zeilen * segzeile_;
    const int bytes = bitspersample_ % 8 == 0 ? bitspersample_ / 8 : 0;
    const bool bildcodec = static_cast<const Dekoder*>(dekoder_)->bilddaten;
    if (ordnung_.big && bytes > 1 && !bildcodec)
        for (size_t i = 0; i + size_t(bytes) <= erwartet; i += size_t(bytes)) std::reverse(ziel + i, ziel + i + bytes);
    if (praediktor_ == 2 && !bildcodec) {
        const size_t abstand = ebenen_ > 1 || planar_ == 2 ? 1 : size_t(samplesperpixel_);
        for (size_t z = 0; z < zeilen; ++z)
            praediktor(ziel + z * segzeile_, size_t(segbreite_) * abstand, abstand, bytes);
    }
    if (photometric_ == WhiteIsZero)
        for (size_t i = 0; i < erwartet; ++i) ziel[i] = uint8_t(~ziel[i]);
}

// Segment `index` decoded into `ziel`, or into p.segment when ziel is null.
// Reads only the reader's plan, so two threads with a Puffer each may
// decode at once.
int CTiff::lies_segment(size_t index, unsigned char* ziel, uint32_t zeilen, Puffer& p) {
    const uint64_t offset = segoffset_[index], n = seglaenge_[index];
    const size_t erwartet = segzeile_ * zeilen;
    const auto* d = static_cast<const Dekoder*>(dekoder_);
    if (!ziel) {
        // Two bytes of slack, as a band row has (see bits_bei).
        if (p.segment.size() < erwartet + 2) p.segment.resize(erwartet + 2);
        ziel = p.segment.data();
    }
    if (!d->entpacken) {
        if (n < erwartet) return 3;  // an uncompressed strip shorter than its rows
        if (lies_roh(offset, ziel, erwartet) != 0) return 3;
    } else {
        p.roh.resize(size_t(n));
        if (lies_roh(offset, p.roh.data(), p.roh.size()) != 0) return 3;
        const Auftrag a{p.roh.data(), p.roh.size(), ziel,          segzeile_, segbreite_, zeilen,
                        kompression_, optionen_,    &jpegtabellen_, ycbcr_,   bandspp_};
        if (!d->entpacken(a)) return 3;
    }
    nachbearbeiten(ziel, zeilen);
    return 0;
}

// One segment's rows into the rows `ziele` (of the band, or of the image).
void CTiff::platziere(const unsigned char* segment, uint32_t spalte, int ebene, int zeilen,
                      unsigned char* const* ziele) {
    const size_t x0 = size_t(spalte) * segbreite_;
    const size_t pixel = std::min<size_t>(segbreite_, size_t(breite_) - x0);  // tiles overhang the edge
    for (int r = 0; r < zeilen; ++r) {
        const unsigned char* s = segment + size_t(r) * segzeile_;
        unsigned char* d = ziele[r];
        if (ebenen_ == 1) {
            const size_t bits = size_t(bandspp_) * bitspersample_;
            std::memcpy(d + x0 * bits / 8, s, (pixel * bits + 7) / 8);
        } else {
            const size_t b = bitspersample_ / 8u, schritt = size_t(ebenen_) * b;
            d += x0 * schritt + size_t(ebene) * b;
            for (size_t x = 0; x < pixel; ++x) std::memcpy(d + x * schritt, s + x * b, b);
        }
    }
}

int CTiff::lies_band() {
    if (band_.empty()) {
        // Two bytes of slack: sub-byte and 9-to-15-bit samples are read
        // three bytes at a time.
        const size_t zeilen = size_t(std::min<uint64_t>(seghoehe_, uint64_t(hoehe_)));
        band_.assign(bandzeile_ * zeilen + 2, 0);
        bandzeilen_.resize(zeilen);
        for (size_t r = 0; r < zeilen; ++r) bandzeilen_[r] = band_.data() + r * bandzeile_;
    }
    const uint32_t band = uint32_t(zeile_) / seghoehe_;
    const uint32_t zeilen = uint32_t(std::min<uint64_t>(seghoehe_, uint64_t(hoehe_) - uint64_t(band) * seghoehe_));
    for (int p = 0; p < ebenen_; ++p) {
        for (uint32_t c = 0; c < quer_; ++c) {
            const size_t index = (size_t(p) * runter_ + band) * quer_ + c;
            // A strip of one plane is laid out like the band's rows.
            const bool wie_band = !kacheln_ && ebenen_ == 1;
            const int r = lies_segment(index, wie_band ? band_.data() : nullptr, zeilen, puffer_);
            if (r != 0) return r;
            if (!wie_band) platziere(puffer_.segment.data(), c, p, int(zeilen), bandzeilen_.data());
        }
    }
    bandende_ = zeile_ + int(zeilen);
    return 0;
}

int CTiff::eintiff1(unsigned char* row) {
    if (zeile_ >= hoehe_ || !datei_) return 3;
    if (zeile_ == bandende_) {
        const int r = lies_band();
        if (r != 0) return r;
    }
    wandle(band_.data() + size_t(uint32_t(zeile_) % seghoehe_) * bandzeile_, row);
    ++zeile_;
    return 0;
}

// One band row (bandspp_ samples of bitspersample_ bits a pixel) as an image row.
void CTiff::wandle(const unsigned char* src, unsigned char* row) const {
    const size_t w = size_t(breite_), spp = size_t(bandspp_), k = size_t(behalten_);
    const int bits = bitspersample_;
    switch (zeilenart_) {
        case kKopie:
            std::memcpy(row, src, w * size_t(bpp_));
            break;
        case kAuswahl: {
            const size_t b = size_t(bits / 8);
            for (size_t x = 0; x < w; ++x) std::memcpy(row + x * k * b, src + x * spp * b, k * b);
            break;
        }
        case kKlein:
            if (bits == 1 && spp == 1) {
                size_t x = 0;
                for (; x + 8 <= w; x += 8) std::memcpy(row + x, achtel_[src[x / 8]], 8);
                if (x < w) std::memcpy(row + x, achtel_[src[x / 8]], w - x);
                break;
            }
            for (size_t x = 0; x < w; ++x) row[x] = wert_[bits_bei(src, x * spp * size_t(bits), bits)];
            break;
        case kWeit:
            for (size_t x = 0; x < w; ++x)
                for (size_t c = 0; c < k; ++c) bild::put_le16(row + 2 * (x * k + c), bits_bei(src, (x * spp + c) * size_t(bits), bits));
            break;
        case kCmyk:
            // R = (255 - C) (255 - K) / 255, rounded (no product is an exact
            // half), and so G from M and B from Y.
            for (size_t x = 0; x < w; ++x) {
                const unsigned char* p = src + 4 * x;
                const unsigned schwarz = 255u - p[3];
                for (size_t c = 0; c < 3; ++c) row[3 * x + c] = uint8_t(((255u - p[c]) * schwarz + 127) / 255);
            }
            break;
        default:
            break;
    }
}

namespace {

// Whether this process may run on a second core.
bool zweiter_kern() {
    static const bool ja = [] {
        cpu_set_t kerne;
        return sched_getaffinity(0, sizeof kerne, &kerne) == 0 && CPU_COUNT(&kerne) > 1;
    }();
    return ja;
}

// Images of fewer decoded bytes are not worth a second thread.
constexpr uint64_t kZuZweitAb = uint64_t(4) << 20;

// Runs f on a thread of its own and joins it when done with (also when the
// caller leaves by an exception); without a thread to be had, f runs here.
class Nebenher {
public:
    template <class F>
    explicit Nebenher(F f) {
        try {
            faden_ = std::thread(f);
        } catch (const std::exception&) {
            f();
        }
    }
    ~Nebenher() { warte(); }
    void warte() {
        if (faden_.joinable()) faden_.join();
    }

private:
    std::thread faden_;
};

}  // namespace

// Segments 0 .. anzahl-1 (in order of rows, quer_ to a band) into the
// image. ort(i, &zeilen) names where segment i's rows go straight (null:
// into a segment buffer) and how many there are; setzen(i, rows) puts
// decoded rows in place unless they are there already.
//
// A fresh image (all zero) of compressed segments is decoded from both ends
// at once when the machine has a second core: this thread takes segments
// from the top, a helper from the bottom, until they meet, so neither waits
// for the other however late the helper starts. The image must end exactly
// as one decoder going through the segments in order leaves it: up to the
// first segment that fails, and nothing after it, so what the helper
// decoded below that segment is cleared again. A segment the helper could
// not decode for want of memory is decoded again here, and on from it.
template <class Ort, class Setzen>
int CTiff::lies_segmente(CBILD* image, bool frisch, size_t anzahl, Ort ort, Setzen setzen) {
    const auto eins = [&](size_t i, Puffer& p) {
        uint32_t zeilen = 0;
        unsigned char* ziel = ort(i, &zeilen);
        const int r = lies_segment(i, ziel, zeilen, p);
        if (r == 0) setzen(i, ziel ? ziel : p.segment.data());
        return r;
    };
    // Segment i's pixels back to zero, as fresh storage was.
    const auto leeren = [&](size_t i) {
        const size_t x0 = size_t(i % quer_) * segbreite_, n = std::min<size_t>(segbreite_, size_t(breite_) - x0);
        const uint64_t y0 = uint64_t(i / quer_) * seghoehe_, bis = std::min<uint64_t>(y0 + seghoehe_, uint64_t(hoehe_));
        for (uint64_t y = y0; y < bis; ++y) std::memset(image->zeile[y] + x0 * size_t(bpp_), 0, n * size_t(bpp_));
    };
    int code = 0;
    const bool zu_zweit = frisch && static_cast<const Dekoder*>(dekoder_)->entpacken && anzahl > 1 &&
                          uint64_t(hoehe_) * uint64_t(breite_) * uint64_t(bpp_) >= kZuZweitAb && zweiter_kern();
    if (!zu_zweit) {
        for (size_t i = 0; i < anzahl && code == 0; ++i) code = eins(i, puffer_);
    } else {
        std::mutex m;
        size_t oben = 0, unten = anzahl;  // this thread's next segment; the helper's last
        size_t fehler = anzahl;           // the first segment that failed; code: its result, -1 when it threw
        const auto melde = [&](size_t i, int r) {
            std::lock_guard<std::mutex> l(m);
            if (i < fehler) fehler = i, code = r;
        };
        const auto nimm = [&](bool von_oben, size_t* i) {
            std::lock_guard<std::mutex> l(m);
            if (oben >= unten || (von_oben ? oben : unten - 1) >= fehler) return false;
            *i = von_oben ? oben++ : --unten;
            return true;
        };
        {
            Nebenher neben([&] {
                size_t i = 0;
                while (nimm(false, &i)) {
                    int r = -1;
                    try {
                        r = eins(i, hilfe_);
                    } catch (const std::exception&) {
                    }
                    if (r != 0) return melde(i, r);
                }
            });
            size_t i = 0;
            try {
                while (nimm(true, &i))
                    if (const int r = eins(i, puffer_)) {
                        melde(i, r);
                        break;
                    }
            } catch (...) {
                melde(i, -1);  // the helper stops; the exception goes on from here
                neben.warte();
                for (size_t k = std::max(i + 1, unten); k < anzahl; ++k) leeren(k);
                throw;
            }
        }
        for (size_t k = std::max(fehler + 1, unten); k < anzahl; ++k) leeren(k);
        if (code < 0) {
            code = 0;
            for (size_t i = fehler; i < anzahl && code == 0; ++i) code = eins(i, puffer_);
        }
    }
    return code;
}

// Chunky strips laid out like the image's rows decode straight into them,
// with no band in between; uncompressed strips that follow each other in
// the file come in with one read.
int CTiff::lies_direkt(CBILD* image, bool frisch) {
    const size_t zeile = size_t(breite_) * size_t(bpp_);
    const auto* d = static_cast<const Dekoder*>(dekoder_);
    const auto zeilen_ab = [this](uint64_t y) { return uint32_t(std::min<uint64_t>(seghoehe_, uint64_t(hoehe_) - y)); };
    if (kacheln_) {
        // Each tile's rows straight into the image rows it covers.
        return lies_segmente(
            image, frisch, size_t(runter_) * quer_,
            [&](size_t i, uint32_t* zeilen) -> unsigned char* {
                *zeilen = zeilen_ab(uint64_t(i / quer_) * seghoehe_);
                return nullptr;
            },
            [&](size_t i, const unsigned char* segment) {
                const uint32_t y = uint32_t(i / quer_) * seghoehe_;
                platziere(segment, uint32_t(i % quer_), 0, int(zeilen_ab(y)), image->zeile + y);
            });
    }
    if (zeilenart_ != kKopie) {
        // Strips whose rows are converted on their way into the image.
        return lies_segmente(
            image, frisch, runter_,
            [&](size_t s, uint32_t* zeilen) -> unsigned char* {
                *zeilen = zeilen_ab(uint64_t(s) * seghoehe_);
                return nullptr;
            },
            [&](size_t s, const unsigned char* segment) {
                const uint32_t y = uint32_t(s) * seghoehe_, zeilen = zeilen_ab(y);
                for (uint32_t r = 0; r < zeilen; ++r) wandle(segment + size_t(r) * segzeile_, image->zeile[y + r]);
            });
    }
    if (d->entpacken) {
        return lies_segmente(
            image, frisch, runter_,
            [&](size_t s, uint32_t* zeilen) {
                *zeilen = zeilen_ab(uint64_t(s) * seghoehe_);
                return image->zeile[s * seghoehe_];
            },
            [](size_t, const unsigned char*) {});
    }
    for (uint32_t s = 0; s < runter_;) {
        // Strips whose bytes follow each other: one read for all of them.
        const uint32_t y = s * seghoehe_;
        uint32_t zeilen = zeilen_ab(y);
        uint32_t e = s + 1;
        uint64_t ende = segoffset_[s] + uint64_t(zeilen) * zeile;
        if (seglaenge_[s] < uint64_t(zeilen) * zeile) return 3;
        for (; e < runter_ && segoffset_[e] == ende; ++e) {
            const uint32_t z = zeilen_ab(uint64_t(e) * seghoehe_);
            if (seglaenge_[e] < uint64_t(z) * zeile) break;
            zeilen += z;
            ende += uint64_t(z) * zeile;
        }
        if (lies_roh(segoffset_[s], image->zeile[y], size_t(zeilen) * zeile) != 0) return 3;
        nachbearbeiten(image->zeile[y], zeilen);
        s = e;
    }
    return 0;
}

int CTiff::eintiff2() {
    const bool ok = datei_.schliessen();
    band_ = {};
    bandzeilen_ = {};
    puffer_ = {};
    hilfe_ = {};
    segoffset_ = {};
    seglaenge_ = {};
    jpegtabellen_ = {};
    return ok ? 0 : 3;
}

int CTiff::lesen(const wchar_t* name, CBILD* image) {
    if (!name || !*name) return 1;
    int result = eintiff0(name);
    if (result == 0) {
        // Storage of another size is fresh, all zero; the same size keeps
        // the earlier image's rows.
        const bool frisch = image->breite != breite_ || image->hoehe != hoehe_ || image->bpp != bpp_;
        image->speicher(breite_, hoehe_, bpp_);
        image->flag = flag_;
        image->farbe32 = farbe32_;
        if (!palette_.empty()) {
            std::fill(image->palette, image->palette + 256, 0u);
            std::copy(palette_.begin(), palette_.end(), image->palette);
        }
        // The image's own rows follow each other in memory.
        bool folgend = ebenen_ == 1 && (!kacheln_ || zeilenart_ == kKopie) && image->puffer;
        const size_t zeile = size_t(breite_) * size_t(bpp_);
        for (int y = 0; folgend && y < hoehe_; ++y) folgend = image->zeile[y] == image->puffer + size_t(y) * zeile;
        if (folgend) {
            result = lies_direkt(image, frisch);
        } else {
            for (int y = 0; y < hoehe_ && result == 0; ++y) result = eintiff1(image->zeile[y]);
        }
    }
    if (eintiff2() != 0) result = 3;
    return result;
}
