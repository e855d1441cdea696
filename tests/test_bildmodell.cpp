// Image model: pixel values, row and pixel access, depth conversion,
// sub-regions, display lines, gray images, external memory.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "bildlib.h"

namespace {

// An image whose bytes follow a pattern that differs from row to row.
void fuellen(CBILD& b, int w, int h, int bpp, int flag = 0, int farbe32 = 0) {
    b.speicher(w, h, bpp);
    b.flag = flag;
    b.farbe32 = farbe32;
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < w * bpp; ++i) b.zeile[y][i] = (unsigned char)(i * 7 + y * 13 + 3);
}

uint16_t* z16(CBILD& b, int y) { return reinterpret_cast<uint16_t*>(b.zeile[y]); }
uint32_t* z32(CBILD& b, int y) { return reinterpret_cast<uint32_t*>(b.zeile[y]); }

}  // namespace

TEST(Pixelwerte, FillAndMosaic) {
    CBILD a(3, 3), b(0, 0), c(0, 0);
    a.setzwert(4660);
    EXPECT_EQ(a.zeile[2][2], 52);
    b.speicher(2, 2, 2);
    b.setzwert(4660);
    EXPECT_EQ(z16(b, 1)[1], 4660);
    fuellen(c, 2, 2, 3);
    CBILD c0(c);
    c.setzwert(1);
    EXPECT_EQ(0, std::memcmp(c.puffer, c0.puffer, 12));

    unsigned v[4] = {1, 2, 3, 4};
    a.setzrawvalue(v);
    const unsigned char erwartet[9] = {1, 2, 1, 3, 4, 3, 1, 2, 1};
    EXPECT_EQ(0, std::memcmp(a.puffer, erwartet, 9));
    CBILD schmal(1, 3), flach(3, 1);
    schmal.setzrawvalue(v);
    EXPECT_EQ(std::vector<int>(schmal.puffer, schmal.puffer + 3), (std::vector<int>{1, 3, 1}));
    flach.setzrawvalue(v);  // one row: the odd row has nowhere to go
    EXPECT_EQ(std::vector<int>(flach.puffer, flach.puffer + 3), (std::vector<int>{1, 2, 1}));
    unsigned gross[4] = {0x12345, 0x1ffff, 7, 8};
    b.setzrawvalue(gross);
    EXPECT_EQ(z16(b, 0)[0], 0x2345);
    EXPECT_EQ(z16(b, 0)[1], 0xffff);
    EXPECT_EQ(z16(b, 1)[1], 8);
}

TEST(Pixelwerte, MultaddRoundsHalfUpAndClamps) {
    CBILD a(256, 1);
    auto abbild = [&](double f, double o, int s) {
        for (int i = 0; i < 256; ++i) a.zeile[0][i] = (unsigned char)i;
        a.multaddwert(f, o);
        return int(a.zeile[0][s]);
    };
    EXPECT_EQ(abbild(1.0, 0.0, 200), 200);
    EXPECT_EQ(abbild(0.5, 0.0, 1), 1);
    EXPECT_EQ(abbild(0.5, 0.0, 3), 2);
    EXPECT_EQ(abbild(2.0, 0.0, 127), 254);
    EXPECT_EQ(abbild(2.0, 0.0, 128), 255);
    EXPECT_EQ(abbild(2.0, 0.0, 200), 255);
    EXPECT_EQ(abbild(1.0, -10.0, 5), 0);
    EXPECT_EQ(abbild(1.0, -10.0, 10), 0);  // 0.5 truncates to 0
    EXPECT_EQ(abbild(1.0, -10.0, 11), 1);
    EXPECT_EQ(abbild(1.0, -0.5, 255), 255);  // t = 255.0 exactly
    EXPECT_EQ(abbild(NAN, 0.0, 9), 0);

    CBILD w(0, 0);
    w.speicher(3, 1, 2);
    const uint16_t in[3] = {32767, 32768, 1};
    std::memcpy(w.puffer, in, 6);
    w.multaddwert(2.0, 0.0);
    EXPECT_EQ(z16(w, 0)[0], 65534);
    EXPECT_EQ(z16(w, 0)[1], 65535);
    w.multaddwert(1.0, -0.6);  // 2 - 0.6 + 0.5 = 1.9
    EXPECT_EQ(z16(w, 0)[2], 1);

    CBILD farbe(0, 0), sechs(0, 0), vier(0, 0);
    fuellen(farbe, 3, 2, 3);
    farbe.multaddwert(0.0, 9.0);  // every byte of a colour pixel is mapped
    for (unsigned i = 0; i < farbe.puffergroesse; ++i) EXPECT_EQ(farbe.puffer[i], 9);
    sechs.speicher(1, 1, 6);
    std::memset(sechs.puffer, 0, 6);
    sechs.multaddwert(1.0, 1000.0);
    EXPECT_EQ(z16(sechs, 0)[2], 1000);
    fuellen(vier, 2, 2, 4);
    CBILD vier0(vier);
    vier.multaddwert(0.0, 0.0);
    EXPECT_EQ(0, std::memcmp(vier.puffer, vier0.puffer, 16));
}

TEST(Zugriff, RowsColumnsAndTruncation) {
    CBILD b(0, 0);
    b.speicher(2, 2, 4);
    z32(b, 1)[0] = 4294967295u;
    z32(b, 1)[1] = 7;
    double d[2] = {-1, -1};
    b.lesezeile(1, d);
    EXPECT_EQ(d[0], 4294967295.0);
    double spalte[2] = {-1, -1};
    b.lesespalte(0, spalte);  // 32-bit columns are not served
    EXPECT_EQ(spalte[0], -1);

    unsigned w[3] = {65537, 300, 256}, back[3] = {0, 0, 0};
    b.speicher(3, 2, 2);
    b.setzzeile_uint(1, w);
    b.lesezeile_uint(1, back);
    EXPECT_EQ(std::vector<unsigned>(back, back + 3), (std::vector<unsigned>{1, 300, 256}));
    b.speicher(3, 2, 1);
    b.setzzeile_uint(0, w);
    b.setzzeile_uint(2, w);  // outside: nothing
    b.lesezeile_uint(0, back);
    EXPECT_EQ(std::vector<unsigned>(back, back + 3), (std::vector<unsigned>{1, 44, 0}));
    b.zeile[1][2] = 9;
    b.lesespalte(2, spalte);
    EXPECT_EQ(spalte[0], 0);
    EXPECT_EQ(spalte[1], 9);

    CBILD farbe(0, 0);
    fuellen(farbe, 2, 2, 3);
    d[0] = -1;
    farbe.lesezeile(0, d);
    farbe.lesespalte(0, spalte);
    EXPECT_EQ(d[0], -1);
    EXPECT_EQ(spalte[0], 0);
}

TEST(Zugriff, RawChannel) {
    CBILD src(0, 0), k(0, 0);
    src.speicher(5, 5, 2);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x) z16(src, y)[x] = uint16_t(1000 + 10 * y + x);
    k.setzrohkanal(3, &src);
    ASSERT_EQ(k.breite, 2);
    ASSERT_EQ(k.hoehe, 2);
    EXPECT_EQ(z16(k, 0)[0], 1011);
    EXPECT_EQ(z16(k, 0)[1], 1013);
    EXPECT_EQ(z16(k, 1)[0], 1031);
    EXPECT_EQ(z16(k, 1)[1], 1033);
    src.setzrohkanal(2, &src);  // from itself
    EXPECT_EQ(z16(src, 1)[1], 1032);

    CBILD acht(0, 0);
    fuellen(acht, 3, 3, 1);
    k.setzrohkanal(1, &acht);
    EXPECT_EQ(k.zeile[0][0], acht.zeile[0][1]);
    CBILD farbe(0, 0);
    fuellen(farbe, 4, 4, 3);
    k.setzrohkanal(0, &farbe);  // colour sources are left alone
    EXPECT_EQ(k.breite, 1);
}

TEST(Zugriff, GetrgbMasksOrdersAndQuirks) {
    CBILD b(0, 0);
    fuellen(b, 3, 2, 3, 0);
    int r = -1, g = -1, bl = -1;
    EXPECT_EQ(b.getrgb(-1, 0, &r, &g, &bl), 1);
    EXPECT_EQ(b.getrgb(3, 2, &r, &g, &bl), 10);
    EXPECT_EQ(b.getrgb(-1, -1, &r, &g, &bl), 5);
    EXPECT_EQ(r, -1);
    const unsigned char* p = b.zeile[1] + 3;
    EXPECT_EQ(b.getrgb(1, 1, &r, &g, &bl), 0);
    EXPECT_EQ(std::vector<int>({bl, g, r}), std::vector<int>(p, p + 3));
    b.flag = 4;
    b.getrgb(1, 1, &r, &g, &bl);
    EXPECT_EQ(std::vector<int>({r, g, bl}), std::vector<int>(p, p + 3));
    b.flag = 1;  // planar: every x reads column 0
    b.getrgb(2, 1, &r, &g, &bl);
    EXPECT_EQ(std::vector<int>({bl, g, r}), (std::vector<int>{b.zeile[1][0], b.zeile[1][3], b.zeile[1][6]}));

    CBILD s(0, 0);
    fuellen(s, 2, 1, 6, 7);
    s.getrgb(1, 0, &r, &g, &bl);
    EXPECT_EQ(std::vector<int>({bl, g, r}), (std::vector<int>{z16(s, 0)[0], z16(s, 0)[2], z16(s, 0)[4]}));
    s.flag = 0;
    s.getrgb(1, 0, &r, &g, &bl);
    EXPECT_EQ(r, z16(s, 0)[5]);

    CBILD v(0, 0);
    fuellen(v, 3, 1, 4);
    v.getrgb(2, 0, &r, &g, &bl);  // 4-byte gray: the byte at x
    EXPECT_EQ(r, v.zeile[0][2]);
    v.farbe32 = 256;
    v.getrgb(2, 0, &r, &g, &bl);
    EXPECT_EQ(std::vector<int>({bl, g, r}), std::vector<int>(v.zeile[0] + 8, v.zeile[0] + 11));
}

TEST(Zugriff, MinMaxScanCounts) {
    CBILD b(3, 2);
    const unsigned char acht[6] = {50, 1, 255, 3, 4, 5};
    std::memcpy(b.puffer, acht, 6);
    unsigned lo = 9, hi = 9;
    b.getminmax(&lo, &hi);  // 8-bit: first pixel only
    EXPECT_EQ(lo, 50u);
    EXPECT_EQ(hi, 50u);

    CBILD f(0, 0);
    f.speicher(2, 2, 3);
    const unsigned char farbe[12] = {9, 8, 200, 1, 0, 0, 7, 6, 250, 0, 0, 0};
    std::memcpy(f.puffer, farbe, 12);
    f.getminmax(&lo, &hi);  // first width bytes of each row
    EXPECT_EQ(lo, 6u);
    EXPECT_EQ(hi, 9u);

    CBILD s(0, 0);
    s.speicher(1, 2, 6);
    const uint16_t sechs[6] = {500, 400, 60000, 2, 300, 301};
    std::memcpy(s.puffer, sechs, 12);
    s.getminmax(&lo, &hi);
    EXPECT_EQ(lo, 2u);
    EXPECT_EQ(hi, 60000u);

    CBILD v(0, 0);
    v.speicher(2, 1, 4);
    z32(v, 0)[0] = 4000000000u;
    z32(v, 0)[1] = 5;
    v.getminmax(&lo, &hi);
    EXPECT_EQ(lo, 5u);
    EXPECT_EQ(hi, 4000000000u);
    CBILD leer(0, 0);
    leer.getminmax(&lo, &hi);
    EXPECT_EQ(hi, 0u);
}

TEST(Tiefe, RegionConversionsSaturateAndFit) {
    CBILD src(0, 0), d(0, 0);
    src.speicher(4, 3, 4);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x) z32(src, y)[x] = 70000u * (y * 4 + x);
    EXPECT_EQ(d.set32_16_teil(&src, nullptr, 0), 0);
    EXPECT_EQ(z16(d, 0)[0], 0);
    EXPECT_EQ(z16(d, 0)[1], 65535);
    z32(src, 0)[1] = 2000;
    EXPECT_EQ(d.set32_8_teil(&src, nullptr, 2), 0);
    EXPECT_EQ(d.zeile[0][1], 255);
    z32(src, 0)[1] = 0x1ff00;
    d.set32_8_teil(&src, nullptr, 40);  // 40 & 31 = 8
    EXPECT_EQ(d.zeile[0][1], 255);
    z32(src, 0)[1] = 0xab00;
    d.set32_8_teil(&src, nullptr, 40);
    EXPECT_EQ(d.zeile[0][1], 0xab);

    CTeilbereich t(3, -1, 2, 2);  // partly outside: moved to columns 2..3, rows 0..1
    EXPECT_EQ(d.set32_16_teil(&src, &t, 4), 0);
    EXPECT_EQ(t.links, 2);
    EXPECT_EQ(t.oben, 0);
    ASSERT_EQ(d.breite, 2);
    EXPECT_EQ(z16(d, 1)[1], (70000u * 7) >> 4);

    CBILD acht(2, 2);
    d.speicher(1, 1, 2);
    EXPECT_EQ(d.set32_16_teil(&acht, nullptr, 0), 1);
    EXPECT_EQ(d.set32_16_teil(nullptr, nullptr, 0), 1);
    EXPECT_EQ(d.breite, 1);
}

TEST(Tiefe, WholeImageShiftsAndAlpha) {
    EXPECT_EQ(CBILD::passschiebung(65535, 16), 0u);
    EXPECT_EQ(CBILD::passschiebung(65536, 16), 1u);
    EXPECT_EQ(CBILD::passschiebung(4294967295u, 16), 16u);
    EXPECT_EQ(CBILD::passschiebung(0, 16), 0u);

    CBILD b(0, 0);
    b.speicher(2, 1, 4);
    b.info[1] = 5;
    z32(b, 0)[0] = 65535;
    z32(b, 0)[1] = 3;
    b.bildwandel32_16();
    ASSERT_EQ(b.bpp, 2);
    EXPECT_EQ(z16(b, 0)[0], 65535);
    EXPECT_EQ(b.info[1], 0);  // a fresh image
    b.bildwandel16_32(20);  // more than 16: 16
    EXPECT_EQ(z32(b, 0)[0], 65535u << 16);
    b.bildwandel32_16();
    EXPECT_EQ(z16(b, 0)[0], 65535);
    EXPECT_EQ(z16(b, 0)[1], 3);
    b.speicher(2, 1, 4);
    z32(b, 0)[0] = 65536;
    z32(b, 0)[1] = 65535;
    b.bildwandel32_16();
    EXPECT_EQ(z16(b, 0)[0], 32768);
    EXPECT_EQ(z16(b, 0)[1], 32767);
    b.bildwandel16_32(-1);  // modulo 32: 31
    EXPECT_EQ(z32(b, 0)[1], 2147483648u);

    CBILD a(0, 0), o(0, 0);
    fuellen(a, 2, 2, 4, 0, 256);
    o.setzen_ohne_alpha(&a);
    ASSERT_EQ(o.bpp, 3);
    EXPECT_EQ(o.flag, 4);
    EXPECT_EQ(o.farbe32, 0);
    EXPECT_EQ(o.zeile[1][3], a.zeile[1][6]);  // blue-first source comes out red first
    a.farbe32 = 0;
    o.setzen_ohne_alpha(&a);
    EXPECT_EQ(o.bpp, 4);
    EXPECT_EQ(0, std::memcmp(o.puffer, a.puffer, 16));
}
