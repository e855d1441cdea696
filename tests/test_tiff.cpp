// TIFF writer: the fixed layout byte for byte. TIFF reader: a matrix of
// layouts built in memory, the gray and palette mappings, one-change
// refusals, and files from tiffcp, Pillow and ImageMagick. (Random damage
// is the fuzz target's work: fuzz/fuzz_tiff.cpp.)
#include <cstring>
#include <functional>
#include <sstream>

#include "hilfe.h"
#include "tiff_bau.h"

namespace {

class Tiff : public Ordner {
protected:
    int lies(const Bytes& datei, CBILD& bild) { return Ordner::lies(datei, bild, "t.tif"); }
    Bytes schreibe(CBILD& bild, const std::string& name = "t.tif") {
        EXPECT_EQ(bild.bildspeich(wpfad(name).c_str()), 0);
        return lies_datei(pfad(name));
    }
};

// Value of directory entry `tag` in one of our files (the first value:
// LONG or SHORT), its type and count.
std::vector<uint32_t> eintrag(const Bytes& t, uint16_t tag) {
    for (uint32_t i = 0; i < get16(t, 8); ++i) {
        const size_t e = 10 + 12 * i;
        const uint32_t typ = get16(t, e + 2);
        if (get16(t, e) == tag) return {typ == 3 ? get16(t, e + 8) : get32(t, e + 8), typ, get32(t, e + 4)};
    }
    return {};
}

uint32_t probe(int x, int y, int c, int bits) {
    const uint32_t v = uint32_t(x) * 2654435761u ^ uint32_t(y) * 40503u ^ uint32_t(c) * 977u;
    return bits == 32 ? v : v & ((1u << bits) - 1);
}

// A 37 x 23 image of probe() samples: strips of 5 rows or 16 x 16 tiles
// (overhanging right and bottom), chunky or planar, with the predictor's
// differences and LZW when asked; layout bits: 1 MM, 2 BigTIFF, 4 planar,
// 8 tiles, 16 predictor, 32 LZW.
TiffBau baue(int spp, int bits, int k) {
    const bool planar = k & 4, kacheln = k & 8;
    const int W = 37, H = 23, tw = kacheln ? 16 : W, th = kacheln ? 16 : 5, pro = planar ? 1 : spp;
    TiffBau t = TiffBau::bild(W, H, bits, spp, spp == 1 ? 1 : 2, {});
    t.mm = k & 1, t.big = k & 2, t.kacheln = kacheln;
    t.segmente.clear();
    t.feld(259, 3, {k & 32 ? 5u : 1u});
    t.feld(284, 3, {planar ? 2u : 1u});
    t.feld(317, 3, {k & 16 ? 2u : 1u});
    t.feld(kacheln ? 322 : 278, 3, {uint64_t(tw)});
    t.feld(kacheln ? 323 : 278, 3, {uint64_t(th)});
    for (int p = 0; p < (planar ? spp : 1); ++p)
        for (int ty = 0; ty < H; ty += th)
            for (int tx = 0; tx < W; tx += tw) {
                Bytes seg;
                for (int r = 0; r < (kacheln ? th : std::min(th, H - ty)); ++r) {
                    std::vector<uint32_t> z;
                    for (int x = tx; x < tx + tw; ++x)
                        for (int c = 0; c < pro; ++c) z.push_back(x < W && ty + r < H ? probe(x, ty + r, planar ? p : c, bits) : 0);
                    for (size_t i = z.size() - 1; k & 16 && i >= size_t(pro); --i) z[i] -= z[i - size_t(pro)];
                    Bytes b(z.size() * size_t(bits / 8));
                    for (size_t i = 0; i < z.size(); ++i) t.put(b, i * size_t(bits / 8), z[i], size_t(bits / 8));
                    seg.insert(seg.end(), b.begin(), b.end());
                }
                t.segmente.push_back(k & 32 ? lzw(seg) : seg);
            }
    return t;
}

}  // namespace

TEST_F(Tiff, WriterSingleStripAt230StripTablesMaxSampleValues) {
    CBILD b(0, 0), c(0, 0);
    muster_bild(b, 10, 10, 1, 0);
    Bytes t = schreibe(b);  // one strip of 10 rows
    ASSERT_EQ(t.size(), 322u);
    EXPECT_EQ(Bytes(t.begin(), t.begin() + 10), (Bytes{'I', 'I', 42, 0, 8, 0, 0, 0, 16, 0}));
    const uint16_t tags[16] = {254, 256, 257, 258, 259, 262, 273, 277, 278, 279, 280, 281, 282, 283, 284, 296};
    for (int i = 0; i < 16; ++i) EXPECT_EQ(get16(t, 10 + 12 * size_t(i)), tags[i]);
    // strip offset 230 although the rows start at 222; byte count, rows per strip, resolutions
    const std::pair<uint16_t, uint32_t> felder[] = {{273, 230}, {279, 100}, {278, 20}, {282, 206}, {283, 214}};
    for (auto [tag, wert] : felder) EXPECT_EQ(eintrag(t, tag)[0], wert) << tag;
    EXPECT_EQ(std::vector<uint32_t>({get32(t, 202), get32(t, 206), get32(t, 218)}), std::vector<uint32_t>({0, 1024, 1024}));
    EXPECT_EQ(Bytes(t.begin() + 222, t.end()), Bytes(b.puffer, b.puffer + 100));
    // Our reader knows this layout exactly: one byte more and the strip
    // really starts at 230, running past the end.
    t.push_back(0);
    EXPECT_EQ(lies(t, c), 3);

    // More than 20 rows: tables of strip offsets and byte counts.
    muster_bild(b, 10, 21, 1, 0);
    t = schreibe(b);
    ASSERT_EQ(t.size(), 238u + 210u);
    EXPECT_EQ(eintrag(t, 273), std::vector<uint32_t>({206, 4, 2}));  // 2 LONG offsets at 206
    EXPECT_EQ(std::vector<uint32_t>({eintrag(t, 279)[0], eintrag(t, 282)[0], eintrag(t, 283)[0]}),
              std::vector<uint32_t>({214, 222, 230}));
    EXPECT_EQ(std::vector<uint32_t>({get32(t, 206), get32(t, 210), get32(t, 214), get32(t, 218)}),
              std::vector<uint32_t>({238, 438, 200, 10}));
    EXPECT_EQ(Bytes(t.begin() + 238, t.end()), Bytes(b.puffer, b.puffer + 210));
    // MaxSampleValue is SHORT but for 32-bit gray, LONG.
    for (auto [bpp, max, typ] :
         {std::tuple{1, 255u, 3u}, {2, 65535u, 3u}, {3, 255u, 3u}, {4, 4294967295u, 4u}, {6, 65535u, 3u}}) {
        muster_bild(b, 3, 2, bpp, 4);
        EXPECT_EQ(eintrag(schreibe(b), 281), std::vector<uint32_t>({max, typ, 1})) << bpp;
    }
}

TEST_F(Tiff, LayoutMatrixByteOrderBigTiffPlanarTilesPredictorLzw) {
    for (auto [spp, bits] : {std::pair{1, 8}, {1, 16}, {1, 32}, {3, 8}, {3, 16}, {4, 8}})
        for (int k = 0; k < 64; ++k) {
            CBILD bild(0, 0);
            ASSERT_EQ(lies(baue(spp, bits, k).bau(), bild), 0) << spp << "x" << bits << " layout " << k;
            ASSERT_EQ(bild.bpp, spp * bits / 8);
            EXPECT_EQ(std::pair(bild.flag, bild.farbe32), std::pair(spp == 1 ? 0 : 4, spp == 4 ? 256 : 0));
            bool ok = true;
            for (int i = 0; i < 37 * 23 * spp; ++i) {
                uint32_t v = 0;
                std::memcpy(&v, bild.zeile[i / (37 * spp)] + (i % (37 * spp)) * bits / 8, size_t(bits / 8));
                ok = ok && v == probe(i / spp % 37, i / (37 * spp), i % spp, bits);
            }
            EXPECT_TRUE(ok) << spp << "x" << bits << " layout " << k;
        }
}

TEST_F(Tiff, GrayAndPaletteMappings) {
    CBILD b(0, 0);
    auto zeile = [&b, this](const TiffBau& t, int y = 0) {
        EXPECT_EQ(lies(t.bau(), b), 0);
        return Bytes(b.zeile[y], b.zeile[y] + b.breite * b.bpp);
    };
    // 1 bit: white reads as 254, as from 1-bit BMP files; WhiteIsZero
    // inverts; FillOrder 2 stores each byte's bits reversed.
    const Bytes soll = {254, 0, 254, 254, 0, 0, 254, 254, 254, 0, 254};
    EXPECT_EQ(zeile(TiffBau::bild(11, 2, 1, 1, 1, {0xB3, 0xA0, 0x0F, 0xE0})), soll);
    EXPECT_EQ(zeile(TiffBau::bild(11, 2, 1, 1, 0, {0xB3, 0xA0, 0x0F, 0xE0}), 1),
              (Bytes{254, 254, 254, 254, 0, 0, 0, 0, 0, 0, 0}));
    TiffBau f = TiffBau::bild(11, 2, 1, 1, 1, {0xCD, 0x05, 0xF0, 0x07});
    f.feld(266, 3, {2});
    EXPECT_EQ(zeile(f), soll);
    // 4 bit: the level times 16, as from 4-bit BMP files.
    EXPECT_EQ(zeile(TiffBau::bild(3, 1, 4, 1, 1, {0x7A, 0xF0})), (Bytes{0x70, 0xA0, 0xF0}));
    EXPECT_EQ(zeile(TiffBau::bild(3, 1, 4, 1, 0, {0x7A, 0xF0})), (Bytes{0x80, 0x50, 0x00}));
    EXPECT_EQ(zeile(TiffBau::bild(3, 1, 8, 1, 0, {0, 10, 255})), (Bytes{255, 245, 0}));
    // Palette: indices as they are, the map's high bytes as 0x00RRGGBB; no map, no image.
    std::vector<uint64_t> karte(48, 0x80FF);
    for (uint64_t i = 0; i < 16; ++i) karte[i] = i << 12 | 0x77, karte[16 + i] = (255 - i) << 8;
    TiffBau p = TiffBau::bild(3, 1, 4, 1, 3, {0x1F, 0x20});
    p.feld(320, 3, karte);
    EXPECT_EQ(zeile(p), (Bytes{1, 15, 2}));
    EXPECT_EQ(std::vector<uint32_t>({b.palette[1], b.palette[15]}), std::vector<uint32_t>({0x10FE80, 0xF0F080}));
    p.felder.erase(320);
    EXPECT_EQ(lies(p.bau(), b), 3);
}

TEST_F(Tiff, OneChangeRefusals) {
    struct Fall { const char* was; std::function<void(TiffBau&)> aendern; int code; };
    auto setze = [](uint16_t tag, uint16_t typ, uint64_t wert) { return [=](TiffBau& t) { t.feld(tag, typ, {wert}); }; };
    const std::vector<Fall> faelle = {
        {"old-style JPEG", setze(259, 3, 6), 12},       {"float", setze(339, 3, 3), 12},        {"3-bit gray", setze(258, 3, 3), 12},
        {"5 samples", setze(277, 3, 5), 12},      {"12-bit predictor", [](TiffBau& t) { t.feld(258, 3, {12}); t.feld(317, 3, {2}); }, 12}, {"CMYK", setze(262, 3, 5), 12},
        {"float predictor", setze(317, 3, 3), 12}, {"planar 3", setze(284, 3, 3), 12},
        {"width above 2^31", setze(256, 4, 0x80000000u), 12},                             {"width 0", setze(256, 4, 0), 3},
        {"byte count too small", setze(279, 4, 14), 3}, {"strip past the end", setze(273, 4, 100000), 3},
        {"offsets as text", setze(273, 2, 8), 3}, {"two strips, one offset", setze(278, 4, 2), 3},
        {"LZW garbage", setze(259, 3, 5), 3},     {"Deflate garbage", setze(259, 3, 8), 3},
        {"PackBits garbage", setze(259, 3, 32773), 3},
        {"no photometric", [](TiffBau& t) { t.felder.erase(262); }, 3},
        {"RGB of mixed bits", [](TiffBau& t) { t.feld(262, 3, {2}); t.feld(277, 3, {3}); t.feld(258, 3, {8, 16, 8}); }, 12},
        {"tile width 0", [](TiffBau& t) { t.kacheln = true; t.feld(322, 3, {0}); t.feld(323, 3, {16}); }, 3},
        {"huge image, tiny LZW strip", [](TiffBau& t) { t.feld(256, 4, {60000}); t.feld(257, 4, {60000}); t.feld(259, 3, {5}); }, 3},
    };
    CBILD b(0, 0);
    for (const Fall& f : faelle) {
        TiffBau t = TiffBau::bild(5, 3, 8, 1, 1, Bytes(15, 0x42));
        ASSERT_EQ(lies(t.bau(), b), 0);
        b.speicher(2, 2, 6);
        f.aendern(t);
        EXPECT_EQ(lies(t.bau(), b), f.code) << f.was;
        // Refused while planning, the image is left alone; damaged strips
        // are found while rows are read, into an image of the new size.
        EXPECT_EQ(b.bpp, std::strstr(f.was, "garbage") ? 1 : 6) << f.was;
    }
    const Bytes gut = TiffBau::bild(5, 3, 8, 1, 1, Bytes(15, 0x42)).bau();
    for (auto [stelle, wert] : {std::pair<size_t, uint8_t>{0, 'X'}, {2, 41}, {4, 0xF0}, {24, 0xFF}}) {
        Bytes d = gut;  // byte order, version, directory offset, entry count
        d[stelle] = wert;
        EXPECT_EQ(lies(d, b), 3) << stelle;
    }
    EXPECT_EQ(lies(Bytes(gut.begin(), gut.begin() + 30), b), 3);  // cut inside the directory
}

// ---- real producers ------------------------------------------------------

TEST_F(Tiff, TiffcpVariantsReadLikeTheSource) {
    if (laufe("command -v tiffcp").empty()) GTEST_SKIP() << "tiffcp (libtiff-tools) not installed";
    const char* optionen[] = {"-c none", "-c lzw", "-c packbits", "-c zip", "-c lzw:2", "-c zip:2", "-t",
                              "-t -w 16 -l 16 -c zip:2", "-p separate", "-p separate -t -c lzw:2", "-B",
                              "-B -c lzw:2", "-8", "-8 -B -t -c zip", "-r 7 -c packbits", "-f lsb2msb -c lzw"};
    // Our multi-strip files as libtiff reads them. (32-bit gray is left to
    // the matrix: libtiff refuses the LONG MaxSampleValue we write.)
    for (int bpp : {1, 2, 3, 6}) {
        CBILD a(0, 0);
        muster_bild(a, 37, 45, bpp, 4);
        schreibe(a, "a.tif");
        EXPECT_EQ(laufe("tiffinfo -D '" + pfad("a.tif") + "' 2>&1 >/dev/null"), "") << bpp;  // reads every strip
        for (const char* o : optionen) {
            if (bpp != 3 && std::strstr(o, "separate")) continue;  // tiffcp: 8-bit colour only
            int status = -1;
            laufe("tiffcp " + std::string(o) + " '" + pfad("a.tif") + "' '" + pfad("b.tif") + "' 2>&1", &status);
            ASSERT_EQ(status, 0) << o;
            CBILD b(0, 0);
            ASSERT_EQ(b.bildlese(wpfad("b.tif").c_str()), 0) << bpp << " " << o;
            ASSERT_EQ(std::vector<int>({b.breite, b.hoehe, b.bpp}), std::vector<int>({37, 45, bpp}));
            EXPECT_EQ(0, std::memcmp(a.puffer, b.puffer, a.puffergroesse)) << bpp << " " << o;
        }
    }
}

TEST_F(Tiff, PillowAndImageMagickFilesMatchPillowsDecode) {
    if (!hat_pillow()) GTEST_SKIP() << "Pillow for /usr/bin/python3 not installed";
    // Pillow writes every mode with every compression, then decodes them and
    // the ImageMagick files into NAME.raw (and the palette into NAME.pal).
    const std::string py = R"(
import sys
from PIL import Image
d, W, H = sys.argv[1], 37, 23
rgb = Image.new('RGB', (W, H))
rgb.putdata([((x * 7 + y * 3) % 256, (x * y) % 256, (255 - x * 5) % 256) for y in range(H) for x in range(W)])
namen = sys.argv[2:]
for mode, im in {'1': rgb.convert('L').point(lambda v: 255 if v > 100 else 0).convert('1'), 'L': rgb.convert('L'),
                 'P': rgb.quantize(40), 'RGB': rgb, 'RGBA': rgb.convert('RGBA'),
                 'I16': Image.frombytes('I;16', (W, H), bytes((x * 37 + 11) % 256 for x in range(2 * W * H)))}.items():
    for c in ['raw', 'tiff_lzw', 'tiff_adobe_deflate', 'tiff_deflate', 'packbits']:
        namen.append(f'pil_{mode}_{c}.tif')
        im.save(f'{d}/{namen[-1]}', compression=c)
for n in namen:
    im = Image.open(f'{d}/{n}')
    open(f'{d}/{n}.raw', 'wb').write(im.convert('L').tobytes() if im.mode == '1' else im.tobytes())
    open(f'{d}/{n}.pal', 'wb').write(bytes(im.getpalette()[:768]) if im.mode == 'P' else b'')
    print(n, im.mode, im.tag_v2.get(258, (0,))[0])
)";
    schreib_datei(pfad("erzeuge.py"), Bytes(py.begin(), py.end()));
    std::string magick;  // 1-bit LSB first, 4-bit gray and palette, 16-bit RGB with the predictor, PackBits
    int nr = 0;
    for (const char* args : {"gradient:black-white -monochrome -depth 1 -define tiff:fill-order=lsb",
                             "gradient:black-white -depth 4 -compress zip", "plasma:fractal -colors 16 -type palette -depth 4",
                             "gradient:red-blue -depth 16 -compress zip -define tiff:predictor=2",
                             "plasma:fractal -depth 8 -compress RLE"}) {
        if (!hat_magick()) break;
        const std::string name = "im" + std::to_string(nr++) + ".tif";
        laufe("cd '" + dir + "' && /usr/bin/convert -size 37x23 " + args + " " + name);
        magick += " " + name;
    }
    int status = -1, bits = 0, anzahl = 0;
    std::istringstream liste(laufe("/usr/bin/python3 '" + pfad("erzeuge.py") + "' '" + dir + "'" + magick, &status));
    ASSERT_EQ(status, 0);
    for (std::string name, mode; liste >> name >> mode >> bits; ++anzahl) {
        CBILD b(0, 0);
        ASSERT_EQ(b.bildlese(wpfad(name).c_str()), 0) << name;
        EXPECT_EQ(b.farbe32, mode == "RGBA" ? 256 : 0) << name;
        // Pillow's 1-bit white is 255 (ours 254), its 4-bit gray the level
        // x 17 (ours x 16), and it cuts 16-bit RGB to the high bytes.
        Bytes unsere;
        for (int y = 0; y < b.hoehe; ++y)
            for (int i = b.bpp == 6; i < b.breite * b.bpp; i += b.bpp == 6 ? 2 : 1) {
                const uint8_t v = b.zeile[y][i];
                unsere.push_back(mode == "1" ? (v ? 255 : 0) : mode == "L" && bits == 4 ? uint8_t(v / 16 * 17) : v);
            }
        EXPECT_EQ(unsere, lies_datei(pfad(name + ".raw"))) << name;
        const Bytes pal = lies_datei(pfad(name + ".pal"));
        for (size_t i = 0; i < std::min(size_t(1) << bits, pal.size() / 3); ++i)
            EXPECT_EQ(b.palette[i], uint32_t(pal[3 * i] << 16 | pal[3 * i + 1] << 8 | pal[3 * i + 2])) << name << " " << i;
    }
    EXPECT_GE(anzahl, 30);
}

// ---- the kinds scanners and cameras write ---------------------------------

TEST_F(Tiff, DepthsExtraSamplesAndCmykMapOnce) {
    struct Fall {
        const char* was;
        TiffBau t;
        int bpp, flag;
        Bytes zeile;  // row 0 of the image
    };
    auto bau = [](uint32_t w, int bits, int spp, int photo, Bytes d) { return TiffBau::bild(w, 1, bits, spp, photo, std::move(d)); };
    TiffBau palette = bau(2, 8, 2, 3, {3, 200, 4, 200});
    palette.feld(320, 3, std::vector<uint64_t>(768, 0));
    TiffBau planar = TiffBau::bild(2, 1, 8, 2, 1, {});
    planar.feld(284, 3, {2});
    planar.segmente = {{7, 9}, {99, 99}};
    TiffBau fremde_tinte = bau(1, 8, 4, 5, {1, 2, 3, 4});
    fremde_tinte.feld(332, 3, {2});
    const Fall faelle[] = {
        // 2 bits: the level in the top bits; WhiteIsZero inverted first.
        {"2-bit", bau(4, 2, 1, 1, {0x1B}), 1, 0, {0, 64, 128, 192}},
        {"2-bit white is zero", bau(4, 2, 1, 0, {0x1B}), 1, 0, {192, 128, 64, 0}},
        // 9 to 15 bits: 16-bit samples with the values as stored.
        {"12-bit", bau(2, 12, 1, 1, {0xAB, 0xC1, 0x23}), 2, 0, {0xBC, 0x0A, 0x23, 0x01}},
        {"12-bit white is zero", bau(1, 12, 1, 0, {0x00, 0x10}), 2, 0, {0xFE, 0x0F}},
        {"12-bit RGB + alpha", bau(1, 12, 4, 2, {0x00, 0x1F, 0xFF, 0x80, 0x05, 0x55}), 6, 4,
         {0x01, 0x00, 0xFF, 0x0F, 0x00, 0x08}},
        {"9-bit", bau(3, 9, 1, 1, {0xFF, 0x80, 0x0F, 0xFF}), 2, 0, {0xFF, 0x01, 0x00, 0x00, 0x7F, 0x00}},
        // Extra samples dropped: gray, palette, 16-bit RGB, planar gray.
        {"gray + alpha", bau(2, 8, 2, 1, {10, 99, 20, 99}), 1, 0, {10, 20}},
        {"palette + alpha", palette, 1, 0, {3, 4}},
        {"16-bit RGBA", bau(1, 16, 4, 2, {1, 2, 3, 4, 5, 6, 7, 8}), 6, 4, {1, 2, 3, 4, 5, 6}},
        {"planar gray + alpha", planar, 1, 0, {7, 9}},
        // CMYK: R = (255 - C)(255 - K) / 255 rounded.
        {"CMYK", bau(2, 8, 4, 5, {0, 0, 0, 0, 255, 128, 0, 64}), 3, 4, {255, 255, 255, 0, 95, 191}},
        {"CMYK of another ink set", fremde_tinte, 0, 0, {}},
        {"CMYK + alpha", bau(1, 8, 5, 5, {1, 2, 3, 4, 5}), 0, 0, {}},
        {"3-bit", bau(8, 3, 1, 1, {0, 0, 0}), 0, 0, {}},
    };
    for (const Fall& f : faelle) {
        CBILD b(0, 0);
        const int r = lies(f.t.bau(), b);
        ASSERT_EQ(r, f.bpp ? 0 : 12) << f.was;
        if (r) continue;
        EXPECT_EQ(std::vector<int>({b.bpp, b.flag, b.farbe32}), std::vector<int>({f.bpp, f.flag, 0})) << f.was;
        EXPECT_EQ(Bytes(b.zeile[0], b.zeile[0] + b.breite * b.bpp), f.zeile) << f.was;
    }
}

TEST_F(Tiff, FaxAndJpegFilesOfLibtiff) {
    if (laufe("command -v tiffcp").empty()) GTEST_SKIP() << "tiffcp (libtiff-tools) not installed";
    // Fax: pixel for pixel the 1-bit source, whichever coding and bit order.
    Bytes bits((37 + 7) / 8 * 45);
    for (size_t i = 0; i < bits.size(); ++i) bits[i] = uint8_t(probe(int(i), 3, 1, 8) & (i % 5 ? 0xF0 : 0xFF));
    for (int photo : {0, 1}) {
        schreib_datei(pfad("s.tif"), TiffBau::bild(37, 45, 1, 1, photo, bits).bau());
        CBILD quelle(0, 0), b(0, 0);
        ASSERT_EQ(quelle.bildlese(wpfad("s.tif").c_str()), 0);
        for (const char* o : {"-c g3", "-c g3:2d", "-c g3:2d:fill", "-c g4", "-c g4 -f lsb2msb", "-c g4 -r 7",
                              "-c g3 -t -w 32 -l 16"}) {
            laufe("tiffcp " + std::string(o) + " '" + pfad("s.tif") + "' '" + pfad("f.tif") + "' 2>&1");
            ASSERT_EQ(b.bildlese(wpfad("f.tif").c_str()), 0) << o;
            EXPECT_EQ(0, std::memcmp(quelle.puffer, b.puffer, quelle.puffergroesse)) << photo << " " << o;
        }
    }
    // JPEG: within what decoders differ of libtiff's own decoding.
    CBILD farbe(0, 0);
    muster_bild(farbe, 61, 47, 3, 4);
    for (int y = 0; y < 47; ++y)  // smooth, as photos are, with some noise
        for (int x = 0; x < 61 * 3; ++x) farbe.zeile[y][x] = uint8_t(x + 2 * y + probe(x, y, 0, 3));
    schreibe(farbe, "f.tif");
    struct Art { const char* optionen; int bpp; };
    for (Art a : {Art{"-c jpeg -r 16", 3}, {"-c jpeg:r -r 16", 3}, {"-c jpeg -t -w 32 -l 16", 3}, {"-c jpeg:r -r 8", 3}}) {
        laufe("tiffcp " + std::string(a.optionen) + " '" + pfad("f.tif") + "' '" + pfad("j.tif") + "' 2>&1 && tiffcp -c none '" +
              pfad("j.tif") + "' '" + pfad("r.tif") + "'");
        CBILD j(0, 0), r(0, 0);
        ASSERT_EQ(j.bildlese(wpfad("j.tif").c_str()), 0) << a.optionen;
        ASSERT_EQ(r.bildlese(wpfad("r.tif").c_str()), 0) << a.optionen;
        ASSERT_EQ(std::vector<int>({j.breite, j.hoehe, j.bpp, j.flag}), std::vector<int>({61, 47, a.bpp, 4}));
        double summe = 0;
        for (uint32_t i = 0; i < j.puffergroesse; ++i) summe += (j.puffer[i] - r.puffer[i]) * (j.puffer[i] - r.puffer[i]);
        EXPECT_LT(summe / j.puffergroesse, 255.0 * 255.0 / 1e4) << a.optionen;  // PSNR above 40 dB
    }
    // Old-style JPEG and a damaged stream.
    Bytes j = lies_datei(pfad("j.tif"));
    for (size_t i = 200; i < j.size() - 200; i += 7) j[i] ^= 0x55;
    CBILD b(0, 0);
    EXPECT_EQ(lies(j, b), 3);
}
