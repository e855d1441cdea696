// BMP writer: every depth, colour order and region reads back through our
// reader; the header and padding; refusals; Pillow opens what we write.
#include <cstring>

#include "bildlib.h"
#include "hilfe.h"

namespace {

class BmpSchreiben : public Ordner {
protected:
    int schreibe(CBILD& b, CTeilbereich* r = nullptr) { return b.bildspeichteil(w(pfad("t.bmp")).c_str(), r); }
    int lies(CBILD& b) { return b.bildlese(w(pfad("t.bmp")).c_str()); }
};

// Pixel x of row y as blue-green-red samples of `s` bytes each, whatever
// the image's flag word: what a BMP holds.
Bytes bgr(const CBILD& b, int x, int y) {
    const size_t s = b.bpp == 6 ? 2 : 1;
    const unsigned char* z = b.zeile[y];
    Bytes p;
    for (size_t c = 0; c < 3; ++c) {
        const size_t quelle = b.flag == 0 ? 3 * size_t(x) + c
                            : b.flag == 4 ? 3 * size_t(x) + 2 - c
                                          : c * size_t(b.breite) + size_t(x);  // planar: blue plane first
        p.insert(p.end(), z + quelle * s, z + quelle * s + s);
    }
    return p;
}

}  // namespace

TEST_F(BmpSchreiben, EveryDepthOrderAndRegionReadsBack) {
    struct Region { int x, y, w, h; };
    for (int bpp : {1, 2, 3, 6}) {
        for (int flag : {0, 4, 1}) {
            if (bpp < 3 && flag != 0) continue;
            for (int breite : {1, 3, 37}) {
                CBILD a(0, 0);
                a.speicher(breite, 21, bpp);
                a.flag = flag;
                for (uint32_t i = 0; i < a.puffergroesse; ++i) a.puffer[i] = uint8_t(i * 31 + i / 5);
                // Whole image, each corner, and regions moved or cut into the image.
                for (Region r : {Region{0, 0, breite, 21}, Region{0, 0, 1, 1}, Region{breite - 1, 20, 1, 1},
                                 Region{-5, 3, 2, 4}, Region{breite - 1, 19, 3, 9}, Region{0, -1, breite + 9, 30}}) {
                    CTeilbereich t(r.x, r.y, r.w, r.h);
                    ASSERT_EQ(schreibe(a, &t), 0);
                    CBILD b(0, 0);
                    ASSERT_EQ(lies(b), 0);
                    ASSERT_EQ(b.breite, t.breite);
                    ASSERT_EQ(b.hoehe, t.hoehe);
                    ASSERT_EQ(b.bpp, bpp);
                    bool ok = true;
                    for (int y = 0; y < b.hoehe; ++y)
                        for (int x = 0; x < b.breite; ++x)
                            ok = ok && (bpp < 3 ? std::memcmp(b.zeile[y] + x * bpp, a.zeile[t.oben + y] + (t.links + x) * bpp,
                                                              size_t(bpp)) == 0
                                                : bgr(b, x, y) == bgr(a, t.links + x, t.oben + y));
                    EXPECT_TRUE(ok) << bpp << " flag " << flag << " width " << breite << " region " << r.x << ","
                                    << r.y;
                }
                // The whole-image write is the region write of the whole image.
                ASSERT_EQ(schreibe(a), 0);
                const Bytes ganz = lies_datei(pfad("t.bmp"));
                CTeilbereich alles(0, 0, breite, 21);
                ASSERT_EQ(schreibe(a, &alles), 0);
                EXPECT_EQ(lies_datei(pfad("t.bmp")), ganz);
            }
        }
    }
}

TEST_F(BmpSchreiben, HeaderGrayTableBottomUpRowsAndPadding) {
    CBILD a(5, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) a.zeile[y][x] = uint8_t(10 * y + x);
    ASSERT_EQ(schreibe(a), 0);
    const Bytes d = lies_datei(pfad("t.bmp"));
    ASSERT_EQ(d.size(), 54u + 1024 + 3 * 8);
    EXPECT_EQ(std::string(d.begin(), d.begin() + 2), "BM");
    // file size, data offset, info size, width, height (positive: bottom-up), bits, compression, image size, colours
    const uint32_t felder[][2] = {{2, uint32_t(d.size())}, {10, 1078}, {14, 40}, {18, 5}, {22, 3}, {30, 0}, {34, 24}, {46, 256}};
    for (auto [stelle, wert] : felder) EXPECT_EQ(get32(d, stelle), wert) << stelle;
    EXPECT_EQ(get16(d, 26), 1u);
    EXPECT_EQ(get16(d, 28), 8u);
    EXPECT_EQ(get32(d, 54 + 4 * 200), 0x00C8C8C8u);
    EXPECT_EQ(Bytes(d.begin() + 1078, d.begin() + 1086), (Bytes{20, 21, 22, 23, 24, 0, 0, 0}));  // bottom row first
    EXPECT_EQ(Bytes(d.end() - 8, d.end()), (Bytes{0, 1, 2, 3, 4, 0, 0, 0}));

    // A 4-byte colour image goes out as 24-bit through the dispatcher.
    CBILD c(0, 0);
    c.speicher(2, 1, 4);
    const unsigned char px[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::memcpy(c.puffer, px, 8);
    c.farbe32 = 256;
    c.flag = 4;
    ASSERT_EQ(schreibe(c), 0);
    const Bytes e = lies_datei(pfad("t.bmp"));
    EXPECT_EQ(get16(e, 28), 24u);
    EXPECT_EQ(Bytes(e.begin() + 54, e.end()), (Bytes{3, 2, 1, 7, 6, 5, 0, 0}));
}

TEST_F(BmpSchreiben, Refusals) {
    CBILD b(4, 4);
    for (int bpp : {4, 5, 12}) {
        b.bpp = bpp;
        EXPECT_EQ(schreibe(b), 12) << bpp;
        EXPECT_FALSE(existiert(pfad("t.bmp")));
    }
    b.bpp = 1;
    CBILD leer(0, 0);
    EXPECT_EQ(schreibe(leer), 12);
    CTeilbereich nichts(1, 1, 0, 2);
    EXPECT_EQ(schreibe(b, &nichts), 12);
    CBmp bmp;
    EXPECT_EQ(bmp.schreiben(L"", &b), 1);
    EXPECT_EQ(bmp.schreiben(nullptr, &b), 1);
    EXPECT_EQ(bmp.schreiben(w(dir).c_str(), &b), 2);
    EXPECT_EQ(bmp.schreiben(L"/dev/full", &b), 4);
    // Rows of 64 KiB and more come back through our reader only unpadded.
    CBILD breit(65536, 1);
    std::memset(breit.puffer, 7, breit.puffergroesse);
    ASSERT_EQ(schreibe(breit), 0);
    CBILD zurueck(0, 0);
    ASSERT_EQ(lies(zurueck), 0);
    EXPECT_EQ(zurueck.breite, 65536);
    EXPECT_EQ(zurueck.zeile[0][65535], 7);
    CBILD gepolstert(65537, 1);
    EXPECT_EQ(schreibe(gepolstert), 12);
}

TEST_F(BmpSchreiben, PillowAndImageMagickReadOurBmps) {
    if (laufe("/usr/bin/python3 -c 'import PIL; print(1)' 2>/dev/null") != "1\n")
        GTEST_SKIP() << "Pillow for /usr/bin/python3 not installed";
    const bool magick = laufe("/usr/bin/convert -version 2>/dev/null").find("ImageMagick") != std::string::npos;
    for (int bpp : {1, 3, 2}) {
        CBILD a(0, 0);
        a.speicher(37, 5, bpp);
        a.flag = 4;
        for (uint32_t i = 0; i < a.puffergroesse; ++i) a.puffer[i] = uint8_t(i * 7);
        ASSERT_EQ(schreibe(a), 0);
        int status = -1;
        const std::string out = laufe("/usr/bin/python3 -c \"import sys; from PIL import Image; im = Image.open(sys.argv[1]); "
                                      "sys.stdout.buffer.write(im.mode.encode() + b' ' + im.tobytes())\" '" +
                                      pfad("t.bmp") + "'", &status);
        ASSERT_EQ(status, 0) << bpp;
        if (bpp == 2) continue;  // 16-bit: Pillow opens it (as 5-5-5 colour)
        Bytes soll(a.puffer, a.puffer + a.puffergroesse);  // flag 4: red, green, blue as Pillow gives them
        const std::string mode = bpp == 1 ? "L " : "RGB ";
        ASSERT_EQ(out.substr(0, mode.size()), mode);
        EXPECT_EQ(Bytes(out.begin() + long(mode.size()), out.end()), soll) << bpp;
        if (magick) {
            const std::string im = laufe("/usr/bin/convert '" + pfad("t.bmp") + "' -depth 8 " + (bpp == 1 ? "gray" : "rgb") + ":-");
            EXPECT_EQ(Bytes(im.begin(), im.end()), soll) << "ImageMagick " << bpp;
        }
    }
}
