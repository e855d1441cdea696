// TIFF writer: the fixed layout byte for byte at every strip count edge.
// TIFF reader: a matrix of layouts built in memory, one table of depths,
// mappings and sample kinds, one-change refusals, and files from tiffcp
// (fax and JPEG too). (Random damage is the fuzz target's work.)
#include <cstring>
#include <functional>

#include "hilfe.h"

namespace {

struct Tiff : Ordner {
    // tiffcp with options from a.tif to b.tif; then b.tif read into `b`.
    int tiffcp(const std::string& optionen, CBILD& b, const char* ein = "a.tif") {
        int status = -1;
        laufe("tiffcp " + optionen + " '" + pfad(ein) + "' '" + pfad("b.tif") + "' 2>&1", &status);
        return status ? -1 : b.bildlese(wpfad("b.tif").c_str());
    }
};

// Value of directory entry `tag` in one of our files (the first value: LONG or SHORT), its type and count.
V eintrag(const Bytes& t, uint16_t tag) {
    for (uint32_t i = 0, e = 10; i < get16(t, 8); ++i, e += 12)
        if (get16(t, e) == tag) return {get16(t, e + 2) == 3 ? get16(t, e + 8) : get32(t, e + 8), get16(t, e + 2), get32(t, e + 4)};
    return {};
}

uint32_t probe(int x, int y, int c, int bits) {
    const uint32_t v = uint32_t(x) * 2654435761u ^ uint32_t(y) * 40503u ^ uint32_t(c) * 977u;
    return bits == 32 ? v : v & ((1u << bits) - 1);
}

// A 37 x 23 image of probe() samples: strips of 5 rows or 16 x 16 tiles (overhanging right and bottom), chunky
// or planar, with the predictor's differences and LZW when asked; layout bits: 1 MM, 2 BigTIFF, 4 planar,
// 8 tiles, 16 predictor, 32 LZW.
TiffBau baue(int spp, int bits, int k) {
    const bool planar = k & 4, kacheln = k & 8;
    const int W = 37, H = 23, tw = kacheln ? 16 : W, th = kacheln ? 16 : 5, pro = planar ? 1 : spp, g = bits / 8;
    TiffBau t = TiffBau::bild(W, H, bits, spp, spp == 1 ? 1 : 2, {});
    t.mm = k & 1, t.big = k & 2, t.kacheln = kacheln, t.segmente.clear();
    t.feld(259, 3, {k & 32 ? 5u : 1u}), t.feld(284, 3, {planar ? 2u : 1u}), t.feld(317, 3, {k & 16 ? 2u : 1u});
    t.feld(kacheln ? 322 : 278, 3, {uint64_t(tw)}), t.feld(kacheln ? 323 : 278, 3, {uint64_t(th)});
    for (int p = 0; p < (planar ? spp : 1); ++p)
        for (int ty = 0; ty < H; ty += th)
            for (int tx = 0; tx < W; tx += tw) {
                Bytes seg;
                for (int r = 0; r < (kacheln ? th : std::min(th, H - ty)); ++r) {
                    std::vector<uint32_t> z;
                    for (int x = tx; x < tx + tw; ++x)
                        for (int c = 0; c < pro; ++c) z.push_back(x < W && ty + r < H ? probe(x, ty + r, planar ? p : c, bits) : 0);
                    for (size_t i = z.size() - 1; k & 16 && i >= size_t(pro); --i) z[i] -= z[i - size_t(pro)];
                    Bytes b(z.size() * size_t(g));
                    for (size_t i = 0; i < z.size(); ++i) t.put(b, i * size_t(g), z[i], size_t(g));
                    seg.insert(seg.end(), b.begin(), b.end());
                }
                t.segmente.push_back(k & 32 ? lzw(seg) : seg);
            }
    return t;
}

}  // namespace

TEST_F(Tiff, WriterLayoutAtEveryStripCountEdge) {
    CBILD b(0, 0), c(0, 0);
    muster_bild(b, 10, 10, 1, 0);
    Bytes t = schreibe(b, "t.tif");  // one strip of 10 rows
    ASSERT_EQ(t.size(), 322u);
    EXPECT_EQ(Bytes(t.begin(), t.begin() + 10), (Bytes{'I', 'I', 42, 0, 8, 0, 0, 0, 16, 0}));  // then the tags in order
    const uint16_t tags[16] = {254, 256, 257, 258, 259, 262, 273, 277, 278, 279, 280, 281, 282, 283, 284, 296};
    for (int i = 0; i < 16; ++i) EXPECT_EQ(get16(t, 10 + 12 * size_t(i)), tags[i]);
    // Strip offset 230 although the rows start at 222; byte count, rows per strip, resolutions.
    EXPECT_EQ(V({eintrag(t, 273)[0], eintrag(t, 279)[0], eintrag(t, 278)[0], eintrag(t, 282)[0], eintrag(t, 283)[0], get32(t, 202),
                 get32(t, 206), get32(t, 218)}),
              V({230, 100, 20, 206, 214, 0, 1024, 1024}));
    // Our reader knows this layout exactly: one byte more and the strip really starts at 230, running past the end.
    t.push_back(0);
    EXPECT_EQ(lies(t, c, "t.tif"), 3);
    // Strips of 20 rows: one, the first two, one of a single row, six; tables of offsets and counts when more than one.
    for (int hoehe : {1, 20, 21, 40, 41, 101, 120, 200}) {
        muster_bild(b, 3, hoehe, 2, 0);
        t = schreibe(b, "t.tif");
        const uint32_t n = uint32_t(hoehe + 19) / 20, daten = 222 + (n > 1 ? 8 * n : 0);
        ASSERT_EQ(t.size(), daten + 6u * uint32_t(hoehe)) << hoehe;
        EXPECT_EQ(V({eintrag(t, 273)[2], eintrag(t, 279)[2], eintrag(t, 282)[0]}), V({n, n, 206 + (n > 1 ? 8 * n : 0)}));
        for (uint32_t i = 0; i < n && n > 1; ++i)
            EXPECT_EQ(V({get32(t, 206 + 4 * i), get32(t, 206 + 4 * (n + i))}),
                      V({daten + 120 * i, 6 * std::min(20u, uint32_t(hoehe) - 20 * i)})) << hoehe << " " << i;
        EXPECT_TRUE(Bytes(t.begin() + daten, t.end()) == Bytes(b.puffer, b.puffer + b.puffergroesse) && lies(t, c, "t.tif") == 0 &&
                    Bytes(c.puffer, c.puffer + c.puffergroesse) == Bytes(b.puffer, b.puffer + b.puffergroesse)) << hoehe;
    }
    // MaxSampleValue is SHORT but for 32-bit gray, LONG.
    for (auto [bpp, max, typ] : {std::tuple{1, 255u, 3u}, {2, 65535u, 3u}, {3, 255u, 3u}, {4, 4294967295u, 4u}, {6, 65535u, 3u}}) {
        muster_bild(b, 3, 2, bpp, 4);
        EXPECT_EQ(eintrag(schreibe(b, "t.tif"), 281), V({max, typ, 1})) << bpp;
    }
}

TEST_F(Tiff, LayoutMatrixByteOrderBigTiffPlanarTilesPredictorLzw) {
    for (auto [spp, bits] : {std::pair{1, 8}, {1, 16}, {1, 32}, {3, 8}, {3, 16}, {4, 8}})
        for (int k = 0; k < 64; ++k) {
            CBILD bild(0, 0);
            ASSERT_EQ(V({lies(baue(spp, bits, k).bau(), bild, "t.tif"), bild.bpp, bild.flag, bild.farbe32}),
                      V({0, spp * bits / 8, spp == 1 ? 0 : 4, spp == 4 ? 256 : 0})) << spp << "x" << bits << " layout " << k;
            bool ok = true;
            for (int i = 0; i < 37 * 23 * spp; ++i) {
                uint32_t v = 0;
                std::memcpy(&v, bild.zeile[i / (37 * spp)] + (i % (37 * spp)) * bits / 8, size_t(bits / 8));
                ok = ok && v == probe(i / spp % 37, i / (37 * spp), i % spp, bits);
            }
            // Row by row the same rows, and none after the last.
            CTiff t;
            Bytes z(size_t(37 * bild.bpp));
            ok = ok && t.eintiff0(wpfad("t.tif").c_str()) == 0;
            for (int y = 0; y < 23; ++y) ok = ok && t.eintiff1(z.data()) == 0 && z == zeile_von(bild, y);
            EXPECT_TRUE(ok && t.eintiff1(z.data()) == 3 && t.eintiff2() == 0) << spp << "x" << bits << " layout " << k;
        }
}

TEST_F(Tiff, DepthsMappingsAndSampleKinds) {
    auto bau = [](uint32_t w, int bits, int spp, int photo, Bytes d, std::function<void(TiffBau&)> f = nullptr) {
        TiffBau t = TiffBau::bild(w, 1, bits, spp, photo, std::move(d));
        return f ? f(t) : void(), t.bau();
    };
    std::vector<uint64_t> karte(48, 0x80FF);
    for (uint64_t i = 0; i < 16; ++i) karte[i] = i << 12 | 0x77, karte[16 + i] = (255 - i) << 8;
    auto palette = [&](TiffBau& t) { t.feld(320, 3, karte); };
    struct Fall { const char* was; Bytes datei; int bpp, flag; Bytes zeile; };  // bpp 0: refused (12), -1: damaged (3)
    const Fall faelle[] = {
        // 1 bit: white reads as 254, as from 1-bit BMP files; WhiteIsZero inverts; FillOrder 2 reverses each byte's bits.
        {"1-bit", bau(11, 1, 1, 1, {0xB3, 0xA0}), 1, 0, {254, 0, 254, 254, 0, 0, 254, 254, 254, 0, 254}},
        {"1-bit all set, a whole number of bytes", bau(16, 1, 1, 1, {0xFF, 0xFF}), 1, 0, Bytes(16, 254)},
        {"1-bit white is zero", bau(11, 1, 1, 0, {0x0F, 0xE0}), 1, 0, {254, 254, 254, 254, 0, 0, 0, 0, 0, 0, 0}},
        {"1-bit fill order 2", bau(11, 1, 1, 1, {0xCD, 0x05}, [](TiffBau& t) { t.feld(266, 3, {2}); }), 1, 0,
         {254, 0, 254, 254, 0, 0, 254, 254, 254, 0, 254}},
        // 2 and 4 bits: the level in the top bits (x 16 as from 4-bit BMP files); WhiteIsZero inverted first.
        {"2-bit", bau(4, 2, 1, 1, {0x1B}), 1, 0, {0, 64, 128, 192}},
        {"2-bit white is zero", bau(4, 2, 1, 0, {0x1B}), 1, 0, {192, 128, 64, 0}},
        {"4-bit", bau(3, 4, 1, 1, {0x7A, 0xF0}), 1, 0, {0x70, 0xA0, 0xF0}},
        {"4-bit white is zero", bau(3, 4, 1, 0, {0x7A, 0xF0}), 1, 0, {0x80, 0x50, 0x00}},
        {"8-bit white is zero", bau(3, 8, 1, 0, {0, 10, 255}), 1, 0, {255, 245, 0}},
        // 9 to 15 bits: 16-bit samples with the values as stored.
        {"12-bit", bau(2, 12, 1, 1, {0xAB, 0xC1, 0x23}), 2, 0, {0xBC, 0x0A, 0x23, 0x01}},
        {"12-bit white is zero", bau(1, 12, 1, 0, {0x00, 0x10}), 2, 0, {0xFE, 0x0F}},
        {"12-bit RGB + alpha", bau(1, 12, 4, 2, {0x00, 0x1F, 0xFF, 0x80, 0x05, 0x55}), 6, 4, {0x01, 0x00, 0xFF, 0x0F, 0x00, 0x08}},
        {"9-bit", bau(3, 9, 1, 1, {0xFF, 0x80, 0x0F, 0xFF}), 2, 0, {0xFF, 0x01, 0x00, 0x00, 0x7F, 0x00}},
        // Palette: indices as they are (the map is checked below), no map no image; extra samples dropped.
        {"palette", bau(3, 4, 1, 3, {0x1F, 0x20}, palette), 1, 0, {1, 15, 2}},
        {"palette without a map", bau(3, 4, 1, 3, {0x1F, 0x20}), -1, 0, {}},
        {"gray + alpha", bau(2, 8, 2, 1, {10, 99, 20, 99}), 1, 0, {10, 20}},
        {"palette + alpha", bau(2, 4, 2, 3, {0x3C, 0x4C}, palette), 1, 0, {3, 4}},
        {"16-bit RGBA", bau(1, 16, 4, 2, {1, 2, 3, 4, 5, 6, 7, 8}), 6, 4, {1, 2, 3, 4, 5, 6}},
        {"planar gray + alpha", bau(2, 8, 2, 1, {}, [](TiffBau& t) { t.feld(284, 3, {2}), t.segmente = {{7, 9}, {99, 99}}; }), 1, 0,
         {7, 9}},
        // CMYK: R = (255 - C)(255 - K) / 255 rounded.
        {"CMYK", bau(2, 8, 4, 5, {0, 0, 0, 0, 255, 128, 0, 64}), 3, 4, {255, 255, 255, 0, 95, 191}},
        {"CMYK of another ink set", bau(1, 8, 4, 5, {1, 2, 3, 4}, [](TiffBau& t) { t.feld(332, 3, {2}); }), 0, 0, {}},
        {"CMYK + alpha", bau(1, 8, 5, 5, {1, 2, 3, 4, 5}), 0, 0, {}},
        {"3-bit", bau(8, 3, 1, 1, {0, 0, 0}), 0, 0, {}},
    };
    CBILD b(0, 0);  // one image for all: nothing may carry over
    for (const Fall& f : faelle) {
        for (unsigned& p : b.palette) p = 0x123456;
        const int r = lies(f.datei, b, "t.tif");
        EXPECT_EQ(V({r, r ? 0 : b.bpp, r ? 0 : b.flag, b.farbe32}),
                  V({f.bpp > 0 ? 0 : f.bpp ? 3 : 12, std::max(f.bpp, 0), f.flag, 0})) << f.was;
        EXPECT_TRUE(r || zeile_von(b) == f.zeile) << f.was;
        // The map's high bytes as 0x00RRGGBB; entries the map does not have are 0.
        EXPECT_TRUE(r || !std::strstr(f.was, "palette") ||
                    V({b.palette[1], b.palette[15], b.palette[16], b.palette[255]}) == V({0x10FE80, 0xF0F080, 0, 0}));
    }
}

// A big image is decoded by two threads where there is a second core, and ends exactly as one decoder in
// order leaves it: whole, or the rows before the bad strip and nothing after (zero in fresh storage, the
// earlier image's rows in reused storage).
TEST_F(Tiff, BigImagesEndAsOneDecoderInOrderLeavesThem) {
    const uint32_t W = 1024, H = 4160, R = 1, S = H / R;  // 4160 PackBits strips, 4 MiB and more
    const auto wert = [](uint32_t i, int v) { return uint8_t(v < 0 ? 0 : i / W * 7 + i % W / 3 + uint32_t(v)); };
    const auto datei = [&](int v, uint32_t kaputt) {
        TiffBau t = TiffBau::bild(W, H, 8, 1, 1, {});
        t.feld(259, 3, {32773}), t.feld(278, 3, {R}), t.segmente.assign(S, {});
        for (uint32_t i = 0; i < W * H; ++i) {
            Bytes& seg = t.segmente[i / (W * R)];  // literal runs of 128 bytes; a bad strip ends early
            if (i / (W * R) == kaputt && seg.size() >= 600) continue;
            if (i % 128 == 0) seg.push_back(127);
            seg.push_back(wert(i, v));
        }
        return t.bau();
    };
    // Image bytes (i) before `bis` hold version 0, from `ab` version `rest` (-1: zero).
    const auto pruefe = [&](const CBILD& b, uint32_t bis, uint32_t ab, int rest) {
        for (uint32_t i = 0; i < W * H; ++i)
            if ((i < bis || i >= ab) && b.puffer[i] != wert(i, i < bis ? 0 : rest)) return false;
        return true;
    };
    CBILD b(0, 0);
    EXPECT_TRUE(lies(datei(0, S), b, "t.tif") == 0 && pruefe(b, W * H, W * H, 0));
    for (uint32_t k : {5u, S - 2}) {  // near the top; next to last, met by the helper while this thread is far above
        CBILD frisch(0, 0), alt(0, 0);
        EXPECT_TRUE(lies(datei(0, k), frisch, "t.tif") == 3 && pruefe(frisch, k * R * W, (k + 1) * R * W, -1)) << k;
        ASSERT_EQ(lies(datei(1, S), alt, "t.tif"), 0);
        EXPECT_TRUE(lies(datei(0, k), alt, "t.tif") == 3 && pruefe(alt, k * R * W, (k + 1) * R * W, 1)) << k;
    }
}

TEST_F(Tiff, OneChangeRefusals) {
    struct Fall { const char* was; std::function<void(TiffBau&)> aendern; int code; };
    auto setze = [](uint16_t tag, uint16_t typ, uint64_t wert) { return [=](TiffBau& t) { t.feld(tag, typ, {wert}); }; };
    const std::vector<Fall> faelle = {
        {"old-style JPEG", setze(259, 3, 6), 12}, {"float", setze(339, 3, 3), 12}, {"3-bit gray", setze(258, 3, 3), 12},
        {"5 samples", setze(277, 3, 5), 12}, {"CMYK", setze(262, 3, 5), 12}, {"float predictor", setze(317, 3, 3), 12},
        {"12-bit predictor", [](TiffBau& t) { t.feld(258, 3, {12}), t.feld(317, 3, {2}); }, 12},
        {"planar 3", setze(284, 3, 3), 12}, {"width above 2^31", setze(256, 4, 0x80000000u), 12}, {"width 0", setze(256, 4, 0), 3},
        {"height 0", setze(257, 4, 0), 3}, {"byte count too small", setze(279, 4, 14), 3},
        {"strip past the end", setze(273, 4, 100000), 3}, {"offsets as text", setze(273, 2, 8), 3},
        {"two strips, one offset", setze(278, 4, 2), 3}, {"LZW garbage", setze(259, 3, 5), 3},
        {"Deflate garbage", setze(259, 3, 8), 3}, {"PackBits garbage", setze(259, 3, 32773), 3},
        {"no photometric", [](TiffBau& t) { t.felder.erase(262); }, 3},
        {"RGB of mixed bits", [](TiffBau& t) { t.feld(262, 3, {2}), t.feld(277, 3, {3}), t.feld(258, 3, {8, 16, 8}); }, 12},
        {"tile width 0", [](TiffBau& t) { t.kacheln = true, t.feld(322, 3, {0}), t.feld(323, 3, {16}); }, 3},
        {"huge image, tiny LZW strip", [](TiffBau& t) { t.feld(256, 4, {60000}), t.feld(257, 4, {60000}), t.feld(259, 3, {5}); },
         3},
    };
    CBILD b(0, 0);
    for (const Fall& f : faelle) {
        TiffBau t = TiffBau::bild(5, 3, 8, 1, 1, Bytes(15, 0x42));
        ASSERT_EQ(lies(t.bau(), b, "t.tif"), 0);
        b.speicher(2, 2, 6), f.aendern(t);
        // Refused while planning, the image is left alone; damaged strips are found while rows are read,
        // into an image of the new size.
        EXPECT_EQ(V({lies(t.bau(), b, "t.tif"), b.bpp}), V({f.code, std::strstr(f.was, "garbage") ? 1 : 6})) << f.was;
    }
    // Byte order, version, directory offset, entry count, BigTIFF offset size and reserved word; cut inside the
    // directory; a read error.
    TiffBau t = TiffBau::bild(5, 3, 8, 1, 1, Bytes(15, 0x42));
    const Bytes gut = t.bau(), big = (t.big = true, t.bau());
    for (auto [datei, stelle, wert] : {std::tuple{&gut, 0, 'X'}, {&gut, 2, 41}, {&gut, 4, 0xF0}, {&gut, 24, 0xFF}, {&big, 4, 4}, {&big, 6, 1}})
        EXPECT_EQ(lies(mit(*datei, size_t(stelle), uint32_t(wert), 1), b, "t.tif"), 3) << stelle;
    EXPECT_EQ(V({lies(Bytes(gut.begin(), gut.begin() + 30), b, "t.tif"), ::symlink("/proc/self/mem", pfad("mem.tif").c_str()),
                 b.bildlese(wpfad("mem.tif").c_str())}),
              V({3, 0, 3}));
}

// ---- real producers ------------------------------------------------------

TEST_F(Tiff, TiffcpFilesReadLikeTheSourceFaxAndJpegToo) {
    if (!hat("tiffcp")) GTEST_SKIP() << "tiffcp (libtiff-tools) not installed";
    // Our multi-strip files as libtiff reads them (32-bit gray is left to the matrix: libtiff refuses the LONG
    // MaxSampleValue we write), and as we read libtiff's.
    for (int bpp : {1, 2, 3, 6}) {
        CBILD a(0, 0), b(0, 0);
        muster_bild(a, 37, 45, bpp, 4), schreibe(a, "a.tif");
        EXPECT_EQ(laufe("tiffinfo -D '" + pfad("a.tif") + "' 2>&1 >/dev/null"), "") << bpp;  // reads every strip
        for (const char* o : {"-c none", "-c lzw", "-c packbits", "-c zip", "-c lzw:2", "-c zip:2", "-t", "-t -w 16 -l 16 -c zip:2",
                              "-p separate", "-p separate -t -c lzw:2", "-B", "-B -c lzw:2", "-8", "-8 -B -t -c zip",
                              "-r 7 -c packbits", "-f lsb2msb -c lzw"})
            EXPECT_TRUE((bpp != 3 && std::strstr(o, "separate")) ||  // tiffcp: planar for 8-bit colour only
                        (tiffcp(o, b) == 0 && V({b.breite, b.hoehe, b.bpp}) == V({37, 45, bpp}) &&
                         !std::memcmp(a.puffer, b.puffer, a.puffergroesse))) << bpp << " " << o;
    }
    // Fax: pixel for pixel the 1-bit source, whichever coding and bit order.
    Bytes bits((37 + 7) / 8 * 45);
    for (size_t i = 0; i < bits.size(); ++i) bits[i] = uint8_t(probe(int(i), 3, 1, 8) & (i % 5 ? 0xF0 : 0xFF));
    for (int photo : {0, 1}) {
        CBILD quelle(0, 0), b(0, 0);
        ASSERT_EQ(lies(TiffBau::bild(37, 45, 1, 1, photo, bits).bau(), quelle, "s.tif"), 0);
        for (const char* o : {"-c g3", "-c g3:2d", "-c g3:2d:fill", "-c g4", "-c g4 -f lsb2msb", "-c g4 -r 7", "-c g3 -t -w 32"})
            EXPECT_TRUE(tiffcp(o, b, "s.tif") == 0 && !std::memcmp(quelle.puffer, b.puffer, quelle.puffergroesse)) << o;
    }
    // JPEG: within what decoders differ of libtiff's own decoding (PSNR above 40 dB); a damaged stream.
    CBILD farbe(0, 0), j(0, 0), r(0, 0);
    muster_bild(farbe, 61, 47, 3, 4);
    for (int i = 0; i < 61 * 3 * 47; ++i) farbe.puffer[i] = uint8_t(i % 183 + 2 * (i / 183) + probe(i, 0, 0, 3));  // smooth, noisy
    schreibe(farbe, "f.tif");
    for (const char* o : {"-c jpeg -r 16", "-c jpeg:r -r 16", "-c jpeg -t -w 32 -l 16", "-c jpeg:r -r 8"}) {
        laufe("tiffcp " + std::string(o) + " '" + pfad("f.tif") + "' '" + pfad("j.tif") + "' 2>&1");
        ASSERT_EQ(V({tiffcp("-c none", r, "j.tif"), j.bildlese(wpfad("j.tif").c_str()), j.breite, j.hoehe, j.bpp, j.flag}),
                  V({0, 0, 61, 47, 3, 4})) << o;
        double summe = 0;
        for (uint32_t i = 0; i < j.puffergroesse; ++i) summe += (j.puffer[i] - r.puffer[i]) * (j.puffer[i] - r.puffer[i]);
        EXPECT_LT(summe / j.puffergroesse, 255.0 * 255.0 / 1e4) << o;
    }
    Bytes d = lies_datei(pfad("j.tif"));
    for (size_t i = 200; i < d.size() - 200; i += 7) d[i] ^= 0x55;
    EXPECT_EQ(lies(d, farbe, "t.tif"), 3);
}
