// The JPEG decoder on streams built here (flat blocks, 16-bit Huffman codes, restarts), each broken
// in one place for the one code that must come back; and against Pillow at every sampling and odd sizes.
#include <cmath>
#include <cstring>

#include "files/codec/jpeg.h"
#include "hilfe.h"

namespace {

void dazu(Bytes& b, const Bytes& mehr) { b.insert(b.end(), mehr.begin(), mehr.end()); }

// Flat blocks: block i (as sent) is 128 + dc(i) / 8. Every symbol the data uses has a 16-bit code
// (four short codes go to symbols it never uses); a ZRL before some EOBs keeps the block flat.
struct JpegBau {
    uint16_t breite, hoehe;
    int komponenten = 1, ri = 0;
    uint8_t abtastung = 0x11;         // luma's; chroma is 1x1
    std::vector<size_t> zeilenstart;  // where the data of each MCU row begins

    JpegBau(uint16_t w, uint16_t h) : breite(w), hoehe(h) {}
    static int dc(size_t i) { return int((i * 2654435761u) >> 7) % 256 * 8 - 1024; }

    Bytes bau() {
        Bytes s = {0xFF, 0xD8}, sof = {8, 0, uint8_t(hoehe), 0, uint8_t(breite), uint8_t(komponenten)},
              sos = {uint8_t(komponenten)};
        auto seg = [&s](uint8_t m, const Bytes& d) { dazu(s, {0xFF, m, 0, uint8_t(d.size() + 2)}), dazu(s, d); };
        seg(0xDB, Bytes(65, 1));  // table 1, all ones
        seg(0xC4, {0x00, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 12, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7, 8,
                   9, 10, 11, 0x10, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 1, 2, 3, 4, 0x00, 0xF0});
        for (uint8_t c = 1; c <= komponenten; ++c)
            dazu(sof, {c, c == 1 ? abtastung : uint8_t(0x11), 1}), dazu(sos, {c, 0});
        seg(0xC0, sof);
        if (ri) seg(0xDD, {0, uint8_t(ri)});
        dazu(sos, {0, 63, 0});
        seg(0xDA, sos);
        uint64_t acc = 0;
        int n = 0;
        auto bits = [&](uint32_t v, int k) {
            for (acc = acc << k | v, n += k; n >= 8; n -= 8)
                if (s.push_back(uint8_t(acc >> (n - 8))), s.back() == 0xFF) s.push_back(0);
        };
        const int h = komponenten == 1 ? 1 : abtastung >> 4, v = komponenten == 1 ? 1 : abtastung & 15;
        const size_t mcux = (breite + 8 * h - 1) / (8 * h), mcus = mcux * ((hoehe + 8 * v - 1) / (8 * v));
        int pred[3] = {};
        for (size_t m = 0, i = 0; m < mcus; ++m) {
            if (ri && m && m % size_t(ri) == 0) {
                bits((1u << (8 - n)) - 1, (8 - n) % 8);
                dazu(s, {0xFF, uint8_t(0xD0 + (m / size_t(ri) - 1) % 8)});
                pred[0] = pred[1] = pred[2] = 0;
            }
            if (m % mcux == 0) zeilenstart.push_back(s.size());
            for (int c = 0; c < komponenten; ++c)
                for (int b = 0; b < (c ? 1 : h * v); ++b, ++i) {
                    const int d = dc(i) - pred[c];
                    int g = 0;
                    while (std::abs(d) >> g) ++g;
                    pred[c] = dc(i);
                    bits(0xF000u + uint32_t(g), 16);  // the DC size, then its bits
                    bits(uint32_t(d < 0 ? d + (1 << g) - 1 : d), g);
                    if (i % 3 == 0) bits(0xF001, 16);  // ZRL
                    bits(0xF000, 16);                  // EOB
                }
        }
        bits((1u << (8 - n)) - 1, (8 - n) % 8);
        dazu(s, {0xFF, 0xD9});
        return s;
    }
};

struct Ergebnis { int code; uint32_t fertig; Bytes pixel; };

// Into a buffer of exactly the region's bytes, so AddressSanitizer sees any write beyond it.
Ergebnis entpacke(const Bytes& q, uint32_t breite, uint32_t hoehe, int k, const Bytes& tab = {}, bool ycbcr = true) {
    Ergebnis e{-1, 0, Bytes(size_t(breite) * hoehe * unsigned(k))};
    e.code = bild::jpeg_entpacken(tab.data(), tab.size(), q.data(), q.size(), ycbcr, e.pixel.data(),
                                  size_t(breite) * unsigned(k), breite, hoehe, k, &e.fertig);
    return e;
}

// Rows [0, h) of a built stream of 1x1 sampling and k components, as stored.
Bytes flach(uint32_t breite, uint32_t h, size_t mcux, unsigned k) {
    Bytes b;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < breite * k; ++x)
            b.push_back(uint8_t(128 + JpegBau::dc((y / 8 * mcux + x / k / 8) * k + x % k) / 8));
    return b;
}

size_t marke(const Bytes& s, uint8_t m) {
    size_t i = 0;
    while (i + 1 < s.size() && !(s[i] == 0xFF && s[i + 1] == m)) ++i;
    return i;
}

// A gray stream of 61 x 37 (partial blocks right and below) changed in one place: code, rows done, pixels.
TEST(Jpeg, HandgebauteStroeme) {
    const struct { const char* was; int ri; void (*f)(Bytes& s); int code; uint32_t fertig; } faelle[] = {
        {"whole", 0, [](Bytes&) {}, 0, 37},
        {"restart after every 5", 5, [](Bytes&) {}, 0, 37},
        {"no DQT", 0, [](Bytes& s) { s.erase(s.begin() + 2, s.begin() + 71); }, 3, 0},
        {"no DHT", 0, [](Bytes& s) { s.erase(s.begin() + 71, s.begin() + long(marke(s, 0xC0))); }, 3, 0},
        {"three codes one bit long", 0, [](Bytes& s) { s[marke(s, 0xC4) + 5] = 3; }, 3, 0},
        {"progressive", 0, [](Bytes& s) { s[marke(s, 0xC0) + 1] = 0xC2; }, 12, 0},
        {"12-bit", 0, [](Bytes& s) { s[marke(s, 0xC0) + 4] = 12; }, 12, 0},
        {"two components", 0, [](Bytes& s) { s[marke(s, 0xC0) + 9] = 2; }, 12, 0},
        {"EOI where SOI is due", 0, [](Bytes& s) { s[1] = 0xD9; }, 3, 0},
        {"a second frame header", 0,
         [](Bytes& s) { s.insert(s.begin() + 2, {0xFF, 0xC0, 0, 11, 8, 0, 37, 0, 61, 1, 1, 0x11, 1}); }, 3, 0},
        {"an APP0 segment of length 1", 0, [](Bytes& s) { s.insert(s.begin() + 2, {0xFF, 0xE0, 0, 1}); }, 3, 0},
        {"a DC size of 12", 0, [](Bytes& s) { std::fill(s.begin() + long(marke(s, 0xDA) + 10), s.end(), 0); }, 3, 0},
        {"restart marker missing", 8, [](Bytes& s) { s.erase(s.begin() + long(marke(s, 0xD1)), s.end() - 2); }, 3, 16},
        {"restart marker out of order", 8, [](Bytes& s) { s[marke(s, 0xD1) + 1] = 0xD2; }, 3, 16},
    };
    for (const auto& f : faelle) {
        JpegBau b{61, 37};
        b.ri = f.ri;
        Bytes s = b.bau();
        f.f(s);
        const Ergebnis e = entpacke(s, 61, 37, 1);
        EXPECT_TRUE(e.code == f.code && e.fertig == f.fertig) << f.was << ": " << e.code << " " << e.fertig;
        EXPECT_EQ(Bytes(e.pixel.begin(), e.pixel.begin() + long(f.fertig * 61)), flach(61, f.fertig, 8, 1)) << f.was;
    }
    // Tables apart as TIFF keeps them; a region; a frame smaller than the region or of other components;
    // cut inside the fourth MCU row: the 24 rows before it, and asking for no more is no damage.
    JpegBau b{61, 37};
    const Bytes s = b.bau();
    Bytes g = s, tabellen(s.begin(), s.begin() + long(marke(s, 0xC0)));
    g.erase(g.begin() + 2, g.begin() + long(marke(s, 0xC0))), dazu(tabellen, {0xFF, 0xD9});
    EXPECT_EQ(entpacke(g, 61, 37, 1, tabellen).pixel, flach(61, 37, 8, 1));
    EXPECT_EQ(entpacke(s, 20, 9, 1).pixel, flach(20, 9, 8, 1));
    for (const Ergebnis& e : {entpacke(g, 61, 37, 1), entpacke(s, 61, 38, 1), entpacke(s, 62, 37, 1),
                              entpacke(s, 61, 37, 3)})
        EXPECT_EQ(e.code, 3);
    const Bytes kurz(s.begin(), s.begin() + long(b.zeilenstart[3] + 1));
    const Ergebnis e = entpacke(kurz, 61, 37, 1);
    EXPECT_TRUE(e.code == 3 && e.fertig == 24 && entpacke(kurz, 61, 24, 1).code == 0);
    EXPECT_EQ(Bytes(e.pixel.begin(), e.pixel.begin() + 61 * 24), flach(61, 24, 8, 1));
    // Three components as stored, no YCbCr conversion; then a scan naming a third the frame lacks.
    JpegBau farbe{21, 17};
    farbe.komponenten = 3;
    Bytes f = farbe.bau();
    EXPECT_EQ(entpacke(f, 21, 17, 3, {}, false).pixel, flach(21, 17, 3, 3));
    f[marke(f, 0xDA) + 9] = 9;
    EXPECT_EQ(entpacke(f, 21, 17, 3, {}, false).code, 3);
}

// Pillow saves a picture (gradients, noise) with the options after the name, and decodes every one named.
const char* kPy = R"(
import sys
from PIL import Image, ImageFilter
for a in sys.argv[1:]:
    if ';' in a:
        a, w, h, mode, kw = a.split(';')
        g = (Image.linear_gradient('L'), Image.radial_gradient('L'), Image.effect_noise((256, 256), 90))
        im = Image.merge('RGB', g).rotate(int(w) * 7).resize((int(w), int(h))).filter(ImageFilter.GaussianBlur(0.7))
        im.convert(mode).save(a, **eval('dict(' + kw + ')'))
    open(a + '.raw', 'wb').write(Image.open(a).tobytes())
)";

class JpegPillow : public Ordner {};

// 40 dB or more, nearly every byte the same (the same rounding); regions are the frame's top left.
TEST_F(JpegPillow, WiePillowSieLiest) {
    if (!hat_pillow()) GTEST_SKIP() << "python3 with PIL missing";
    // Pillow's save options, or null: a stream built here, 1x2, restarts after every 3 MCUs.
    const struct { uint16_t w, h; int k; const char* kw; } faelle[] = {
                  {64, 48, 1, "quality=75"}, {61, 47, 3, "subsampling=0"}, {61, 47, 3, "subsampling=1"},
                  {1, 1, 3, "subsampling=2"}, {7, 9, 3, "subsampling=2"}, {4, 5, 3, "subsampling=2"},
                  {5, 200, 1, "quality=5, optimize=True"}, {97, 61, 3, "quality=95, subsampling=2, optimize=True"},
                  {100, 80, 3, "quality=100, subsampling=1"}, {37, 41, 3, nullptr}};
    std::string args;
    for (size_t i = 0; i < std::size(faelle); ++i) {
        const auto& f = faelle[i];
        const std::string name = std::to_string(i) + ".jpg", w = std::to_string(f.w), h = std::to_string(f.h);
        JpegBau b{f.w, f.h};
        b.komponenten = 3, b.abtastung = 0x12, b.ri = 3;
        if (!f.kw) schreib_datei(pfad(name), b.bau());
        args += " '" + name + (f.kw ? ";" + w + ";" + h + (f.k == 1 ? ";L;" : ";RGB;") + f.kw : "") + "'";
    }
    schreib_datei(pfad("p.py"), Bytes(kPy, kPy + std::strlen(kPy)));
    int status = 0;
    const std::string aus = laufe("cd '" + dir + "' && /usr/bin/python3 p.py" + args + " 2>&1", &status);
    ASSERT_EQ(status, 0) << aus;
    for (size_t i = 0; i < std::size(faelle); ++i) {
        const auto& f = faelle[i];
        SCOPED_TRACE(::testing::Message() << f.w << "x" << f.h << " " << (f.kw ? f.kw : "built"));
        const Bytes jpg = lies_datei(pfad(std::to_string(i) + ".jpg")), 
                    soll = lies_datei(pfad(std::to_string(i) + ".jpg.raw"));
        const Ergebnis e = entpacke(jpg, f.w, f.h, f.k);
        ASSERT_TRUE(e.code == 0 && e.fertig == f.h && e.pixel.size() == soll.size()) << e.code;
        double fehler = 0;
        size_t gleich = 0;
        for (size_t j = 0; j < soll.size(); ++j)
            fehler += std::pow(e.pixel[j] - soll[j], 2), gleich += e.pixel[j] == soll[j];
        EXPECT_GE(10 * std::log10(255.0 * 255.0 * double(soll.size()) / std::max(fehler, 1.0)), 40.0);
        EXPECT_GE(double(gleich), 0.995 * double(soll.size()));
        for (const auto& [rw, rh] : {std::pair<uint32_t, uint32_t>{37, 21}, {1, f.h}, {f.w - 1, f.h - 1}, {3, 32}}) {
            const uint32_t w = std::clamp<uint32_t>(rw, 1, f.w), h = std::clamp<uint32_t>(rh, 1, f.h);
            const Ergebnis t = entpacke(jpg, w, h, f.k);
            for (uint32_t y = 0; y < h && t.code == 0; ++y)
                ASSERT_TRUE(std::equal(t.pixel.begin() + long(y * w) * f.k, t.pixel.begin() + long((y + 1) * w) * f.k,
                                       e.pixel.begin() + long(y * f.w) * f.k)) << w << "x" << h << " row " << y;
            EXPECT_TRUE(t.code == 0 && t.fertig == h) << w << "x" << h;
        }
    }
}

}  // namespace
