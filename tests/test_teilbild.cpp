// Sub-region copies, display lines, gray images and images over caller
// memory. Regions outside or larger than the image run under the sanitizer
// build too.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "bildlib.h"

namespace {

void muster(CBILD& b, int w, int h, int bpp, int flag, int farbe32) {
    b.speicher(w, h, bpp);
    b.flag = flag;
    b.farbe32 = farbe32;
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < w * bpp; ++i) b.zeile[y][i] = (unsigned char)(i * 5 + y * 11 + 1);
}

struct Art {
    int bpp, flag, farbe32;
};
const Art kArten[] = {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {3, 1, 0}, {4, 0, 0},
                      {4, 0, 256}, {4, 2, 256}, {6, 4, 0}, {6, 3, 0}};

// Red, green, blue and white pixels of a 3-byte image in the given layout.
void vier_farben(CBILD& b, int flag) {
    const unsigned char rgb[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    b.speicher(4, 1, 3);
    b.flag = flag;
    for (int x = 0; x < 4; ++x)
        for (int c = 0; c < 3; ++c) {
            const int blau_erst = 2 - c;  // sample index counted from blue
            if (flag == 0) b.zeile[0][3 * x + blau_erst] = rgb[x][c];
            else if (flag == 4) b.zeile[0][3 * x + c] = rgb[x][c];
            else b.zeile[0][4 * blau_erst + x] = rgb[x][c];
        }
}

}  // namespace

TEST(Teilbild, RoundTripEveryDepthAndRegion) {
    const CTeilbereich regionen[] = {{0, 0, 5, 4},   {32, 0, 5, 4},       {0, 19, 5, 4},  {32, 19, 5, 4},
                                     {-3, -2, 5, 4}, {35, 21, 5, 4},      {10, 5, 17, 9}, {-100, -100, 1000, 1000},
                                     {5, 5, -3, 4},  {2000000000, 3, 7, 2}};
    for (const Art& a : kArten) {
        CBILD b(0, 0);
        muster(b, 37, 23, a.bpp, a.flag, a.farbe32);
        b.info[3] = 12;
        const bool planar = b.istplanar();
        const int ebenen = planar ? (a.bpp == 6 ? 3 : a.bpp) : 1, pb = a.bpp / ebenen;
        for (CTeilbereich t : regionen) {
            SCOPED_TRACE(testing::Message() << "bpp " << a.bpp << " flag " << a.flag << " region " << t.links
                                            << "," << t.oben << " " << t.breite << "x" << t.hoehe);
            CBILD teil(0, 0);
            ASSERT_EQ(teil.setzteil(&b, &t), 0);
            if (t.breite < 1 || t.hoehe < 1) {
                EXPECT_EQ(teil.hoehe, 0);
                continue;
            }
            ASSERT_TRUE(t.links >= 0 && t.links + t.breite <= 37 && t.oben >= 0 && t.oben + t.hoehe <= 23);
            ASSERT_EQ(teil.breite, t.breite);
            EXPECT_EQ(teil.flag, a.flag);
            EXPECT_EQ(teil.farbe32, a.farbe32);
            EXPECT_EQ(teil.info[3], 12);
            for (int i = 0; i < t.hoehe; ++i)
                for (int p = 0; p < ebenen; ++p)
                    ASSERT_EQ(0, std::memcmp(teil.zeile[i] + p * t.breite * pb,
                                             b.zeile[t.oben + i] + (p * 37 + t.links) * pb, size_t(t.breite * pb)));

            // Blank the region in a copy, paste the part back: the whole image
            // is the original again, so nothing outside the region moved.
            CBILD ziel(b), leer(teil);
            std::memset(leer.puffer, 0, leer.puffergroesse);
            ASSERT_EQ(ziel.einfuegen(&leer, t.links, t.oben), 0);
            EXPECT_NE(0, std::memcmp(ziel.puffer, b.puffer, b.puffergroesse));
            ASSERT_EQ(ziel.einfuegen(&teil, t.links, t.oben), 0);
            EXPECT_EQ(0, std::memcmp(ziel.puffer, b.puffer, b.puffergroesse));
        }
    }
}

TEST(Teilbild, PasteFitsMovesAndRefusesOtherLayouts) {
    CBILD gross(0, 0), ziel(0, 0), klein(0, 0);
    muster(gross, 50, 30, 2, 0, 0);
    ziel.speicher(37, 23, 2);
    ASSERT_EQ(ziel.einfuegen(&gross, -5, -5), 0);  // larger: its top-left part
    EXPECT_EQ(0, std::memcmp(ziel.zeile[22], gross.zeile[22], 74));
    muster(klein, 4, 3, 2, 0, 0);
    ASSERT_EQ(ziel.einfuegen(&klein, 35, -2), 0);  // moved to columns 33..36, rows 0..2
    EXPECT_EQ(0, std::memcmp(ziel.zeile[2] + 66, klein.zeile[2], 8));
    EXPECT_EQ(ziel.einfuegen(&ziel, 3, 3), 0);  // itself: lands at 0, 0 unchanged

    CBILD bgr(0, 0), rgb(0, 0), grau4(0, 0), farb4(0, 0);
    muster(bgr, 4, 4, 3, 0, 0);
    muster(rgb, 8, 8, 3, 4, 0);
    muster(grau4, 4, 4, 4, 0, 0);
    muster(farb4, 8, 8, 4, 0, 256);
    EXPECT_EQ(rgb.einfuegen(&bgr, 0, 0), 1);
    EXPECT_EQ(rgb.einfuegen(&klein, 0, 0), 1);
    EXPECT_EQ(farb4.einfuegen(&grau4, 0, 0), 1);
    CBILD leer(0, 0);
    EXPECT_EQ(rgb.einfuegen(&leer, 0, 0), 1);
    EXPECT_EQ(leer.einfuegen(&rgb, 0, 0), 1);
    EXPECT_EQ(leer.setzteil(nullptr, nullptr), 1);
    EXPECT_EQ(leer.setzteil(&leer, nullptr), 1);
}

TEST(Anzeige, ShiftSaturateAndLayouts) {
    CBILD w(0, 0);
    w.speicher(3, 1, 2);
    const uint16_t v[3] = {65535, 256, 1023};
    std::memcpy(w.puffer, v, 6);
    unsigned char z[9];
    ASSERT_EQ(w.anzeigezeile(0, z, 1, 8), 0);
    EXPECT_EQ(std::vector<int>(z, z + 3), (std::vector<int>{255, 1, 3}));
    w.anzeigezeile(0, z, 3, 2);  // 1023 >> 2 = 255; the others saturate
    EXPECT_EQ(std::vector<int>(z, z + 9), (std::vector<int>{255, 255, 255, 64, 64, 64, 255, 255, 255}));
    EXPECT_EQ(w.anzeigeschiebung(), 8u);
    EXPECT_EQ(w.anzeigezeile(1, z, 1, 0), 1);
    EXPECT_EQ(w.anzeigezeile(0, z, 2, 0), 1);

    CBILD d(0, 0);
    d.speicher(2, 1, 4);
    reinterpret_cast<uint32_t*>(d.puffer)[0] = 0xab000000u;
    reinterpret_cast<uint32_t*>(d.puffer)[1] = 0x3ff;
    d.anzeigezeile(0, z, 1, 56);  // 56 & 31 = 24
    EXPECT_EQ(z[0], 0xab);
    EXPECT_EQ(z[1], 0);
    EXPECT_EQ(d.anzeigeschiebung(), 24u);
    d.farbe32 = 256;
    EXPECT_EQ(d.anzeigeschiebung(), 0u);

    // One set of colours in every layout gives one display row.
    const std::vector<int> rgb_soll{255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}, grau_soll{76, 150, 29, 255};
    for (int flag : {0, 4, 1}) {
        CBILD f(0, 0);
        vier_farben(f, flag);
        unsigned char r[12], g[4];
        f.anzeigezeile(0, r, 3, 0);
        f.anzeigezeile(0, g, 1, 0);
        EXPECT_EQ(std::vector<int>(r, r + 12), rgb_soll) << flag;
        EXPECT_EQ(std::vector<int>(g, g + 4), grau_soll) << flag;
    }
    CBILD s(0, 0);
    s.speicher(1, 1, 6);
    s.flag = 0;
    const uint16_t rot[3] = {0, 0, 65535};
    std::memcpy(s.puffer, rot, 6);
    s.anzeigezeile(0, z, 3, 8);
    EXPECT_EQ(std::vector<int>(z, z + 3), (std::vector<int>{255, 0, 0}));
    s.anzeigezeile(0, z, 1, 8);
    EXPECT_EQ(z[0], 19596 >> 8);
    s.speicher(1, 1, 5);
    EXPECT_EQ(s.anzeigezeile(0, z, 1, 0), 1);
}

TEST(Anzeige, GrayImageWeightsAndWidths) {
    for (int flag : {0, 4, 1}) {
        CBILD f(0, 0), g(0, 0);
        vier_farben(f, flag);
        f.info[0] = 3;
        ASSERT_EQ(g.setzgrau(&f), 0);
        EXPECT_EQ(g.bpp, 1);
        EXPECT_EQ(g.info[0], 3);
        EXPECT_EQ(std::vector<int>(g.puffer, g.puffer + 4), (std::vector<int>{76, 150, 29, 255}));
        f.setzgrau(&f);  // in place
        EXPECT_EQ(f.puffer[3], 255);
    }
    CBILD s(0, 0), g(0, 0);
    s.speicher(2, 1, 6);
    s.flag = 4;
    const uint16_t px[6] = {65535, 0, 0, 65535, 65535, 65535};
    std::memcpy(s.puffer, px, 12);
    ASSERT_EQ(g.setzgrau(&s), 0);
    ASSERT_EQ(g.bpp, 2);
    EXPECT_EQ(reinterpret_cast<uint16_t*>(g.puffer)[0], 19596);
    EXPECT_EQ(reinterpret_cast<uint16_t*>(g.puffer)[1], 65535);

    CBILD v(0, 0);
    v.speicher(1, 1, 4);
    v.farbe32 = 256;
    v.flag = 0;
    const unsigned char bgrx[4] = {200, 50, 100, 9};
    std::memcpy(v.puffer, bgrx, 4);
    g.setzgrau(&v);
    EXPECT_EQ(g.bpp, 1);
    EXPECT_EQ(g.farbe32, 0);
    EXPECT_EQ(g.puffer[0], 82);
    v.farbe32 = 0;  // gray: a plain copy
    g.setzgrau(&v);
    EXPECT_EQ(g.bpp, 4);
    EXPECT_EQ(g.setzgrau(nullptr), 1);
}

TEST(Extern, WrapsCallerMemoryAndCopiesCompact) {
    std::vector<uint16_t> mem(5 * 4, 7);  // 3 samples per row, stride 5
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 3; ++x) mem[size_t(5 * y + x)] = uint16_t(100 * y + x);
    unsigned char* daten = reinterpret_cast<unsigned char*>(mem.data());
    {
        CBILD e(2, 2);
        ASSERT_EQ(e.setimage(daten, 3, 4, 2, 10, 0), 1);
        EXPECT_EQ(e.puffer, nullptr);
        EXPECT_EQ(e.farbe32, 0);
        double d[3];
        e.lesezeile(2, d);
        EXPECT_EQ(d[1], 201);

        CBILD k(0, 0);
        k.setzen(&e);
        ASSERT_EQ(k.puffergroesse, 24u);
        for (int y = 0; y < 4; ++y) EXPECT_EQ(0, std::memcmp(k.zeile[y], daten + 10 * y, 6));
        CTeilbereich t(1, 1, 2, 2);
        k.setzteil(&e, &t);
        EXPECT_EQ(reinterpret_cast<uint16_t*>(k.zeile[1])[1], 202);

        e.setzwert(5);  // writes go to the caller's rows, not its padding
        EXPECT_EQ(mem[7], 5);
        EXPECT_EQ(mem[8], 7);
        e.bildwandel16_32(0);  // now owned storage; the caller's memory stays
        EXPECT_NE(e.puffer, nullptr);
        EXPECT_EQ(mem[7], 5);
    }  // the image frees only what it owns

    CBILD e(0, 0);
    EXPECT_EQ(e.setimage(daten, 3, 4, 2, 9, 0), 0);      // stride of half a sample
    EXPECT_EQ(e.setimage(daten + 1, 3, 4, 2, 10, 0), 0);  // misaligned rows
    EXPECT_EQ(e.setimage(daten, 3, 4, 2, 4, 0), 0);      // stride below one row
    EXPECT_EQ(e.setimage(daten, 3, 4, 5, 0, 0), 0);
    EXPECT_EQ(e.setimage(daten, 0, 4, 1, 0, 0), 0);
    EXPECT_EQ(e.setimage(nullptr, 3, 4, 1, 0, 0), 0);
    EXPECT_EQ(e.setimage(daten, 1 << 30, 1, 4, 0, 0), 0);  // row beyond int offsets
    EXPECT_EQ(e.hoehe, 0);
    ASSERT_EQ(e.setimage(daten, 2, 2, 4, 0, 4, true), 1);  // stride 0: compact rows
    EXPECT_EQ(e.farbe32, 256);
    EXPECT_EQ(e.zeile[1], daten + 8);
    ASSERT_EQ(e.setimage(daten, 2, 2, 3, 0, 4, true), 1);
    EXPECT_EQ(e.farbe32, 0);
}
