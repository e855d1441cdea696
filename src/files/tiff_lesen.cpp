// The TIFF reader: parse the first directory, plan the strips or tiles,
// decode one band of them at a time (all segments that cover the same rows)
// and hand out its rows. Every size from the file is checked against the file
// before it becomes an allocation, a seek or a loop bound.
#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

#include "app/dateiname.h"
#include "bild/groesse.h"
#include "files/tiff.h"
#include "files/codec/inflate.h"
#include "files/codec/lzw.h"
#include "files/codec/packbits.h"
#include "files/tiff_format.h"

namespace {

using namespace tiff;

constexpr uint64_t kMaxAusdehnung = bild::kLzwAusdehnung;

// The tags the reader looks at; everything else in the directory is skipped.
constexpr Tag kGelesen[] = {ImageWidth,      ImageLength, BitsPerSample, Compression, Photometric,
                            FillOrder,       StripOffsets, SamplesPerPixel, RowsPerStrip,
                            StripByteCounts, PlanarConfiguration, Predictor, ColorMap, TileWidth,
                            TileLength,      TileOffsets, TileByteCounts, SampleFormat};
constexpr size_t kAnzahlGelesen = sizeof kGelesen / sizeof kGelesen[0];

int typgroesse(uint16_t typ) {
    switch (typ) {
        case 1: case 2: case 6: case 7: return 1;
        case 3: case 8: return 2;
        case 4: case 9: case 11: case 13: return 4;
        case 5: case 10: case 12: case 16: case 17: case 18: return 8;
        default: return 0;
    }
}

bool lies_bei(bild::Datei& d, uint64_t dateigroesse, uint64_t offset, void* p, size_t n) {
    return bild::bereich_passt(offset, n, dateigroesse) && offset <= uint64_t(LONG_MAX) &&
           std::fseek(d.get(), long(offset), SEEK_SET) == 0 && d.lies(p, n);
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
        const size_t g = size_t(typgroesse(x.typ));
        const uint64_t n = std::min(x.anzahl, max);
        uint64_t bytes = 0, alle = 0;
        // All values, not only those used, must lie in the file.
        if (!bild::produkt_passt(int64_t(std::min<uint64_t>(x.anzahl, INT64_MAX)), int64_t(g), 1, groesse_, &alle) ||
            !bild::produkt_passt(int64_t(n), int64_t(g), 1, alle, &bytes)) {
            kaputt = true;
            return out;
        }
        std::vector<unsigned char> roh;
        const unsigned char* p = x.wert;
        if (alle > (gross_ ? 8u : 4u)) {
            roh.resize(bytes);
            const uint64_t offset = gross_ ? ordnung.u64(x.wert) : ordnung.u32(x.wert);
            if (!lies_bei(d_, groesse_, offset, roh.data(), roh.size()) ||
                !bild::bereich_passt(offset, alle, groesse_)) {
                kaputt = true;
                return out;
            }
            p = roh.data();
        }
        out.resize(n);
        for (size_t i = 0; i < n; ++i) {
            const unsigned char* q = p + i * g;
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

// Horizontal differencing undone on one row of `n` samples, `abstand`
// samples between neighbours of the same channel; samples already in
// little-endian order.
void praediktor(unsigned char* z, size_t n, size_t abstand, int bytes) {
    if (bytes == 1) {
        for (size_t i = abstand; i < n; ++i) z[i] = uint8_t(z[i] + z[i - abstand]);
    } else if (bytes == 2) {
        for (size_t i = abstand; i < n; ++i) bild::put_le16(z + 2 * i, uint32_t(bild::le16(z + 2 * i) + bild::le16(z + 2 * (i - abstand))));
    } else {
        for (size_t i = abstand; i < n; ++i) bild::put_le32(z + 4 * i, bild::le32(z + 4 * i) + bild::le32(z + 4 * (i - abstand)));
    }
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
    // compressions we decode, at most four samples.
    if (kompression_ != Keine && kompression_ != Lzw && kompression_ != Deflate && kompression_ != DeflateAlt &&
        kompression_ != PackBits)
        return 12;
    if (format != 1 || spp > 4 || (planar != 1 && planar != 2) || w > INT_MAX || h > INT_MAX) return 12;
    if (praediktor_ != 1 && (praediktor_ != 2 || bits < 8)) return 12;
    flag_ = 0;
    farbe32_ = 0;
    palette_.clear();
    if ((photo == WhiteIsZero || photo == BlackIsZero) && spp == 1 &&
        (bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 32)) {
        bpp_ = bits <= 8 ? 1 : int(bits / 8);
        // 1-bit white reads as 254 and a 4-bit level as level x 16, as from
        // 1- and 4-bit BMP files: the same picture gives the same bytes
        // whichever format it came in.
        for (int i = 0; i < 16; ++i) wert_[i] = uint8_t(bits == 1 ? (i ? 254 : 0) : i * 16);
    } else if (photo == Palette && spp == 1 && (bits == 1 || bits == 2 || bits == 4 || bits == 8)) {
        bpp_ = 1;
        for (int i = 0; i < 16; ++i) wert_[i] = uint8_t(i);  // indices stay indices
        const uint64_t n = uint64_t(1) << bits;
        const std::vector<uint64_t> karte = v.werte(ColorMap, 3 * n);
        if (karte.size() < 3 * n) return 3;
        palette_.assign(size_t(n), 0);
        for (size_t i = 0; i < n; ++i)
            palette_[i] = uint32_t((karte[i] >> 8 & 0xFF) << 16 | (karte[n + i] >> 8 & 0xFF) << 8 |
                                   (karte[2 * n + i] >> 8 & 0xFF));
    } else if (photo == Rgb && ((spp == 3 && (bits == 8 || bits == 16)) || (spp == 4 && bits == 8))) {
        bpp_ = int(spp * bits / 8);
        flag_ = 4;
        farbe32_ = spp == 4 ? 256 : 0;
    } else {
        return 12;
    }
    breite_ = int(w);
    hoehe_ = int(h);
    bitspersample_ = uint16_t(bits);
    samplesperpixel_ = int(spp);
    photometric_ = uint16_t(photo);
    planar_ = int(planar);
    uint64_t bildbytes = 0;
    if (!bild::produkt_passt(int64_t(w), int64_t(h), bpp_, UINT32_MAX, &bildbytes)) return 12;

    // Segments: strips as wide as the image, or tiles of a grid; a planar
    // file has one set of them per sample.
    kacheln_ = v.hat(TileWidth);
    ebenen_ = planar == 2 ? int(spp) : 1;
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
    bandzeile_ = size_t(aufrunden(w * spp * bits, 8));
    direkt_ = !kacheln_ && ebenen_ == 1;
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
    uint64_t daten = 0;
    for (size_t i = 0; i < segmente; ++i) {
        if (!bild::bereich_passt(segoffset_[i], seglaenge_[i], dateigroesse_)) return 3;
        daten += seglaenge_[i];  // each below the file size: no overflow for any real count
    }
    // The pixels must be able to come from the data: an image far larger
    // than the strips could decode to is refused before it is allocated.
    const uint64_t faktor = kompression_ == Keine ? 1 : kMaxAusdehnung;
    uint64_t noetig = 0;
    if (!bild::produkt_passt(int64_t(bandzeile_), int64_t(h), 1, UINT64_MAX, &noetig) || daten > UINT64_MAX / faktor ||
        noetig > daten * faktor)
        return 3;
    band_.assign(bandzeile_ * std::min<uint64_t>(seghoehe_, h), 0);
    return 0;
}

int CTiff::lies_segment(size_t index, unsigned char* ziel, size_t erwartet) {
    const uint64_t offset = segoffset_[index], n = seglaenge_[index];
    const bool roh = kompression_ == Keine;
    if (roh ? n < erwartet : erwartet > n * kMaxAusdehnung) return 3;
    if (!ziel) {
        if (segment_.size() < erwartet) segment_.resize(erwartet);
        ziel = segment_.data();
    }
    if (roh) {
        if (!lies_bei(datei_, dateigroesse_, offset, ziel, erwartet)) return 3;
        if (bitumkehr_)
            for (size_t i = 0; i < erwartet; ++i) ziel[i] = bits_umgekehrt(ziel[i]);
    } else {
        roh_.resize(size_t(n));
        if (!lies_bei(datei_, dateigroesse_, offset, roh_.data(), roh_.size())) return 3;
        if (bitumkehr_)
            for (unsigned char& b : roh_) b = bits_umgekehrt(b);
        int64_t erhalten = 0;
        if (kompression_ == PackBits) erhalten = bild::packbits_entpacken(roh_.data(), roh_.size(), ziel, erwartet);
        else if (kompression_ == Lzw) erhalten = bild::lzw_entpacken(roh_.data(), roh_.size(), ziel, erwartet);
        else erhalten = bild::inflate_entpacken(roh_.data(), roh_.size(), ziel, erwartet);
        if (erhalten != int64_t(erwartet)) return 3;
    }
    // Samples to the image's little-endian order, then the predictor on
    // the values, then WhiteIsZero turned into black-is-zero.
    const int bytes = bitspersample_ / 8;
    if (ordnung_.big && bytes > 1)
        for (size_t i = 0; i + size_t(bytes) <= erwartet; i += size_t(bytes)) std::reverse(ziel + i, ziel + i + bytes);
    if (praediktor_ == 2) {
        const size_t abstand = ebenen_ > 1 ? 1 : size_t(samplesperpixel_);
        for (size_t z = 0; z < erwartet / segzeile_; ++z)
            praediktor(ziel + z * segzeile_, size_t(segbreite_) * abstand, abstand, bytes);
    }
    if (photometric_ == WhiteIsZero)
        for (size_t i = 0; i < erwartet; ++i) ziel[i] = uint8_t(~ziel[i]);
    return 0;
}

void CTiff::platziere(const unsigned char* segment, uint32_t spalte, int ebene, int zeilen) {
    const size_t x0 = size_t(spalte) * segbreite_;
    const size_t pixel = std::min<size_t>(segbreite_, size_t(breite_) - x0);  // tiles overhang the edge
    for (int r = 0; r < zeilen; ++r) {
        const unsigned char* s = segment + size_t(r) * segzeile_;
        unsigned char* d = band_.data() + size_t(r) * bandzeile_;
        if (ebenen_ == 1) {
            const size_t bits = size_t(samplesperpixel_) * bitspersample_;
            std::memcpy(d + x0 * bits / 8, s, (pixel * bits + 7) / 8);
        } else {
            const size_t b = bitspersample_ / 8u, schritt = size_t(ebenen_) * b;
            d += x0 * schritt + size_t(ebene) * b;
            for (size_t x = 0; x < pixel; ++x) std::memcpy(d + x * schritt, s + x * b, b);
        }
    }
}

int CTiff::lies_band() {
    const uint32_t band = uint32_t(zeile_) / seghoehe_;
    const int zeilen = int(std::min<uint64_t>(seghoehe_, uint64_t(hoehe_) - uint64_t(band) * seghoehe_));
    // Tiles are whole even at the edge; the last strip has only the rows left.
    const size_t erwartet = segzeile_ * (kacheln_ ? seghoehe_ : size_t(zeilen));
    for (int p = 0; p < ebenen_; ++p) {
        for (uint32_t c = 0; c < quer_; ++c) {
            const size_t index = (size_t(p) * runter_ + band) * quer_ + c;
            const int r = lies_segment(index, direkt_ ? band_.data() : nullptr, erwartet);
            if (r != 0) return r;
            if (!direkt_) platziere(segment_.data(), c, p, zeilen);
        }
    }
    bandende_ = zeile_ + zeilen;
    return 0;
}

int CTiff::eintiff1(unsigned char* row) {
    if (zeile_ >= hoehe_ || !datei_) return 3;
    if (zeile_ == bandende_) {
        const int r = lies_band();
        if (r != 0) return r;
    }
    const unsigned char* src = band_.data() + size_t(uint32_t(zeile_) % seghoehe_) * bandzeile_;
    const size_t w = size_t(breite_);
    const int bits = bitspersample_;
    if (bits >= 8) {
        std::memcpy(row, src, w * size_t(bpp_));
    } else {
        const unsigned maske = (1u << bits) - 1;
        for (size_t x = 0; x < w; ++x) {
            const size_t bit = x * size_t(bits);
            row[x] = wert_[(src[bit >> 3] >> (8 - bits - int(bit & 7))) & maske];
        }
    }
    ++zeile_;
    return 0;
}

int CTiff::eintiff2() {
    const bool ok = datei_.schliessen();
    band_ = {};
    segment_ = {};
    roh_ = {};
    segoffset_ = {};
    seglaenge_ = {};
    return ok ? 0 : 3;
}

int CTiff::lesen(const wchar_t* name, CBILD* image) {
    if (!name || !*name) return 1;
    int result = eintiff0(name);
    if (result == 0) {
        image->speicher(breite_, hoehe_, bpp_);
        image->flag = flag_;
        image->farbe32 = farbe32_;
        if (!palette_.empty()) {
            std::fill(image->palette, image->palette + 256, 0u);
            std::copy(palette_.begin(), palette_.end(), image->palette);
        }
        for (int y = 0; y < hoehe_ && result == 0; ++y) result = eintiff1(image->zeile[y]);
    }
    if (eintiff2() != 0) result = 3;
    return result;
}
