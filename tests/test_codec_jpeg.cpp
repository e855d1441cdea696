// The JPEG decoder against Pillow and libjpeg-turbo's djpeg on the same
// streams: photo-like content at every sampling, odd sizes, restart markers,
// custom and 16-bit Huffman codes, tables split out as TIFF keeps them,
// regions smaller than the frame; then broken streams, one change each, and
// the one code that must come back.
#include <cmath>
#include <cstring>
#include <random>

#include "files/codec/jpeg.h"
#include "hilfe.h"

namespace {

// Photo-like content: gradients, noise and hard-edged shapes, softened a
// little. Saved as JPEG with the Pillow save options given (a Python dict),
// or as PPM/PGM for cjpeg when they are None.
const char* kBildPy = R"(
import random, sys
from PIL import Image, ImageDraw, ImageFilter
w, h, mode, ziel, kw = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3], sys.argv[4], eval(sys.argv[5])
random.seed(w * 7919 + h)
im = Image.merge('RGB', (Image.linear_gradient('L').resize((w, h)), Image.radial_gradient('L').resize((w, h)),
                         Image.effect_noise((w, h), 60)))
d = ImageDraw.Draw(im)
for i in range(3 + w * h // 400):
    x, y = random.randrange(w), random.randrange(h)
    d.rectangle([x, y, x + random.randrange(1, 30), y + random.randrange(1, 30)],
                fill=tuple(random.randrange(256) for _ in range(3)))
im = Image.blend(im, im.filter(ImageFilter.GaussianBlur(1.5)), 0.5).convert(mode)
if kw is None:
    im.save(ziel + ('.ppm' if mode == 'RGB' else '.pgm'))
else:
    im.save(ziel + '.jpg', **kw)
)";

// Pillow's decode of a JPEG file as raw bytes (gray or RGB).
const char* kLiesPy = R"(
import sys
from PIL import Image
im = Image.open(sys.argv[1])
im.load()
open(sys.argv[2], 'wb').write(im.tobytes())
)";

struct Ergebnis {
    int code = -1;
    uint32_t fertig = 0;
    Bytes pixel;
};

// Into a buffer of exactly the region's bytes, so AddressSanitizer sees any
// write beyond it.
Ergebnis entpacke(const Bytes& q, uint32_t breite, uint32_t hoehe, int kanaele, bool ycbcr = true,
                  const Bytes& tabellen = {}) {
    Ergebnis e;
    e.pixel.assign(size_t(breite) * hoehe * unsigned(kanaele), 0);
    e.code = bild::jpeg_entpacken(tabellen.data(), tabellen.size(), q.data(), q.size(), ycbcr, e.pixel.data(),
                                  size_t(breite) * unsigned(kanaele), breite, hoehe, kanaele, &e.fertig);
    return e;
}

double psnr(const Bytes& a, const Bytes& b) {
    if (a.size() != b.size() || a.empty()) return 0;
    double summe = 0;
    for (size_t i = 0; i < a.size(); ++i) summe += double(a[i] - b[i]) * (a[i] - b[i]);
    return summe == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * double(a.size()) / summe);
}

// Near-identical: libjpeg-turbo rounds the same way, so nearly every byte
// agrees, and a rounding fault shows here long before it shows in the PSNR.
double gleich(const Bytes& a, const Bytes& b) {
    if (a.size() != b.size() || a.empty()) return 0;
    size_t n = 0;
    for (size_t i = 0; i < a.size(); ++i) n += a[i] == b[i];
    return double(n) / double(a.size());
}

int groesste_abweichung(const Bytes& a, const Bytes& b) {
    int m = a.size() == b.size() ? 0 : 256;
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) m = std::max(m, std::abs(a[i] - b[i]));
    return m;
}

// Rows [0, h) and columns [0, w) of an image `breite` pixels wide.
Bytes ausschnitt(const Bytes& bild, uint32_t breite, int kanaele, uint32_t w, uint32_t h) {
    Bytes out;
    for (uint32_t y = 0; y < h; ++y) {
        const auto z = bild.begin() + long(size_t(y) * breite * unsigned(kanaele));
        out.insert(out.end(), z, z + long(size_t(w) * unsigned(kanaele)));
    }
    return out;
}

// The segments before the first scan: DQT and DHT into an abbreviated
// stream as TIFF's JPEGTables holds them, the rest stays in the stream.
void teilen(const Bytes& jpg, Bytes& tabellen, Bytes& rest) {
    tabellen = {0xFF, 0xD8};
    rest = {0xFF, 0xD8};
    size_t i = 2;
    while (i + 4 <= jpg.size() && jpg[i] == 0xFF && jpg[i + 1] != 0xDA) {
        const size_t l = 2 + size_t(jpg[i + 2] << 8 | jpg[i + 3]);
        Bytes& ziel = jpg[i + 1] == 0xDB || jpg[i + 1] == 0xC4 ? tabellen : rest;
        ziel.insert(ziel.end(), jpg.begin() + long(i), jpg.begin() + long(i + l));
        i += l;
    }
    rest.insert(rest.end(), jpg.begin() + long(i), jpg.end());
    tabellen.insert(tabellen.end(), {0xFF, 0xD9});
}

class Jpeg : public Ordner {
protected:
    void SetUp() override {
        Ordner::SetUp();
        if (!hat_pillow()) GTEST_SKIP() << "python3 with PIL missing";
        schreib_datei(pfad("bild.py"), Bytes(kBildPy, kBildPy + std::strlen(kBildPy)));
        schreib_datei(pfad("lies.py"), Bytes(kLiesPy, kLiesPy + std::strlen(kLiesPy)));
    }
    std::string py(const std::string& args) {
        int status = 0;
        const std::string out = laufe("cd '" + dir + "' && /usr/bin/python3 " + args + " 2>&1", &status);
        EXPECT_EQ(status, 0) << out;
        return out;
    }
    // The picture as a Pillow JPEG with save options `kw`.
    Bytes pillow(int w, int h, const char* mode, const std::string& kw) {
        py("bild.py " + std::to_string(w) + " " + std::to_string(h) + " " + mode + " b '" + kw + "'");
        return lies_datei(pfad("b.jpg"));
    }
    Bytes referenz(const Bytes& jpg) {
        schreib_datei(pfad("r.jpg"), jpg);
        py("lies.py r.jpg r.raw");
        return lies_datei(pfad("r.raw"));
    }
};

struct PillowFall {
    int w, h;
    const char* mode;
    const char* kw;
};

TEST_F(Jpeg, WiePillowSieLiest) {
    const PillowFall faelle[] = {
        {64, 48, "L", "dict(quality=75)"},
        {61, 47, "RGB", "dict(quality=75, subsampling=0)"},  // 4:4:4
        {61, 47, "RGB", "dict(quality=75, subsampling=1)"},  // 4:2:2
        {61, 47, "RGB", "dict(quality=75, subsampling=2)"},  // 4:2:0
        {1, 1, "RGB", "dict(quality=75, subsampling=2)"},    // partial MCUs from here on
        {7, 9, "RGB", "dict(quality=75, subsampling=2)"},
        {17, 33, "RGB", "dict(quality=75, subsampling=2)"},
        {33, 17, "RGB", "dict(quality=75, subsampling=1)"},
        {4, 5, "RGB", "dict(quality=75, subsampling=2)"},  // chroma two samples wide
        {5, 200, "L", "dict(quality=60)"},
        {97, 61, "RGB", "dict(quality=95, subsampling=2, optimize=True)"},  // the image's own Huffman tables
        {97, 61, "RGB", "dict(quality=100, subsampling=0)"},
        {97, 61, "L", "dict(quality=5, optimize=True)"},
    };
    for (const PillowFall& f : faelle) {
        SCOPED_TRACE(::testing::Message() << f.w << "x" << f.h << " " << f.mode << " " << f.kw);
        const Bytes jpg = pillow(f.w, f.h, f.mode, f.kw);
        const int k = f.mode[0] == 'L' ? 1 : 3;
        const Ergebnis e = entpacke(jpg, uint32_t(f.w), uint32_t(f.h), k);
        ASSERT_EQ(e.code, 0);
        EXPECT_EQ(e.fertig, uint32_t(f.h));
        const Bytes soll = referenz(jpg);
        EXPECT_GE(psnr(e.pixel, soll), 40.0);
        EXPECT_GE(gleich(e.pixel, soll), 0.995);
    }
    EXPECT_EQ(entpacke(pillow(40, 30, "RGB", "dict(progressive=True)"), 40, 30, 3).code, 12);
}

// Restart markers, 1x2 sampling and RGB-coded components come from cjpeg;
// djpeg decodes them for reference.
TEST_F(Jpeg, WieDjpegSieLiest) {
    if (laufe("cjpeg -version 2>&1; djpeg -version 2>&1").find("libjpeg") == std::string::npos)
        GTEST_SKIP() << "cjpeg/djpeg missing";
    struct Fall {
        int w, h;
        bool grau;
        const char* args;
        bool ycbcr;
    } const faelle[] = {
        {100, 77, false, "-restart 1", true},  // every MCU row
        {100, 77, false, "-sample 2x2 -restart 3B", true},
        {45, 53, true, "-restart 2B", true},
        {150, 40, false, "-sample 2x1 -restart 1B -optimize", true},
        {37, 41, false, "-sample 1x2", true},
        {37, 41, false, "-rgb", false},  // R, G, B as stored
        {37, 41, false, "-rgb -sample 2x2", false},
        {60, 50, false, "-quality 2", true},  // tables too coarse for 8 bits: SOF1 with 16-bit DQT
    };
    for (const Fall& f : faelle) {
        SCOPED_TRACE(::testing::Message() << f.w << "x" << f.h << " " << f.args);
        const std::string ein = f.grau ? "b.pgm" : "b.ppm";
        py("bild.py " + std::to_string(f.w) + " " + std::to_string(f.h) + (f.grau ? " L" : " RGB") + " b None");
        int status = 0;
        laufe("cd '" + dir + "' && cjpeg " + f.args + " -outfile c.jpg " + ein + " && djpeg -outfile c.pnm c.jpg",
              &status);
        ASSERT_EQ(status, 0);
        // djpeg's PNM: "P5|P6 <w> <h> 255" and one whitespace byte, then the samples.
        const Bytes pnm = lies_datei(pfad("c.pnm")), jpg = lies_datei(pfad("c.jpg"));
        const int k = f.grau ? 1 : 3;
        const Bytes soll(pnm.end() - long(size_t(f.w) * unsigned(f.h) * unsigned(k)), pnm.end());
        const Ergebnis e = entpacke(jpg, uint32_t(f.w), uint32_t(f.h), k, f.ycbcr);
        ASSERT_EQ(e.code, 0);
        EXPECT_GE(psnr(e.pixel, soll), 40.0);
        EXPECT_GE(gleich(e.pixel, soll), 0.995);
    }
}

TEST_F(Jpeg, TabellenWieTiffSieTrennt) {
    const Bytes jpg = pillow(70, 45, "RGB", "dict(quality=80, subsampling=2)");
    const Ergebnis ganz = entpacke(jpg, 70, 45, 3);
    ASSERT_EQ(ganz.code, 0);
    Bytes tabellen, rest;
    teilen(jpg, tabellen, rest);
    ASSERT_LT(rest.size() + 300, jpg.size());  // the tables did move out
    EXPECT_EQ(entpacke(rest, 70, 45, 3, true, tabellen).pixel, ganz.pixel);
    EXPECT_EQ(entpacke(rest, 70, 45, 3).code, 3);  // without them
    // Tables in the stream replace those given beforehand.
    Bytes andere, egal;
    teilen(pillow(70, 45, "RGB", "dict(quality=10, subsampling=2)"), andere, egal);
    EXPECT_EQ(entpacke(jpg, 70, 45, 3, true, andere).pixel, ganz.pixel);
    // An empty tables field is no tables field.
    EXPECT_EQ(entpacke(jpg, 70, 45, 3, true, Bytes{0xFF, 0xD8, 0xFF, 0xD9}).pixel, ganz.pixel);
}

// A region of the frame (a tile overhanging the image, a strip of fewer rows)
// is the same pixels as the top left of the whole frame, chroma neighbours
// across the region's edges included.
TEST_F(Jpeg, Region) {
    const struct {
        const char* mode;
        const char* kw;
    } arten[] = {{"RGB", "dict(quality=75, subsampling=2)"},
                 {"RGB", "dict(quality=75, subsampling=1)"},
                 {"L", "dict(quality=75)"}};
    const uint32_t regionen[][2] = {{37, 21}, {16, 16}, {100, 16}, {1, 80}, {99, 79}, {17, 32}};
    for (const auto& a : arten) {
        const Bytes jpg = pillow(100, 80, a.mode, a.kw);
        const int k = a.mode[0] == 'L' ? 1 : 3;
        const Ergebnis ganz = entpacke(jpg, 100, 80, k);
        ASSERT_EQ(ganz.code, 0);
        for (const auto& r : regionen) {
            SCOPED_TRACE(::testing::Message() << a.kw << " " << r[0] << "x" << r[1]);
            const Ergebnis e = entpacke(jpg, r[0], r[1], k);
            EXPECT_EQ(e.code, 0);
            EXPECT_EQ(e.fertig, r[1]);
            EXPECT_EQ(e.pixel, ausschnitt(ganz.pixel, 100, k, r[0], r[1]));
        }
        EXPECT_EQ(entpacke(jpg, 101, 80, k).code, 3);  // a frame smaller than the region
        EXPECT_EQ(entpacke(jpg, 100, 81, k).code, 3);
        EXPECT_EQ(entpacke(jpg, 100, 80, 4 - k).code, 3);  // components that do not match
    }
}

// A gray stream built from chosen quantized coefficients and chosen Huffman
// tables, so tests reach codes 16 bits long, restart intervals and damage no
// encoder writes.
struct JpegBau {
    int breite = 64, hoehe = 40;
    unsigned char sof = 0xC0, praezision = 8, komponenten = 1, abtastung = 0x11;
    int ri = 0;
    bool dqt = true, dht = true;
    Bytes dc_anzahl, dc_sym, ac_anzahl, ac_sym;
    std::vector<std::vector<int>> bloecke;  // zigzag order, row by row
    std::vector<size_t> zeilenstart;        // byte holding the first bit of each block row
    int laengster = 0;                      // the longest code the data uses

    explicit JpegBau(int w = 64, int h = 40, uint32_t saat = 1) : breite(w), hoehe(h) {
        std::mt19937 z(saat);
        // DC: one code of each length, the sizes common in images longest.
        dc_anzahl = {1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 1, 0, 1, 1, 1};
        dc_sym = {11, 10, 9, 8, 7, 0, 1, 2, 3, 4, 5, 6};
        // AC: all 162 symbols, one each at lengths 2..15 and the rest at 16.
        for (int r = 0; r < 16; ++r)
            for (int s = 1; s <= 10; ++s) ac_sym.push_back((unsigned char)(r << 4 | s));
        ac_sym.push_back(0x00);
        ac_sym.push_back(0xF0);
        std::shuffle(ac_sym.begin(), ac_sym.end(), z);
        ac_anzahl = {0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 148};
        const int n = ((breite + 7) / 8) * ((hoehe + 7) / 8);
        for (int b = 0; b < n; ++b) {
            std::vector<int> k(64, 0);
            k[0] = z() % 7 == 0 ? (z() % 2 ? 1020 : -1020) : int(z() % 401) - 200;  // DC sizes up to 11
            for (int i = 0, m = int(z() % 12); i < m; ++i) k[1 + z() % 30] = int(z() % 61) - 30;
            if (z() % 5 == 0) k[1 + z() % 63] = int(z() % 1023) + 1;  // AC sizes up to 10
            if (z() % 9 == 0) k[63] = 3;                              // no end-of-block code
            bloecke.push_back(k);
        }
    }

    Bytes bau() {
        Bytes out = {0xFF, 0xD8};
        auto segment = [&](unsigned char m, const Bytes& inhalt) {
            const size_t l = inhalt.size() + 2;
            out.insert(out.end(), {0xFF, m, (unsigned char)(l >> 8), (unsigned char)l});
            out.insert(out.end(), inhalt.begin(), inhalt.end());
        };
        if (dqt) {
            Bytes q = {0x00};
            for (int i = 0; i < 64; ++i) q.push_back((unsigned char)(1 + i / 16));
            segment(0xDB, q);
        }
        Bytes f = {praezision, (unsigned char)(hoehe >> 8), (unsigned char)hoehe, (unsigned char)(breite >> 8),
                   (unsigned char)breite, komponenten};
        for (int i = 0; i < komponenten; ++i)
            f.insert(f.end(), {(unsigned char)(i + 1), i ? (unsigned char)0x11 : abtastung, 0});
        segment(sof, f);
        if (dht) {
            Bytes h = {0x00};
            h.insert(h.end(), dc_anzahl.begin(), dc_anzahl.end());
            h.insert(h.end(), dc_sym.begin(), dc_sym.end());
            h.push_back(0x10);
            h.insert(h.end(), ac_anzahl.begin(), ac_anzahl.end());
            h.insert(h.end(), ac_sym.begin(), ac_sym.end());
            segment(0xC4, h);
        }
        if (ri) segment(0xDD, {(unsigned char)(ri >> 8), (unsigned char)ri});
        segment(0xDA, {1, 1, 0x00, 0, 63, 0});

        // Canonical codes: each length continues from the last code, doubled.
        uint32_t code[2][256], laenge[2][256];
        for (int t = 0; t < 2; ++t) {
            const Bytes& anzahl = t ? ac_anzahl : dc_anzahl;
            const Bytes& sym = t ? ac_sym : dc_sym;
            uint32_t c = 0;
            size_t k = 0;
            for (int l = 1; l <= 16; ++l, c <<= 1)
                for (int i = 0; i < anzahl[size_t(l - 1)]; ++i, ++c, ++k) {
                    code[t][sym[k]] = c;
                    laenge[t][sym[k]] = uint32_t(l);
                }
        }
        unsigned akku = 0;
        int nakku = 0;
        auto bits = [&](uint32_t v, int n) {
            for (int i = n - 1; i >= 0; --i) {
                akku = akku << 1 | (v >> i & 1);
                if (++nakku == 8) {
                    out.push_back((unsigned char)akku);
                    if (akku == 0xFF) out.push_back(0);
                    akku = 0;
                    nakku = 0;
                }
            }
        };
        auto symbol = [&](int t, int s) {
            bits(code[t][s], int(laenge[t][s]));
            laengster = std::max(laengster, int(laenge[t][s]));
        };
        auto wert = [&](int t, int lauf, int v) {
            int g = 0;
            while ((std::abs(v) >> g) != 0) ++g;
            symbol(t, lauf << 4 | g);
            if (g) bits(uint32_t(v > 0 ? v : v + (1 << g) - 1), g);
        };
        const int proZeile = (breite + 7) / 8;
        int pred = 0;
        for (size_t b = 0; b < bloecke.size(); ++b) {
            if (ri && b && b % size_t(ri) == 0) {
                while (nakku) bits(1, 1);
                out.insert(out.end(), {0xFF, (unsigned char)(0xD0 + (b / size_t(ri) - 1) % 8)});
                pred = 0;
            }
            if (b % size_t(proZeile) == 0) zeilenstart.push_back(out.size());
            const std::vector<int>& k = bloecke[b];
            wert(0, 0, k[0] - pred);
            pred = k[0];
            int lauf = 0;
            for (int i = 1; i < 64; ++i) {
                if (!k[size_t(i)]) {
                    ++lauf;
                    continue;
                }
                for (; lauf > 15; lauf -= 16) symbol(1, 0xF0);
                wert(1, lauf, k[size_t(i)]);
                lauf = 0;
            }
            if (lauf) symbol(1, 0x00);
        }
        while (nakku) bits(1, 1);
        out.insert(out.end(), {0xFF, 0xD9});
        return out;
    }
};

// Where the entropy-coded data of the first scan begins.
size_t daten(const Bytes& s) {
    size_t i = 2;
    while (i + 4 <= s.size() && !(s[i] == 0xFF && s[i + 1] == 0xDA)) i += 2 + size_t(s[i + 2] << 8 | s[i + 3]);
    return i + 2 + size_t(s[i + 2] << 8 | s[i + 3]);
}

TEST_F(Jpeg, LangeCodesUndNeustarts) {
    for (int ri : {0, 1, 5}) {
        SCOPED_TRACE(::testing::Message() << "restart interval " << ri);
        JpegBau bau(61, 37, uint32_t(7 + ri));  // partial blocks at the right and bottom
        bau.ri = ri;
        const Bytes jpg = bau.bau();
        ASSERT_EQ(bau.laengster, 16);
        const Ergebnis e = entpacke(jpg, 61, 37, 1);
        ASSERT_EQ(e.code, 0);
        const Bytes soll = referenz(jpg);
        EXPECT_LE(groesste_abweichung(e.pixel, soll), 1);
        EXPECT_GE(psnr(e.pixel, soll), 40.0);
        // Fill bytes 0xFF may precede any marker, restart markers too.
        Bytes gefuellt;
        for (size_t i = 0; i < jpg.size(); ++i) {
            const bool marker = jpg[i] == 0xFF && i + 1 < jpg.size() && jpg[i + 1] != 0x00;
            if (marker && i > 0) gefuellt.insert(gefuellt.end(), {0xFF, 0xFF, 0xFF});
            gefuellt.push_back(jpg[i]);
        }
        EXPECT_EQ(entpacke(gefuellt, 61, 37, 1).pixel, e.pixel);
    }
}

TEST(JpegKaputt, EineAenderungEinCode) {
    using Aenderung = void (*)(JpegBau&, Bytes&);
    const struct {
        const char* was;
        Aenderung f;
        int code;
    } faelle[] = {
        {"intact", [](JpegBau&, Bytes&) {}, 0},
        {"no DHT", [](JpegBau& b, Bytes& s) { b.dht = false; s = b.bau(); }, 3},
        {"no DQT", [](JpegBau& b, Bytes& s) { b.dqt = false; s = b.bau(); }, 3},
        {"three codes one bit long", [](JpegBau& b, Bytes& s) {  // a fuzz find
             b.dc_anzahl = {3, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1};
             s = b.bau();
         }, 3},
        {"progressive", [](JpegBau& b, Bytes& s) { b.sof = 0xC2; s = b.bau(); }, 12},
        {"lossless", [](JpegBau& b, Bytes& s) { b.sof = 0xC3; s = b.bau(); }, 12},
        {"arithmetic", [](JpegBau& b, Bytes& s) { b.sof = 0xC9; s = b.bau(); }, 12},
        {"12-bit", [](JpegBau& b, Bytes& s) { b.sof = 0xC1; b.praezision = 12; s = b.bau(); }, 12},
        {"two components", [](JpegBau& b, Bytes& s) { b.komponenten = 2; s = b.bau(); }, 12},
        {"four components", [](JpegBau& b, Bytes& s) { b.komponenten = 4; s = b.bau(); }, 12},
        {"luma 4x1", [](JpegBau& b, Bytes& s) { b.komponenten = 3; b.abtastung = 0x41; s = b.bau(); }, 12},
        {"colour for gray", [](JpegBau& b, Bytes& s) { b.komponenten = 3; s = b.bau(); }, 3},
        {"frame one row short", [](JpegBau& b, Bytes& s) { b.hoehe = 39; s = b.bau(); }, 3},
        {"frame one column short", [](JpegBau& b, Bytes& s) { b.breite = 63; s = b.bau(); }, 3},
        {"no SOI", [](JpegBau&, Bytes& s) { s[1] = 0xD9; }, 3},
        {"empty", [](JpegBau&, Bytes& s) { s.clear(); }, 3},
        {"EOI before the scan", [](JpegBau&, Bytes& s) { s = {0xFF, 0xD8, 0xFF, 0xD9}; }, 3},
        {"segment longer than the stream", [](JpegBau&, Bytes& s) { s.resize(20); }, 3},
        {"data that no code matches", [](JpegBau&, Bytes& s) {
             // Seven ones in a row begin no code of these tables.
             std::fill(s.begin() + long(daten(s)), s.end() - 2, 0xFE);
         }, 3},
        {"restart marker missing", [](JpegBau& b, Bytes& s) {
             b.ri = 8;
             s = b.bau();
             for (size_t i = 0; i + 1 < s.size(); ++i)
                 if (s[i] == 0xFF && s[i + 1] == 0xD1) s.erase(s.begin() + long(i), s.begin() + long(i + 2));
         }, 3},
        {"restart marker out of order", [](JpegBau& b, Bytes& s) {
             b.ri = 8;
             s = b.bau();
             for (size_t i = 0; i + 1 < s.size(); ++i)
                 if (s[i] == 0xFF && s[i + 1] == 0xD1) s[i + 1] = 0xD2;
         }, 3},
    };
    for (const auto& f : faelle) {
        SCOPED_TRACE(f.was);
        JpegBau b;
        Bytes s = b.bau();
        f.f(b, s);
        EXPECT_EQ(entpacke(s, 64, 40, 1).code, f.code);
    }
}

// A stream cut short: the rows before the block row it ends in are there,
// whole and right.
TEST(JpegKaputt, AbgeschnittenGibtDieZeilenDavor) {
    JpegBau b;
    const Bytes s = b.bau();
    const Ergebnis ganz = entpacke(s, 64, 40, 1);
    ASSERT_EQ(ganz.code, 0);
    for (size_t zeile = 1; zeile < 5; ++zeile) {
        SCOPED_TRACE(zeile);
        const Bytes kurz(s.begin(), s.begin() + long(b.zeilenstart[zeile] + 1));
        const Ergebnis e = entpacke(kurz, 64, 40, 1);
        EXPECT_EQ(e.code, 3);
        EXPECT_EQ(e.fertig, 8 * zeile);
        EXPECT_EQ(Bytes(e.pixel.begin(), e.pixel.begin() + long(64 * 8 * zeile)),
                  Bytes(ganz.pixel.begin(), ganz.pixel.begin() + long(64 * 8 * zeile)));
        // Asking only for the rows that are there is no damage.
        EXPECT_EQ(entpacke(kurz, 64, uint32_t(8 * zeile), 1).code, 0);
    }
}

}  // namespace
