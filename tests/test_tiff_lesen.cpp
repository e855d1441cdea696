// TIFF reader: our own files of every depth, a matrix of layouts built in
// memory, the gray and palette mappings, one-change negative tests, and
// files from libtiff's tiffcp, Pillow and ImageMagick.
#include <cstring>
#include <functional>
#include <sstream>

#include "bildlib.h"
#include "tiff_bau.h"

namespace {

class TiffLesen : public Ordner {
protected:
    int lies(const Bytes& datei, CBILD& bild) {
        schreib_datei(pfad("t.tif"), datei);
        return bild.bildlese(w(pfad("t.tif")).c_str());
    }
    int lies(const std::string& name, CBILD& bild) { return bild.bildlese(w(name).c_str()); }
    void schreibe(CBILD& bild, const std::string& name) { ASSERT_EQ(bild.bildspeich(w(name).c_str()), 0); }
};

void fuelle(CBILD& b, int saat = 0) {
    for (uint32_t i = 0; i < b.puffergroesse; ++i) b.puffer[i] = uint8_t(i * 29 + uint32_t(saat) * 7 + i / 7);
}

::testing::AssertionResult gleich(const CBILD& a, const CBILD& b) {
    if (a.breite != b.breite || a.hoehe != b.hoehe || a.bpp != b.bpp)
        return ::testing::AssertionFailure() << a.breite << "x" << a.hoehe << "x" << a.bpp << " vs " << b.breite
                                             << "x" << b.hoehe << "x" << b.bpp;
    for (int y = 0; y < a.hoehe; ++y)
        if (std::memcmp(a.zeile[y], b.zeile[y], size_t(a.breite) * size_t(a.bpp)) != 0)
            return ::testing::AssertionFailure() << "row " << y;
    return ::testing::AssertionSuccess();
}

// Sample c of pixel (x, y), cut to `bits`.
uint32_t probe(int x, int y, int c, int bits) {
    const uint32_t v = uint32_t(x) * 2654435761u ^ uint32_t(y) * 40503u ^ uint32_t(c) * 977u;
    return bits == 32 ? v : v & ((1u << bits) - 1);
}

struct Aufbau {
    bool mm, big, planar, kacheln, praediktor, lzw;
};

// A 37 x 23 image of `spp` samples of `bits` in the given layout: strips of
// 5 rows or 16 x 16 tiles (overhanging right and bottom), the predictor's
// differences, LZW per segment.
TiffBau baue(int spp, int bits, Aufbau a) {
    const int W = 37, H = 23, tw = a.kacheln ? 16 : W, th = a.kacheln ? 16 : 5;
    const int ebenen = a.planar ? spp : 1, pro = a.planar ? 1 : spp;
    TiffBau t = TiffBau::bild(W, H, bits, spp, spp == 1 ? 1 : 2, {});
    t.mm = a.mm;
    t.big = a.big;
    t.kacheln = a.kacheln;
    t.segmente.clear();
    t.feld(259, 3, {a.lzw ? 5u : 1u});
    t.feld(284, 3, {a.planar ? 2u : 1u});
    if (a.praediktor) t.feld(317, 3, {2});
    if (a.kacheln) {
        t.felder.erase(278);
        t.feld(322, 3, {uint64_t(tw)});
        t.feld(323, 3, {uint64_t(th)});
    } else {
        t.feld(278, 3, {uint64_t(th)});
    }
    for (int p = 0; p < ebenen; ++p)
        for (int ty = 0; ty < H; ty += th)
            for (int tx = 0; tx < W; tx += tw) {
                Bytes seg;
                for (int r = 0; r < (a.kacheln ? th : std::min(th, H - ty)); ++r) {
                    std::vector<uint32_t> z;
                    for (int x = 0; x < tw; ++x)
                        for (int c = 0; c < pro; ++c)
                            z.push_back(tx + x < W && ty + r < H ? probe(tx + x, ty + r, a.planar ? p : c, bits) : 0);
                    if (a.praediktor)
                        for (size_t i = z.size() - 1; i >= size_t(pro); --i) z[i] -= z[i - size_t(pro)];
                    Bytes b(z.size() * size_t(bits / 8));
                    for (size_t i = 0; i < z.size(); ++i) t.put(b, i * size_t(bits / 8), z[i], bits / 8);
                    seg.insert(seg.end(), b.begin(), b.end());
                }
                t.segmente.push_back(a.lzw ? lzw(seg) : seg);
            }
    return t;
}

}  // namespace

TEST_F(TiffLesen, OwnFilesOfEveryDepthReadBackAndConvertToTheSameBytes) {
    struct Fall { int bpp, flag, farbe32; };
    for (Fall f : {Fall{1, 0, 0}, Fall{2, 0, 0}, Fall{4, 0, 0}, Fall{3, 4, 0}, Fall{3, 0, 0}, Fall{3, 1, 0},
                   Fall{6, 4, 0}, Fall{6, 0, 0}, Fall{6, 2, 0}, Fall{4, 0, 256}}) {
        for (int breite : {1, 37}) {
            for (int hoehe : {1, 20, 21, 23}) {
                CBILD a(0, 0);
                a.speicher(breite, hoehe, f.bpp);
                a.flag = f.flag;
                a.farbe32 = f.farbe32;
                fuelle(a, hoehe);
                schreibe(a, pfad("a.tif"));
                CBILD b(0, 0);
                ASSERT_EQ(lies(pfad("a.tif"), b), 0) << f.bpp << " " << f.flag << " " << breite << "x" << hoehe;
                if (f.flag == 4 || f.bpp == 1 || f.bpp == 2 || (f.bpp == 4 && !f.farbe32)) {
                    EXPECT_TRUE(gleich(a, b));
                }
                EXPECT_EQ(b.flag, f.bpp == 3 || f.bpp == 6 || f.farbe32 ? 4 : 0);
                schreibe(b, pfad("b.tif"));
                EXPECT_EQ(lies_datei(pfad("b.tif")), lies_datei(pfad("a.tif")))
                    << f.bpp << " " << f.flag << " " << breite << "x" << hoehe;
            }
        }
    }
}

TEST_F(TiffLesen, BmpToTiffToTiffIsByteIdenticalForEveryBmpDepth) {
    for (int bits : {1, 4, 8, 16, 24, 32, 48}) {
        for (int breite : {3, 37}) {
            for (int hoehe : {1, 21}) {
                BmpBau bau;
                bau.bits = bits;
                bau.breite = breite;
                bau.hoehe = hoehe;
                std::vector<Bytes> zeilen;
                for (int y = 0; y < hoehe; ++y) {
                    Bytes z(size_t(bau.stride()));
                    for (size_t i = 0; i < z.size(); ++i) z[i] = uint8_t(i * 13 + size_t(y) * 5);
                    zeilen.push_back(z);
                }
                schreib_datei(pfad("a.bmp"), bau.bau(zeilen));
                CBILD bild(0, 0);
                ASSERT_EQ(lies(pfad("a.bmp"), bild), 0);
                schreibe(bild, pfad("a.tif"));
                ASSERT_EQ(lies(pfad("a.tif"), bild), 0) << bits;
                schreibe(bild, pfad("b.tif"));
                EXPECT_EQ(lies_datei(pfad("a.tif")), lies_datei(pfad("b.tif"))) << bits << " " << breite << "x" << hoehe;
            }
        }
    }
}

TEST_F(TiffLesen, LayoutMatrixByteOrderBigTiffPlanarTilesPredictorLzw) {
    struct Tiefe { int spp, bits; };
    for (Tiefe d : {Tiefe{1, 8}, Tiefe{1, 16}, Tiefe{1, 32}, Tiefe{3, 8}, Tiefe{3, 16}, Tiefe{4, 8}}) {
        for (int k = 0; k < 64; ++k) {
            const Aufbau a{bool(k & 1), bool(k & 2), bool(k & 4), bool(k & 8), bool(k & 16), bool(k & 32)};
            CBILD bild(0, 0);
            ASSERT_EQ(lies(baue(d.spp, d.bits, a).bau(), bild), 0) << d.spp << "x" << d.bits << " layout " << k;
            ASSERT_EQ(bild.bpp, d.spp * d.bits / 8);
            EXPECT_EQ(bild.flag, d.spp == 1 ? 0 : 4);
            EXPECT_EQ(bild.farbe32, d.spp == 4 ? 256 : 0);
            bool ok = true;
            for (int y = 0; y < 23; ++y)
                for (int x = 0; x < 37; ++x)
                    for (int c = 0; c < d.spp; ++c) {
                        uint32_t v = 0;
                        std::memcpy(&v, bild.zeile[y] + (x * d.spp + c) * d.bits / 8, size_t(d.bits / 8));
                        ok = ok && v == probe(x, y, c, d.bits);
                    }
            EXPECT_TRUE(ok) << d.spp << "x" << d.bits << " layout " << k;
        }
    }
}

TEST_F(TiffLesen, GrayMappingsWhiteIsZeroAndFillOrder) {
    auto zeile = [](const CBILD& b, int y) { return Bytes(b.zeile[y], b.zeile[y] + b.breite * b.bpp); };
    CBILD b(0, 0);
    // 1 bit: set bits read as 254, as from 1-bit BMP files; WhiteIsZero
    // inverts; FillOrder 2 stores each byte's bits reversed.
    const Bytes eins = {0xB3, 0xA0, 0x0F, 0xE0};
    const Bytes soll0 = {254, 0, 254, 254, 0, 0, 254, 254, 254, 0, 254};
    ASSERT_EQ(lies(TiffBau::bild(11, 2, 1, 1, 1, eins).bau(), b), 0);
    EXPECT_EQ(zeile(b, 0), soll0);
    EXPECT_EQ(zeile(b, 1), (Bytes{0, 0, 0, 0, 254, 254, 254, 254, 254, 254, 254}));
    ASSERT_EQ(lies(TiffBau::bild(11, 2, 1, 1, 0, eins).bau(), b), 0);
    EXPECT_EQ(zeile(b, 1), (Bytes{254, 254, 254, 254, 0, 0, 0, 0, 0, 0, 0}));
    TiffBau f = TiffBau::bild(11, 2, 1, 1, 1, {0xCD, 0x05, 0xF0, 0x07});
    f.feld(266, 3, {2});
    ASSERT_EQ(lies(f.bau(), b), 0);
    EXPECT_EQ(zeile(b, 0), soll0);
    // 4 bit: the level times 16, as from 4-bit BMP files.
    ASSERT_EQ(lies(TiffBau::bild(3, 1, 4, 1, 1, {0x7A, 0xF0}).bau(), b), 0);
    EXPECT_EQ(zeile(b, 0), (Bytes{0x70, 0xA0, 0xF0}));
    ASSERT_EQ(lies(TiffBau::bild(3, 1, 4, 1, 0, {0x7A, 0xF0}).bau(), b), 0);
    EXPECT_EQ(zeile(b, 0), (Bytes{0x80, 0x50, 0x00}));
    ASSERT_EQ(lies(TiffBau::bild(3, 1, 8, 1, 0, {0, 10, 255}).bau(), b), 0);
    EXPECT_EQ(zeile(b, 0), (Bytes{255, 245, 0}));
    TiffBau g = TiffBau::bild(1, 1, 16, 1, 0, {0x12, 0x34});
    g.mm = true;
    ASSERT_EQ(lies(g.bau(), b), 0);
    EXPECT_EQ(b.bpp, 2);
    EXPECT_EQ(zeile(b, 0), (Bytes{0xCB, 0xED}));
}

TEST_F(TiffLesen, PaletteKeepsIndicesAndTheColourMapsHighBytes) {
    for (int bits : {4, 8}) {
        const uint64_t n = uint64_t(1) << bits;
        std::vector<uint64_t> karte(3 * n);
        for (uint64_t i = 0; i < n; ++i) {
            karte[i] = ((i * 16) & 0xFF) << 8 | 0x77;  // low bytes are dropped
            karte[n + i] = (255 - i) << 8;
            karte[2 * n + i] = 0x80FF;
        }
        TiffBau t = TiffBau::bild(3, 1, bits, 1, 3, bits == 4 ? Bytes{0x1F, 0x20} : Bytes{1, 15, 2});
        t.feld(320, 3, karte);
        CBILD b(0, 0);
        ASSERT_EQ(lies(t.bau(), b), 0);
        EXPECT_EQ(Bytes(b.zeile[0], b.zeile[0] + 3), (Bytes{1, 15, 2}));
        for (uint32_t i : {0u, 1u, 15u})
            EXPECT_EQ(b.palette[i], ((i * 16) & 0xFF) << 16 | (255 - i) << 8 | 0x80) << bits << " " << i;
        t.felder.erase(320);
        EXPECT_EQ(lies(t.bau(), b), 3);  // a palette image without its map
    }
}

TEST_F(TiffLesen, OneChangeRefusals) {
    struct Fall { const char* was; std::function<void(TiffBau&)> aendern; int code; };
    const std::vector<Fall> faelle = {
        {"JPEG", [](TiffBau& t) { t.feld(259, 3, {7}); }, 12},
        {"CCITT", [](TiffBau& t) { t.feld(259, 3, {3}); }, 12},
        {"float", [](TiffBau& t) { t.feld(339, 3, {3}); }, 12},
        {"signed", [](TiffBau& t) { t.feld(339, 3, {2}); }, 12},
        {"2-bit gray", [](TiffBau& t) { t.feld(258, 3, {2}); }, 12},
        {"5 samples", [](TiffBau& t) { t.feld(277, 3, {5}); }, 12},
        {"gray + alpha", [](TiffBau& t) { t.feld(277, 3, {2}); }, 12},
        {"CMYK", [](TiffBau& t) { t.feld(262, 3, {5}); }, 12},
        {"RGB of mixed bits", [](TiffBau& t) { t.feld(262, 3, {2}); t.feld(277, 3, {3}); t.feld(258, 3, {8, 16, 8}); }, 12},
        {"float predictor", [](TiffBau& t) { t.feld(317, 3, {3}); }, 12},
        {"planar 3", [](TiffBau& t) { t.feld(284, 3, {3}); }, 12},
        {"width above 2^31", [](TiffBau& t) { t.feld(256, 4, {0x80000000u}); }, 12},
        {"width 0", [](TiffBau& t) { t.feld(256, 4, {0}); }, 3},
        {"no photometric", [](TiffBau& t) { t.felder.erase(262); }, 3},
        {"byte count too small", [](TiffBau& t) { t.feld(279, 4, {14}); }, 3},
        {"strip past the end", [](TiffBau& t) { t.feld(273, 4, {100000}); }, 3},
        {"offsets as text", [](TiffBau& t) { t.feld(273, 2, {8}); }, 3},
        {"two strips, one offset", [](TiffBau& t) { t.feld(278, 4, {2}); }, 3},
        {"tile width 0", [](TiffBau& t) { t.kacheln = true; t.feld(322, 3, {0}); t.feld(323, 3, {16}); }, 3},
        {"huge image, tiny LZW strip", [](TiffBau& t) { t.feld(256, 4, {60000}); t.feld(257, 4, {60000}); t.feld(259, 3, {5}); }, 3},
        {"LZW garbage", [](TiffBau& t) { t.feld(259, 3, {5}); }, 3},
        {"Deflate garbage", [](TiffBau& t) { t.feld(259, 3, {8}); }, 3},
        {"PackBits garbage", [](TiffBau& t) { t.feld(259, 3, {32773}); }, 3},
    };
    CBILD b(0, 0);
    b.speicher(2, 2, 6);
    for (const Fall& f : faelle) {
        TiffBau t = TiffBau::bild(5, 3, 8, 1, 1, Bytes(15, 0x42));
        ASSERT_EQ(lies(t.bau(), b), 0);
        b.speicher(2, 2, 6);
        f.aendern(t);
        EXPECT_EQ(lies(t.bau(), b), f.code) << f.was;
        // Refused while planning, the image is left alone; damaged strips are
        // found while reading rows, into an image of the new size.
        EXPECT_EQ(b.bpp, std::strstr(f.was, "garbage") || std::strstr(f.was, "short") ? 1 : 6) << f.was;
    }
    // Header and directory bytes.
    const Bytes gut = TiffBau::bild(5, 3, 8, 1, 1, Bytes(15, 0x42)).bau();
    for (auto [stelle, wert] : {std::pair<size_t, uint8_t>{0, 'X'}, {2, 41}, {4, 0xF0}, {24, 0xFF}}) {
        Bytes d = gut;
        d[stelle] = wert;
        EXPECT_EQ(lies(d, b), 3) << stelle;
    }
    EXPECT_EQ(lies(Bytes(gut.begin(), gut.begin() + 30), b), 3);  // cut inside the directory
    CTiff tiff;
    EXPECT_EQ(tiff.lesen(L"", &b), 1);
    EXPECT_EQ(tiff.lesen(nullptr, &b), 1);
    EXPECT_EQ(tiff.lesen(w(pfad("fehlt.tif")).c_str(), &b), 2);
}

TEST_F(TiffLesen, OwnSingleStripLayoutIsRecognisedExactly) {
    CBILD a(7, 3);
    fuelle(a);
    schreibe(a, pfad("a.tif"));
    Bytes d = lies_datei(pfad("a.tif"));
    CBILD b(0, 0);
    ASSERT_EQ(lies(d, b), 0);
    EXPECT_TRUE(gleich(a, b));
    // One byte more and it is no longer our layout: the strip then really
    // starts at 230 and runs past the end.
    d.push_back(0);
    EXPECT_EQ(lies(d, b), 3);
}

// ---- real producers ------------------------------------------------------

namespace {

bool hat_befehl(const std::string& b) { return !laufe("command -v " + b + " 2>/dev/null").empty(); }
bool hat_pillow() { return laufe("/usr/bin/python3 -c 'import PIL; print(1)' 2>/dev/null") == "1\n"; }
bool hat_imagemagick() {
    return laufe("/usr/bin/convert -version 2>/dev/null").find("ImageMagick") != std::string::npos;
}

// Compares our reading of `tif` with Pillow's decode in `raw` (mode as
// Pillow named it): 1-bit white is 255 there and 254 here, 4-bit gray is
// level x 17 there and x 16 here, 16-bit RGB is cut to its high bytes there.
::testing::AssertionResult wie_pillow(CBILD& b, const std::string& mode, const Bytes& raw, int bits) {
    const size_t n = size_t(b.breite) * size_t(b.hoehe);
    Bytes ours;
    for (int y = 0; y < b.hoehe; ++y) ours.insert(ours.end(), b.zeile[y], b.zeile[y] + b.breite * b.bpp);
    if (mode == "RGB" && b.bpp == 6) {
        Bytes hoch;
        for (size_t i = 1; i < ours.size(); i += 2) hoch.push_back(ours[i]);
        ours = hoch;
    } else if (mode == "1" || (mode == "L" && bits == 4)) {
        for (size_t i = 0; i < n; ++i) ours[i] = uint8_t(mode == "1" ? (ours[i] ? 255 : 0) : ours[i] / 16 * 17);
    }
    if (ours != raw) return ::testing::AssertionFailure() << "pixels differ from Pillow's (" << mode << ")";
    return ::testing::AssertionSuccess();
}

}  // namespace

TEST_F(TiffLesen, TiffcpVariantsReadLikeTheSource) {
    if (!hat_befehl("tiffcp")) GTEST_SKIP() << "tiffcp (libtiff-tools) not installed";
    const char* optionen[] = {"-c none", "-c lzw", "-c packbits", "-c zip", "-c lzw:2", "-c zip:2", "-t",
                              "-t -w 16 -l 16 -c zip:2", "-p separate", "-p separate -t -c lzw:2", "-B",
                              "-B -c lzw:2", "-8", "-8 -B -t -c zip", "-r 7 -c packbits", "-f lsb2msb -c lzw"};
    // (32-bit gray is left to the layout matrix: libtiff refuses the LONG
    // MaxSampleValue our writer gives it.)
    for (int bpp : {1, 2, 3, 6}) {
        CBILD a(0, 0);
        a.speicher(37, 45, bpp);  // more than 20 rows: a standard file libtiff reads
        a.flag = 4;
        fuelle(a, bpp);
        schreibe(a, pfad("a.tif"));
        for (const char* o : optionen) {
            if (bpp != 3 && std::strstr(o, "separate")) continue;  // tiffcp: 8-bit colour only
            std::remove(pfad("b.tif").c_str());
            int status = -1;
            laufe("tiffcp " + std::string(o) + " '" + pfad("a.tif") + "' '" + pfad("b.tif") + "' 2>&1", &status);
            ASSERT_EQ(status, 0) << o;
            CBILD b(0, 0);
            ASSERT_EQ(lies(pfad("b.tif"), b), 0) << bpp << " " << o;
            EXPECT_TRUE(gleich(a, b)) << bpp << " " << o;
        }
    }
}

TEST_F(TiffLesen, PillowAndImageMagickFilesMatchPillowsDecode) {
    if (!hat_pillow()) GTEST_SKIP() << "Pillow for /usr/bin/python3 not installed";
    const std::string py = R"(
import sys
from PIL import Image
d, W, H = sys.argv[1], 37, 23
rgb = Image.new('RGB', (W, H))
rgb.putdata([((x * 7 + y * 3) % 256, (x * y) % 256, (255 - x * 5) % 256) for y in range(H) for x in range(W)])
rgba = rgb.copy()
rgba.putalpha(Image.linear_gradient('L').resize((W, H)))
i16 = Image.frombytes('I;16', (W, H), bytes((x * 37 + 11) % 256 for x in range(2 * W * H)))
bilder = {'1': rgb.convert('L').point(lambda v: 255 if v > 100 else 0).convert('1'), 'L': rgb.convert('L'),
          'P': rgb.quantize(40), 'RGB': rgb, 'RGBA': rgba, 'I16': i16}
namen = []
for mode, im in bilder.items():
    for c in ['raw', 'tiff_lzw', 'tiff_adobe_deflate', 'tiff_deflate', 'packbits']:
        namen.append(f'{d}/pil_{mode}_{c}.tif')
        im.save(namen[-1], compression=c)
for mode in ['I', 'F']:
    rgb.convert('L').convert(mode).save(f'{d}/pil_{mode}.tif')
    print(f'{d}/pil_{mode}.tif', mode, 32)
namen += [f'{d}/{n}' for n in sys.argv[2:]]
for n in namen:
    im = Image.open(n)
    im.load()
    data = im.convert('L').tobytes() if im.mode == '1' else im.tobytes()
    open(n + '.raw', 'wb').write(data)
    if im.mode == 'P':
        open(n + '.pal', 'wb').write(bytes(im.getpalette()[:768]))
    print(n, im.mode, im.tag_v2.get(258, (0,))[0])
)";
    schreib_datei(pfad("erzeuge.py"), Bytes(py.begin(), py.end()));
    std::string magick;
    if (hat_imagemagick()) {
        const std::string c = "cd '" + dir + "' && /usr/bin/convert -size 37x23 ";
        laufe(c + "gradient:black-white -monochrome -depth 1 -compress lzw im_g1.tif");
        laufe(c + "gradient:black-white -monochrome -depth 1 -define tiff:fill-order=lsb im_f1.tif");
        laufe(c + "gradient:black-white -depth 4 -compress zip im_g4.tif");
        laufe(c + "plasma:fractal -colors 16 -type palette -depth 4 im_p4.tif");
        laufe(c + "plasma:fractal -depth 8 -alpha set -channel A -evaluate set 50% +channel -compress zip im_rgba.tif");
        laufe(c + "gradient:red-blue -depth 16 -compress zip -define tiff:predictor=2 im_rgb16.tif");
        laufe(c + "plasma:fractal -depth 8 -compress RLE im_rle.tif");
        magick = " im_g1.tif im_f1.tif im_g4.tif im_p4.tif im_rgba.tif im_rgb16.tif im_rle.tif";
    }
    int status = -1;
    std::istringstream liste(laufe("/usr/bin/python3 '" + pfad("erzeuge.py") + "' '" + dir + "'" + magick, &status));
    ASSERT_EQ(status, 0);
    std::string name, mode;
    int bits = 0, anzahl = 0;
    while (liste >> name >> mode >> bits) {
        ++anzahl;
        CBILD b(0, 0);
        if (mode == "I" || mode == "F") {  // signed and floating-point samples
            EXPECT_EQ(lies(name, b), 12) << name;
            continue;
        }
        ASSERT_EQ(lies(name, b), 0) << name;
        EXPECT_TRUE(wie_pillow(b, mode, lies_datei(name + ".raw"), bits)) << name;
        EXPECT_EQ(b.farbe32, mode == "RGBA" ? 256 : 0) << name;
        if (mode == "P") {
            const Bytes pal = lies_datei(name + ".pal");
            for (size_t i = 0; i < std::min(size_t(1) << bits, pal.size() / 3); ++i)
                EXPECT_EQ(b.palette[i], uint32_t(pal[3 * i] << 16 | pal[3 * i + 1] << 8 | pal[3 * i + 2])) << name << " " << i;
        }
    }
    EXPECT_GE(anzahl, 30);
}

TEST_F(TiffLesen, DamagedFilesGiveCodesNeverCrashes) {
    // Random byte changes, half of them in the directory (at the end of
    // these files): every result is a code, and the sanitizers watch memory.
    std::vector<Bytes> basen = {baue(3, 16, {true, true, true, true, true, true}).bau(),
                                baue(1, 8, {false, false, false, true, false, true}).bau(),
                                baue(4, 8, {false, false, false, false, true, false}).bau(),
                                TiffBau::bild(11, 2, 1, 1, 0, {0xB3, 0xA0, 0x0F, 0xE0}).bau()};
    TiffBau p = TiffBau::bild(3, 1, 4, 1, 3, {0x1F, 0x20});
    p.feld(320, 3, std::vector<uint64_t>(48, 0x1234));
    basen.push_back(p.bau());
    uint32_t saat = 7;
    auto zufall = [&saat](size_t n) {
        saat = saat * 1103515245u + 12345u;
        return size_t(saat >> 8) % n;
    };
    CBILD b(0, 0);
    for (const Bytes& basis : basen) {
        for (int runde = 0; runde < 250; ++runde) {
            Bytes d = basis;
            for (int k = 0; k < 1 + runde % 3; ++k) {
                const size_t stelle = runde % 2 ? zufall(d.size()) : d.size() - 1 - zufall(std::min<size_t>(d.size(), 160));
                d[stelle] = uint8_t(zufall(256));
            }
            if (runde % 25 == 0) d.resize(zufall(d.size()));
            const int r = lies(d, b);
            EXPECT_TRUE(r == 0 || r == 3 || r == 12) << r;
        }
    }
}
