// Image object, region fitting, colour line conversion, file names, pixel
// values, row and pixel access, depth conversion, sub-regions, display
// lines, gray images, caller memory. Regions outside or larger than the
// image run under the sanitizer build too.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <tuple>

#include "hilfe.h"

namespace {

using W = std::vector<long long>;

// A one-row image of the given samples, and the samples of a row back.
template <typename T>
CBILD zeile_aus(std::vector<T> werte, int bpp = int(sizeof(T))) {
    CBILD b(0, 0);
    b.speicher(int(werte.size() * sizeof(T)) / bpp, 1, bpp);
    std::memcpy(b.puffer, werte.data(), b.puffergroesse);
    return b;
}
W werte(const CBILD& b, int y = 0) {
    W w;
    const int groesse = b.bpp == 4 ? 4 : b.bpp % 2 ? 1 : 2;
    for (int i = 0; i < b.breite * b.bpp / groesse; ++i) {
        const unsigned char* p = b.zeile[y] + i * groesse;
        w.push_back(groesse == 1 ? *p : groesse == 2 ? *(const uint16_t*)p : *(const uint32_t*)p);
    }
    return w;
}
W bytes(const unsigned char* p, int n) { return W(p, p + n); }

}  // namespace

TEST(Bild, SpeicherKeepsSameSizeRefusesEmptyAndHuge) {
    CBILD b(0, 0), tabelle(0, 5);  // the constructor keeps a row-table-only image
    EXPECT_TRUE(tabelle.zeile && !tabelle.puffer);
    EXPECT_EQ(b.speicher(5, 3, 3), 1);
    for (int y = 0; y < 3; ++y) EXPECT_EQ(b.zeile[y], b.puffer + 15 * y);
    b.puffer[7] = 99, b.palette[0] = 5;
    unsigned char* alt = b.puffer;
    EXPECT_EQ(b.speicher(5, 3, 3), 1);  // same size: storage and content kept
    EXPECT_EQ(W({b.puffer == alt, b.puffer[7], b.palette[0]}), W({1, 99, 5}));
    EXPECT_EQ(W({b.speicher(5, 3, 1), b.palette[0]}), W({1, 0}));  // other depth: reallocated
    EXPECT_EQ(W({b.speicher(0, 5, 1), b.hoehe, b.zeile == nullptr}), W({1, 0, 1}));  // no columns: no rows, no error
    EXPECT_EQ(W({b.speicher(10, 0, 3), b.bpp, b.puffergroesse, b.zeile == nullptr}), W({0, 3, 0, 1}));
    for (auto [w, h, bpp] : {std::tuple{70000, 70000, 1}, {10, 10, -1}, {1, 1 << 30, 1}})  // > 4 GiB, absurd row table
        EXPECT_THROW(b.speicher(w, h, bpp), std::bad_alloc) << w << " " << h << " " << bpp;
    EXPECT_THROW(b.speicher1(-1), std::bad_alloc);
    EXPECT_EQ(b.speicher(2, 2, 1), 1);  // still usable
}

TEST(Bild, CopyCompactsClearsPalette255AndCarriesFields) {
    std::vector<unsigned char> mem(100);  // source rows in external memory
    for (size_t i = 0; i < mem.size(); ++i) mem[i] = (unsigned char)i;
    CBILD src(0, 3), dst(0, 0), leer(0, 0);
    src.breite = 4, src.bpp = 2, src.flag = 4, src.info[2] = 7, src.farbe32 = 256, src.zusatz = -3;
    for (int y = 0; y < 3; ++y) src.zeile[y] = mem.data() + 30 * y;
    for (int i = 0; i < 256; ++i) src.palette[i] = 1000u + i;
    dst = src;
    ASSERT_EQ(W({dst.hoehe, dst.puffergroesse}), W({3, 24}));
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(dst.zeile[y], dst.puffer + 8 * y);
        EXPECT_EQ(bytes(dst.zeile[y], 8), bytes(mem.data() + 30 * y, 8));
    }
    EXPECT_EQ(W({dst.palette[254], dst.palette[255], dst.flag, dst.info[2], dst.farbe32, dst.zusatz}),
              W({1254, 0, 4, 7, 256, -3}));
    CBILD kopie(dst);
    EXPECT_TRUE(kopie.puffer != dst.puffer && bytes(kopie.puffer, 24) == bytes(dst.puffer, 24));
    leer = CBILD(0, 5);  // row-table-only source (width 0): empty result
    EXPECT_EQ(leer.hoehe, 0);
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
        EXPECT_EQ(W({t.links, t.breite, t.oben, t.hoehe}), W({f.x2, f.w2, f.x2, f.w2})) << f.x << " " << f.w;
    }
    CTeilbereich t;
    t.setzteilbild(40, 30, 35, -4, 10, 10);
    EXPECT_EQ(W({t.links, t.oben, t.schrittx}), W({30, 0, 1}));
}

TEST(Zeile, ModesRoundTripsAndFourthByte) {
    unsigned char in[6] = {1, 2, 3, 4, 5, 6}, out[6], back[6], px[8] = {10, 20, 30, 40, 11, 21, 31, 41};
    const W soll[3] = {{3, 2, 1, 6, 5, 4}, {1, 4, 2, 5, 3, 6}, {3, 6, 2, 5, 1, 4}};
    for (int mode : {0, 1, 2, 5, -1}) {  // out of range: mode 2
        wandelzeile8(mode, in, 2, out);
        EXPECT_EQ(bytes(out, 6), soll[mode == 0 || mode == 1 ? mode : 2]) << mode;
        wandelzeile8(mode == 0 ? 0 : mode == 1 ? 3 : 4, out, 2, back);  // 3 and 4 undo 1 and 2, 0 itself
        EXPECT_EQ(bytes(back, 6), bytes(in, 6)) << mode;
    }
    unsigned char unberuehrt[6] = {9, 9, 9, 9, 9, 9};  // no pixels: nothing written
    for (int mode = 0; mode < 6; ++mode) wandelzeile8(mode, in, -mode, unberuehrt);
    EXPECT_EQ(unberuehrt[0], 9);
    const W ohne[3] = {{30, 20, 10, 31, 21, 11}, {5, 3, 1, 6, 4, 2}, {10, 20, 30, 11, 21, 31}};
    for (int mode : {0, 1, 4, 7}) {  // the fourth byte dropped; 1 reads planes of n = 2; 7 as 4
        wandelzeile8b(mode, mode == 1 ? in : px, 2, out);
        EXPECT_EQ(bytes(out, 6), ohne[std::min(mode, 2)]) << mode;
    }
}

TEST(Dateiname, ExtensionsComparisonAndUtf8Names) {
    EXPECT_EQ(W({testimagetypew(L"IMAGE.TIFF"), testimagetypew(L"archive.tar.bia"), testimagetypew(L"x.jpeg"),
                 testimagetypew(L"dir.old/file"), testimagetypew(L"x.ti"), testimagetypea("a.tif.bmp"),
                 testimagetypea("scan.BIR")}),
              W({2, 0, 7, -1, -1, 3, 4}));
    EXPECT_EQ(W({stricmp1("ab", "abc"), stricmp1("abd", "ABC"), wcsicmp1(L"\u00c4", L"\u00e4")}), W({-1, 1, -1}));  // A-Z only

    const wchar_t bad[] = {L'a', wchar_t(-61), L'.', L'b', L'm', L'p', 0}, gross[] = {wchar_t(0x110000), 0};
    EXPECT_TRUE(!wfopen1(bad, L"rb") && !wfopen1(gross, L"wb"));  // no UTF-8 form: nothing opened
    FILE* f = wfopen1(L"wfopen_\u00e4\U0001F600.tmp", L"wb");
    ASSERT_NE(f, nullptr);
    std::fclose(f);
    EXPECT_EQ(std::remove("wfopen_\xc3\xa4\xf0\x9f\x98\x80.tmp"), 0);  // the same file under its UTF-8 name
}

TEST(Pixelwerte, FillMosaicAndMultadd) {
    CBILD a(3, 3), flach(3, 1), w = zeile_aus<uint16_t>({0, 0});
    unsigned v[4] = {1, 2, 3, 4}, gross[4] = {0x12345, 0x1ffff, 7, 8};
    a.setzrawvalue(v);
    flach.setzrawvalue(v);  // one row: the odd row has nowhere to go
    w.setzrawvalue(gross);
    EXPECT_EQ(bytes(a.puffer, 9), (W{1, 2, 1, 3, 4, 3, 1, 2, 1}));
    EXPECT_EQ(werte(flach), (W{1, 2, 1}));
    EXPECT_EQ(werte(w), (W{0x2345, 0xffff}));

    // Rounded half up, then clamped: factor, offset, sample, result.
    struct Fall { double f, o; int s, soll; };
    const Fall faelle[] = {{1, 0, 200, 200}, {0.5, 0, 1, 1},  {0.5, 0, 3, 2},      {2, 0, 127, 254}, {2, 0, 128, 255},
                           {1, -10, 10, 0},  {1, -10, 11, 1}, {1, -0.5, 255, 255}, {NAN, 0, 9, 0},   {-1, 0, 3, 0}};
    for (const Fall& f : faelle) {
        CBILD c = zeile_aus<uint8_t>({0, 0, uint8_t(f.s)}, 3);  // every colour byte is mapped
        c.multaddwert(f.f, f.o);
        EXPECT_EQ(c.puffer[2], f.soll) << f.f << " " << f.o << " " << f.s;
    }
    CBILD s = zeile_aus<uint16_t>({32767, 32768, 2, 0, 0, 0}, 6), g = zeile_aus<uint32_t>({5});
    s.multaddwert(2.0, 0.0);
    EXPECT_EQ(werte(s), (W{65534, 65535, 4, 0, 0, 0}));
    s.multaddwert(1.0, -3.6);  // 4 - 3.6 + 0.5 = 0.9
    g.multaddwert(0.0, 0.0);   // 32 bits: left alone
    EXPECT_EQ(W({werte(s)[2], werte(g)[0]}), W({0, 5}));
}

TEST(Zugriff, RowsColumnsAndRawChannel) {
    double d[2] = {-1, -1};
    zeile_aus<uint32_t>({4294967295u}).lesezeile(0, d);
    zeile_aus<uint32_t>({7}).lesespalte(0, d + 1);  // 32-bit columns are not served
    EXPECT_EQ(W(d, d + 2), (W{4294967295, -1}));
    CBILD m(0, 0), k(0, 0);
    m.speicher(5, 5, 2);
    for (int i = 0; i < 25; ++i) ((uint16_t*)m.puffer)[i] = uint16_t(1000 + 10 * (i / 5) + i % 5);
    k.setzrohkanal(3, &m);
    ASSERT_EQ(k.hoehe, 2);  // every second pixel from (1, 1)
    EXPECT_EQ(werte(k, 0), (W{1011, 1013}));
    EXPECT_EQ(werte(k, 1), (W{1031, 1033}));
    m.setzrohkanal(2, &m);  // from itself
    EXPECT_EQ(werte(m, 1), (W{1030, 1032}));
}

TEST(Zugriff, GetrgbAndMinMaxQuirks) {
    CBILD b = zeile_aus<uint8_t>({1, 2, 3, 4, 5, 6, 7, 8, 9}, 3);
    int r = -1, g = -1, bl = -1;
    auto rgb = [&](const CBILD& bild, int x) { return bild.getrgb(x, 0, &r, &g, &bl) ? W{} : W{r, g, bl}; };
    EXPECT_EQ(W({b.getrgb(-1, 0, &r, &g, &bl), b.getrgb(3, 1, &r, &g, &bl), b.getrgb(-1, -1, &r, &g, &bl), r}),
              (W{1, 10, 5, -1}));
    EXPECT_EQ(rgb(b, 1), (W{6, 5, 4}));
    b.flag = 4;
    EXPECT_EQ(rgb(b, 1), (W{4, 5, 6}));
    b.flag = 1;  // planar: column 0 whatever x
    EXPECT_EQ(rgb(b, 2), (W{7, 4, 1}));
    CBILD s = zeile_aus<uint16_t>({10, 11, 20, 21, 30, 31}, 6), v = zeile_aus<uint32_t>({0x01020304, 0x05060708});
    s.flag = 7;
    EXPECT_EQ(rgb(s, 1), (W{30, 20, 10}));
    EXPECT_EQ(rgb(v, 1), (W{3, 3, 3}));  // 4-byte gray: the byte at x
    v.farbe32 = 256;
    EXPECT_EQ(rgb(v, 1), (W{6, 7, 8}));

    auto minmax = [](const CBILD& bild) {
        unsigned lo = 9, hi = 9;
        bild.getminmax(&lo, &hi);
        return W{lo, hi};
    };
    EXPECT_EQ(minmax(zeile_aus<uint8_t>({50, 1, 255})), (W{50, 50}));  // first pixel only
    EXPECT_EQ(minmax(zeile_aus<uint8_t>({9, 8, 200, 1, 0, 0}, 3)), (W{8, 9}));  // first width bytes
    EXPECT_EQ(minmax(zeile_aus<uint16_t>({500, 400, 60000, 2, 300, 301}, 6)), (W{2, 60000}));
    EXPECT_EQ(minmax(zeile_aus<uint32_t>({4000000000u, 5})), (W{5, 4000000000}));
    EXPECT_EQ(minmax(CBILD(0, 0)), (W{0, 0}));
}

TEST(Tiefe, ShiftsSaturationAndRegions) {
    CBILD src(0, 0), d(0, 0);
    src.speicher(4, 3, 4);
    for (int i = 0; i < 12; ++i) ((uint32_t*)src.puffer)[i] = i == 2 ? 2000 : i == 3 ? 0xab00 : 70000u * i;
    EXPECT_EQ(d.set32_16_teil(&src, nullptr, 0), 0);
    EXPECT_EQ(werte(d), (W{0, 65535, 2000, 0xab00}));
    d.set32_8_teil(&src, nullptr, 34);  // 34 & 31 = 2
    EXPECT_EQ(werte(d), (W{0, 255, 255, 255}));
    d.set32_8_teil(&src, nullptr, 40);
    EXPECT_EQ(werte(d), (W{0, 255, 7, 0xab}));
    CTeilbereich t(3, -1, 2, 2);  // moved to columns 2..3, rows 0..1
    EXPECT_EQ(d.set32_16_teil(&src, &t, 4), 0);
    EXPECT_EQ(W({t.links, t.oben, werte(d, 1)[1]}), (W{2, 0, (70000 * 7) >> 4}));
    EXPECT_EQ(d.set32_16_teil(&d, nullptr, 0) + d.set32_8_teil(nullptr, nullptr, 0), 2);  // 16-bit or no source

    CBILD b = zeile_aus<uint32_t>({65535, 3});
    b.info[1] = 5;
    b.bildwandel32_16();
    EXPECT_EQ(W({b.bpp, werte(b)[0], b.info[1]}), (W{2, 65535, 0}));  // a fresh image
    b.bildwandel16_32(20);  // more than 16: 16
    EXPECT_EQ(werte(b), (W{65535ll << 16, 3 << 16}));
    b.bildwandel32_16();  // that maximum needs shift 16
    EXPECT_EQ(werte(b), (W{65535, 3}));
    b = zeile_aus<uint32_t>({65536, 65535});
    b.bildwandel32_16();
    EXPECT_EQ(werte(b), (W{32768, 32767}));
    b.bildwandel16_32(-1);  // modulo 32: 31
    EXPECT_EQ(werte(b)[1], 2147483648);

    CBILD a = zeile_aus<uint8_t>({1, 2, 3, 4, 5, 6, 7, 8}, 4), o(0, 0);
    a.farbe32 = 256;
    o.setzen_ohne_alpha(&a);
    EXPECT_EQ(werte(o), (W{3, 2, 1, 7, 6, 5}));
    EXPECT_EQ(W({o.flag, o.farbe32}), (W{4, 0}));
    a.farbe32 = 0;  // gray: copied as it is
    o.setzen_ohne_alpha(&a);
    EXPECT_EQ(o.bpp, 4);
}

TEST(Teilbild, CutAndPasteEveryDepthAndRegion) {
    struct Art { int bpp, flag, farbe32; };
    const Art arten[] = {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {3, 1, 0}, {4, 0, 0}, {4, 2, 256}, {6, 4, 0}, {6, 3, 0}};
    const CTeilbereich regionen[] = {{0, 0, 5, 4},   {32, 19, 5, 4},           {-3, -2, 5, 4}, {35, 21, 5, 4},
                                     {10, 5, 17, 9}, {-100, -100, 1000, 1000}, {5, 5, -3, 4},  {2000000000, 3, 7, 2}};
    for (const Art& a : arten) {
        CBILD b(0, 0);
        b.speicher(37, 23, a.bpp);
        b.flag = a.flag, b.farbe32 = a.farbe32;
        for (unsigned i = 0; i < b.puffergroesse; ++i) b.puffer[i] = (unsigned char)(i * 5 + i / 97 + 1);
        const int ebenen = b.istplanar() ? (a.bpp == 6 ? 3 : a.bpp) : 1, pb = a.bpp / ebenen;
        for (CTeilbereich t : regionen) {
            SCOPED_TRACE(testing::Message() << a.bpp << "/" << a.flag << " at " << t.links << "," << t.oben);
            CBILD teil(0, 0);
            ASSERT_EQ(teil.setzteil(&b, &t), 0);
            if (t.breite < 1 && teil.hoehe == 0) continue;
            ASSERT_TRUE(t.links >= 0 && t.links + t.breite <= 37 && t.oben >= 0 && t.oben + t.hoehe <= 23);
            EXPECT_EQ(teil.flag, a.flag);
            for (int i = 0; i < t.hoehe; ++i)
                for (int p = 0; p < ebenen; ++p)
                    ASSERT_EQ(bytes(teil.zeile[i] + p * t.breite * pb, t.breite * pb),
                              bytes(b.zeile[t.oben + i] + (p * 37 + t.links) * pb, t.breite * pb));
            // Blank the region in a copy and paste the part back: the whole
            // image is the original again, so nothing outside it moved.
            CBILD ziel(b), leer(teil);
            std::memset(leer.puffer, 0, leer.puffergroesse);
            ASSERT_EQ(ziel.einfuegen(&leer, t.links, t.oben), 0);
            EXPECT_NE(0, std::memcmp(ziel.puffer, b.puffer, b.puffergroesse));
            ASSERT_EQ(ziel.einfuegen(&teil, t.links, t.oben), 0);
            EXPECT_EQ(0, std::memcmp(ziel.puffer, b.puffer, b.puffergroesse));
        }
    }
    CBILD ziel(0, 0), gross(0, 0), leer(0, 0), klein = zeile_aus<uint16_t>({1, 2, 3, 4});
    gross.speicher(50, 30, 2);
    for (int y = 0; y < 30; ++y) ((uint16_t*)gross.zeile[y])[36] = uint16_t(y);
    ziel.speicher(37, 23, 2);
    ASSERT_EQ(ziel.einfuegen(&gross, -5, -5), 0);  // larger: its top-left part
    ASSERT_EQ(ziel.einfuegen(&klein, 35, 30), 0);  // moved to columns 33..36 of the last row
    EXPECT_EQ(W({werte(ziel, 21)[36], werte(ziel, 22)[33]}), W({21, 1}));
    CBILD rgb = zeile_aus<uint8_t>({1, 2, 3}, 3), bgr = rgb;  // other layouts are refused
    rgb.flag = 4;
    EXPECT_EQ(rgb.einfuegen(&bgr, 0, 0) + rgb.einfuegen(&klein, 0, 0) + rgb.einfuegen(&leer, 0, 0) +
                  leer.einfuegen(&rgb, 0, 0) + leer.setzteil(&leer, nullptr),
              5);
}

TEST(Anzeige, ShiftSaturationLayoutsAndGray) {
    CBILD w = zeile_aus<uint16_t>({65535, 256, 1023});
    unsigned char z[12];
    ASSERT_EQ(w.anzeigezeile(0, z, 1, 8), 0);
    EXPECT_EQ(bytes(z, 3), (W{255, 1, 3}));
    w.anzeigezeile(0, z, 3, 2);  // 1023 >> 2 = 255, 65535 >> 2 saturates
    EXPECT_EQ(bytes(z, 9), (W{255, 255, 255, 64, 64, 64, 255, 255, 255}));
    EXPECT_EQ(W({w.anzeigeschiebung(), w.anzeigezeile(1, z, 1, 0), w.anzeigezeile(0, z, 2, 0)}), (W{8, 1, 1}));
    w = zeile_aus<uint32_t>({0xab000000u});
    w.anzeigezeile(0, z, 1, 56);  // 56 & 31 = 24
    EXPECT_EQ(W({z[0], w.anzeigeschiebung()}), (W{0xab, 24}));

    // Red, green, blue, white in every layout: one display row, one gray image.
    const unsigned char farben[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    for (int flag : {0, 4, 1}) {
        CBILD f(0, 0), g(0, 0);
        f.speicher(4, 1, 3);
        f.flag = flag;
        for (int x = 0; x < 4; ++x)
            for (int c = 0; c < 3; ++c)  // 2 - c counts the sample from blue
                f.puffer[flag == 0 ? 3 * x + 2 - c : flag == 4 ? 3 * x + c : 4 * (2 - c) + x] = farben[x][c];
        f.anzeigezeile(0, z, 3, 0);
        EXPECT_EQ(bytes(z, 12), (W{255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}));
        f.anzeigezeile(0, z, 1, 0);
        ASSERT_EQ(g.setzgrau(&f), 0);
        EXPECT_EQ(bytes(z, 4), (W{76, 150, 29, 255}));
        EXPECT_EQ(werte(g), (W{76, 150, 29, 255}));
    }
    CBILD s = zeile_aus<uint16_t>({0, 0, 65535, 0, 1, 0}, 6), g(0, 0);  // blue first: red, green
    ASSERT_EQ(g.setzgrau(&s), 0);
    EXPECT_EQ(werte(g), (W{19596, 1}));  // 19595.7 and 0.587 both round up
    s = zeile_aus<uint8_t>({200, 50, 100, 9}, 4);
    s.farbe32 = 256;
    EXPECT_EQ(W({g.setzgrau(&s), g.bpp, g.puffer[0]}), (W{0, 1, 82}));
    s.farbe32 = 0;  // gray: a plain copy
    EXPECT_EQ(W({g.setzgrau(&s), g.bpp, g.setzgrau(nullptr)}), (W{0, 4, 1}));
}

TEST(Extern, WrapsCallerMemoryAndCopiesCompact) {
    std::vector<uint16_t> mem(5 * 4, 7);  // 3 samples per row, stride 5
    for (int i = 0; i < 20; ++i) mem[size_t(i)] = i % 5 < 3 ? uint16_t(100 * (i / 5) + i % 5) : 7;
    unsigned char* daten = reinterpret_cast<unsigned char*>(mem.data());
    {
        CBILD e(2, 2), k(0, 0);
        ASSERT_EQ(e.setimage(daten, 3, 4, 2, 10, 0), 1);
        EXPECT_EQ(e.puffer, nullptr);
        k.setzen(&e);
        ASSERT_EQ(k.puffergroesse, 24u);
        for (int y = 0; y < 4; ++y) EXPECT_EQ(werte(k, y), (W{100 * y, 100 * y + 1, 100 * y + 2}));
        e.setzwert(5);  // writes reach the caller's rows, not its padding
        EXPECT_EQ(W({mem[7], mem[8]}), (W{5, 7}));
        e.bildwandel16_32(0);  // now owned storage, freed with the image; the caller's rows are not
    }
    CBILD e(0, 0);
    EXPECT_EQ(e.setimage(daten, 3, 4, 2, 9, 0) + e.setimage(daten + 1, 3, 4, 2, 10, 0) +
                  e.setimage(daten, 3, 4, 2, 4, 0) + e.setimage(daten, 3, 4, 5, 0, 0) +
                  e.setimage(daten, 0, 4, 1, 0, 0) + e.setimage(daten, 1 << 30, 1, 4, 0, 0) + e.hoehe,
              0);
    ASSERT_EQ(e.setimage(daten, 2, 2, 4, 0, 4, true), 1);  // stride 0: packed rows
    EXPECT_EQ(W({e.farbe32, e.zeile[1] - daten}), (W{256, 8}));
}
