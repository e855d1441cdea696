// Image object, region fitting, colour line conversion, file names.
#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <vector>

#include "bildlib.h"

TEST(Bild, SpeicherReusesSameSizeAndLaysRowsOut) {
    CBILD b(0, 0);
    EXPECT_EQ(b.speicher(5, 3, 3), 1);
    EXPECT_EQ(b.puffergroesse, 45u);
    for (int y = 0; y < 3; ++y) EXPECT_EQ(b.zeile[y], b.puffer + 15 * y);
    b.puffer[7] = 99;
    b.palette[0] = 5;
    unsigned char* alt = b.puffer;
    EXPECT_EQ(b.speicher(5, 3, 3), 1);  // same size: storage and content kept
    EXPECT_EQ(b.puffer, alt);
    EXPECT_EQ(b.puffer[7], 99);
    EXPECT_EQ(b.palette[0], 5u);
    EXPECT_EQ(b.speicher(5, 3, 1), 1);  // other depth: reallocated
    EXPECT_EQ(b.palette[0], 0u);
}

TEST(Bild, ZeroAndNegativeSizes) {
    CBILD a(0, 0);
    EXPECT_EQ(a.speicher(0, 5, 1), 1);
    EXPECT_EQ(a.breite, 0);
    EXPECT_EQ(a.hoehe, 0);
    EXPECT_EQ(a.zeile, nullptr);

    CBILD tabelle(0, 5);  // constructor keeps a row-table-only image
    EXPECT_EQ(tabelle.hoehe, 5);
    EXPECT_EQ(tabelle.breite, 0);
    EXPECT_NE(tabelle.zeile, nullptr);
    EXPECT_EQ(tabelle.puffer, nullptr);

    CBILD c(4, 4);
    EXPECT_EQ(c.speicher(10, 0, 3), 0);
    EXPECT_EQ(c.bpp, 3);
    EXPECT_EQ(c.zeile, nullptr);
    EXPECT_EQ(c.puffergroesse, 0u);
}

TEST(Bild, OversizeFailsLikeTheAllocator) {
    CBILD b(0, 0);
    EXPECT_THROW(b.speicher(70000, 70000, 1), std::bad_alloc);  // > 4 GiB
    EXPECT_THROW(b.speicher(10, 10, -1), std::bad_alloc);
    EXPECT_THROW(b.speicher(1, 1 << 30, 1), std::bad_alloc);  // absurd row table
    EXPECT_EQ(b.zeile, nullptr);
    EXPECT_THROW(b.speicher1(-1), std::bad_alloc);
    EXPECT_EQ(b.speicher(2, 2, 1), 1);  // still usable
}

TEST(Bild, CopyCompactsClearsPalette255AndCarriesFields) {
    // Source rows in external memory, reached through a row-table-only image.
    std::vector<unsigned char> extern_mem(100);
    for (size_t i = 0; i < extern_mem.size(); ++i) extern_mem[i] = (unsigned char)i;
    CBILD src(0, 3);
    src.breite = 4;
    src.bpp = 2;
    for (int y = 0; y < 3; ++y) src.zeile[y] = extern_mem.data() + 30 * y;
    src.flag = 4;
    src.info[2] = 7;
    src.farbe32 = 256;
    src.zusatz = -3;
    for (int i = 0; i < 256; ++i) src.palette[i] = 1000u + i;

    CBILD dst(0, 0);
    dst = src;
    ASSERT_EQ(dst.hoehe, 3);
    EXPECT_EQ(dst.puffergroesse, 24u);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(dst.zeile[y], dst.puffer + 8 * y);
        EXPECT_EQ(0, std::memcmp(dst.zeile[y], extern_mem.data() + 30 * y, 8));
    }
    EXPECT_EQ(dst.palette[254], 1254u);
    EXPECT_EQ(dst.palette[255], 0u);
    EXPECT_EQ(dst.flag, 4);
    EXPECT_EQ(dst.info[2], 7);
    EXPECT_EQ(dst.farbe32, 256);
    EXPECT_EQ(dst.zusatz, -3);

    CBILD kopie(dst);
    EXPECT_NE(kopie.puffer, dst.puffer);
    EXPECT_EQ(0, std::memcmp(kopie.puffer, dst.puffer, 24));

    CBILD leer(0, 0);
    leer = CBILD(0, 5);  // row-table-only source (width 0): empty result
    EXPECT_EQ(leer.hoehe, 0);
    kopie.setzen(nullptr);
    EXPECT_EQ(kopie.zeile, nullptr);
}

TEST(Bild, TestImageAndSwapAndRename) {
    CBILD a(1, 1);
    a.speicher(1, 1, 6);
    EXPECT_EQ(CBILD::testImage(&a), 2);
    a.speicher(1, 1, 4);
    a.farbe32 = 256;
    EXPECT_EQ(CBILD::testImage(&a), 1);
    CBILD e(0, 10);
    EXPECT_EQ(CBILD::testImage(&e), 0);
    EXPECT_EQ(CBILD::testImage(nullptr), 0);

    CBILD b(3, 2);
    b.puffer[0] = 42;
    b.info[0] = 9;
    unsigned char* pixel = b.puffer;
    bildrename(&b, &b);
    EXPECT_EQ(b.puffer, pixel);
    CBILD c(7, 7);
    bildrename(&b, &c);
    EXPECT_EQ(c.puffer, pixel);
    EXPECT_EQ(c.breite, 3);
    EXPECT_EQ(c.info[0], 9);
    EXPECT_EQ(b.breite, 0);
    EXPECT_EQ(b.hoehe, 0);
    EXPECT_EQ(b.puffergroesse, 0u);
    EXPECT_EQ(b.zeile, nullptr);
}

TEST(Teilbereich, FitMovesInsteadOfCutting) {
    struct Fall { int x, w, limit, x2, w2; };
    const Fall faelle[] = {
        {-10, 100, 500, 0, 100}, {450, 100, 500, 400, 100}, {0, 600, 500, 0, 500},
        {20, 30, 500, 20, 30},   {-5, 600, 500, 0, 500},    {2147483000, 2000, 500, 0, 500},
    };
    for (const Fall& f : faelle) {
        CTeilbereich t(f.x, f.x, f.w, f.w);
        t.testteilx(f.limit);
        t.testteily(f.limit);
        EXPECT_EQ(t.links, f.x2) << f.x << " " << f.w;
        EXPECT_EQ(t.breite, f.w2) << f.x << " " << f.w;
        EXPECT_EQ(t.oben, f.x2);
        EXPECT_EQ(t.hoehe, f.w2);
    }
    CTeilbereich t;
    t.setzteilbild(40, 30, 35, -4, 10, 10);
    EXPECT_EQ(t.links, 30);
    EXPECT_EQ(t.oben, 0);
    EXPECT_EQ(t.schrittx, 1);
}

TEST(Zeile, ModesAndRoundTrips) {
    unsigned char in[6] = {1, 2, 3, 4, 5, 6}, out[6], back[6];
    wandelzeile8(0, in, 2, out);
    EXPECT_EQ(std::vector<int>(out, out + 6), (std::vector<int>{3, 2, 1, 6, 5, 4}));
    wandelzeile8(1, in, 2, out);
    EXPECT_EQ(std::vector<int>(out, out + 6), (std::vector<int>{1, 4, 2, 5, 3, 6}));
    wandelzeile8(3, out, 2, back);
    EXPECT_EQ(0, std::memcmp(in, back, 6));
    wandelzeile8(2, in, 2, out);
    EXPECT_EQ(std::vector<int>(out, out + 6), (std::vector<int>{3, 6, 2, 5, 1, 4}));
    wandelzeile8(4, out, 2, back);
    EXPECT_EQ(0, std::memcmp(in, back, 6));
    unsigned char m5[6], m2[6], mneg[6];
    wandelzeile8(5, in, 2, m5);
    wandelzeile8(-1, in, 2, mneg);
    wandelzeile8(2, in, 2, m2);
    EXPECT_EQ(0, std::memcmp(m5, m2, 6));
    EXPECT_EQ(0, std::memcmp(mneg, m2, 6));

    unsigned char unberuehrt[6] = {9, 9, 9, 9, 9, 9};
    for (int mode = 0; mode < 6; ++mode) wandelzeile8(mode, in, 0, unberuehrt);
    wandelzeile8(1, in, -3, unberuehrt);
    EXPECT_EQ(unberuehrt[0], 9);

    unsigned short w[3] = {1000, 2000, 3000}, wo[3];
    wandelzeile16(0, w, 1, wo);
    EXPECT_EQ(wo[0], 3000);
    EXPECT_EQ(wo[2], 1000);
}

TEST(Zeile, Drop4thByte) {
    unsigned char px[8] = {10, 20, 30, 40, 11, 21, 31, 41}, o[6], o7[6];
    wandelzeile8b(0, px, 2, o);
    EXPECT_EQ(std::vector<int>(o, o + 6), (std::vector<int>{30, 20, 10, 31, 21, 11}));
    wandelzeile8b(4, px, 2, o);
    wandelzeile8b(7, px, 2, o7);
    EXPECT_EQ(std::vector<int>(o, o + 6), (std::vector<int>{10, 20, 30, 11, 21, 31}));
    EXPECT_EQ(0, std::memcmp(o, o7, 6));
    unsigned char planar[6] = {1, 2, 3, 4, 5, 6};  // planes of n = 2
    wandelzeile8b(1, planar, 2, o);
    EXPECT_EQ(std::vector<int>(o, o + 6), (std::vector<int>{5, 3, 1, 6, 4, 2}));
}

TEST(Dateiname, ExtensionsAndComparison) {
    EXPECT_EQ(testimagetypew(L"IMAGE.TIFF"), 2);
    EXPECT_EQ(testimagetypew(L"a.Bmp"), 3);
    EXPECT_EQ(testimagetypew(L"archive.tar.bia"), 0);
    EXPECT_EQ(testimagetypew(L"noext"), -1);
    EXPECT_EQ(testimagetypew(L"dir.old/file"), -1);
    EXPECT_EQ(testimagetypew(L"x.jpeg"), 7);
    EXPECT_EQ(testimagetypew(L"x.ti"), -1);
    EXPECT_EQ(testimagetypea("scan.BIR"), 4);
    EXPECT_EQ(testimagetypea("a.tif.bmp"), 3);
    const char* tab[] = {".x", "."};
    EXPECT_EQ(testtypa("ohne", tab, 2), 1);
    EXPECT_EQ(testtypa("a.x", tab, 0), -1);

    EXPECT_EQ(stricmp1("abc", "ABC"), 0);
    EXPECT_EQ(stricmp1("ab", "abc"), -1);
    EXPECT_EQ(stricmp1("abd", "ABC"), 1);
    EXPECT_EQ(wcsicmp1(L"\u00c4", L"\u00e4"), -1);  // only A-Z are lowered
    EXPECT_EQ(stricmp1("KVX RawImage", "kvx rawimage"), 0);

    EXPECT_EQ(getstellen(0), 0);
    EXPECT_EQ(getstellen(1), 1);
    EXPECT_EQ(getstellen(255), 8);
    EXPECT_EQ(getstellen(256), 9);
    EXPECT_EQ(getstellen(4294967295u), 32);
    char t[] = "3.14.5";
    EXPECT_EQ(excel(t), 0);
    EXPECT_STREQ(t, "3,14,5");
}

TEST(Dateiname, OpenRefusesNamesWithoutUtf8) {
    const wchar_t bad[] = {L'a', wchar_t(-61), L'.', L'b', L'm', L'p', 0};
    EXPECT_EQ(wfopen1(bad, L"rb"), nullptr);
    const wchar_t gross[] = {wchar_t(0x110000), 0};
    EXPECT_EQ(wfopen1(gross, L"wb"), nullptr);
    FILE* f = wfopen1(L"wfopen_\u00e4\U0001F600.tmp", L"wb");
    ASSERT_NE(f, nullptr);
    std::fclose(f);
    FILE* g = std::fopen("wfopen_\xc3\xa4\xf0\x9f\x98\x80.tmp", "rb");
    ASSERT_NE(g, nullptr);  // the same file under its UTF-8 name
    std::fclose(g);
    std::remove("wfopen_\xc3\xa4\xf0\x9f\x98\x80.tmp");
}
