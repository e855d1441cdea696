// The image object: storage, copies, regions, the line kernels at every
// length around their blocks, file names, pixel values, access, depth
// conversion, sub-regions, display rows, gray images, caller memory.
#include <cmath>
#include <cstring>
#include <new>
#include <tuple>

#include "hilfe.h"

namespace {

// A one-row image of the given samples, and the samples of a row back.
template <typename T>
CBILD zeile_aus(std::vector<T> werte, int bpp = int(sizeof(T))) {
    CBILD b(0, 0);
    b.speicher(int(werte.size() * sizeof(T)) / bpp, 1, bpp);
    std::memcpy(b.puffer, werte.data(), b.puffergroesse);
    return b;
}
V werte(const CBILD& b, int y = 0) {
    V v;
    const int g = b.bpp == 4 ? 4 : b.bpp % 2 ? 1 : 2;
    const Bytes z = zeile_von(b, y);
    for (size_t i = 0; i < z.size(); i += size_t(g)) v.push_back(g == 1 ? z[i] : g == 2 ? get16(z, i) : get32(z, i));
    return v;
}
V bytes(const unsigned char* p, int n) { return V(p, p + n); }

template <typename T>
std::vector<T> zahlen(size_t n, uint32_t saat) {
    std::vector<T> v(n);
    for (T& e : v) e = T((saat = saat * 1103515245u + 12345u) >> 9);
    return v;
}

// Every length around the kernels' blocks of 4 pixels and 48 bytes against the rule of each: for sample c of
// pixel i of n, where it lands and where it comes from. wandelzeile8/16 modes 0-4 (art 8, 16; other modes as 2),
// wandelzeile8b flags 0, 1, 4 (art 4; others as 4).
template <typename T>
void pruefe_kern(int art, int m) {
    for (size_t n = 0; n <= 70; ++n) {
        auto src = zahlen<T>(4 * n + 1, uint32_t(n));
        std::vector<T> dst(3 * n + 1, T(7));
        auto* s8 = reinterpret_cast<unsigned char*>(src.data());
        if (art == 4) wandelzeile8b(m, s8, int(n), reinterpret_cast<unsigned char*>(dst.data()));
        if (art == 8) wandelzeile8(m, s8, int(n), dst.data());
        if (art == 16) wandelzeile16(m, reinterpret_cast<unsigned short*>(src.data()), int(n), dst.data());
        for (size_t k = 0; k < 3 * n; ++k) {
            const size_t i = k / 3, c = k % 3, s = 3 * i + c, ebene = (2 - c) * n + i;
            const size_t ziel = art == 4 || m == 0 || m == 3 || m == 4 ? s : m == 1 ? c * n + i : ebene;
            const size_t quelle = art == 4 ? (m == 1 ? ebene : m == 0 ? 4 * i + 2 - c : 4 * i + c)
                                  : m == 0 ? 3 * i + 2 - c : m == 3 ? c * n + i : m == 4 ? ebene : s;
            ASSERT_EQ(dst[ziel], src[quelle]) << art << "/" << m << " n " << n << " pixel " << i;
        }
        ASSERT_EQ(dst.back(), T(7)) << "written past the row: " << art << "/" << m << " n " << n;
    }
}

}  // namespace

TEST(Bild, SpeicherKeepsSameSizeRefusesEmptyAndHugeCopiesCompact) {
    CBILD b(0, 0), src(0, 3), dst(0, 0), leer(0, 0);
    EXPECT_EQ(V({b.speicher(5, 3, 3), b.zeile[2] - b.puffer}), V({1, 30}));
    b.puffer[7] = 99, b.palette[0] = 5;
    unsigned char* alt = b.puffer;
    EXPECT_EQ(V({b.speicher(5, 3, 3), b.puffer == alt, b.puffer[7], b.palette[0]}), V({1, 1, 99, 5}));  // same size: kept
    EXPECT_EQ(V({b.speicher(5, 3, 1), b.palette[0]}), V({1, 0}));  // other depth: reallocated
    EXPECT_EQ(V({b.speicher(0, 5, 1), b.hoehe, b.zeile == nullptr}), V({1, 0, 1}));  // no columns: no rows, no error
    EXPECT_EQ(V({b.speicher(10, 0, 3), b.bpp, b.puffergroesse, b.zeile == nullptr}), V({0, 3, 0, 1}));
    for (auto [w, h, bpp] : {std::tuple{70000, 70000, 1}, {10, 10, -1}, {1, 1 << 30, 1}})  // > 4 GiB, absurd row table
        EXPECT_THROW(b.speicher(w, h, bpp), std::bad_alloc) << w << " " << h << " " << bpp;
    EXPECT_THROW(b.speicher1(-1), std::bad_alloc);
    EXPECT_EQ(b.speicher(2, 2, 1), 1);  // still usable
    // A copy of rows in external memory, 30 bytes apart: compact, its own, palette entry 255 cleared.
    std::vector<unsigned char> mem(100);
    for (size_t i = 0; i < mem.size(); ++i) mem[i] = (unsigned char)i;
    src.breite = 4, src.bpp = 2, src.flag = 4, src.info[2] = 7, src.farbe32 = 256, src.zusatz = -3;
    for (int y = 0; y < 3; ++y) src.zeile[y] = mem.data() + 30 * y;
    for (int i = 0; i < 256; ++i) src.palette[i] = 1000u + i;
    dst = src;
    ASSERT_EQ(V({dst.hoehe, dst.puffergroesse}), V({3, 24}));
    for (int y = 0; y < 3; ++y)
        EXPECT_TRUE(dst.zeile[y] == dst.puffer + 8 * y && bytes(dst.zeile[y], 8) == bytes(mem.data() + 30 * y, 8));
    CBILD k(dst);
    EXPECT_EQ(V({k.palette[254], k.palette[255], k.flag, k.info[2], k.farbe32, k.zusatz, k.puffer != dst.puffer}),
              V({1254, 0, 4, 7, 256, -3, 1}));
    leer = CBILD(0, 5);  // row-table-only source (width 0): empty result
    EXPECT_EQ(leer.hoehe, 0);
}

TEST(Teilbereich, FitMovesInsteadOfCutting) {
    struct Fall { int x, w, limit, x2, w2; };
    for (const Fall& f : {Fall{-10, 100, 500, 0, 100}, {450, 100, 500, 400, 100}, {0, 600, 500, 0, 500}, {20, 30, 500, 20, 30},
                          {400, 100, 500, 400, 100}, {-5, 600, 500, 0, 500}, {2147483000, 2000, 500, 0, 500}}) {
        CTeilbereich t(f.x, f.x, f.w, f.w);
        t.testteilx(f.limit), t.testteily(f.limit);
        EXPECT_EQ(V({t.links, t.breite, t.oben, t.hoehe}), V({f.x2, f.w2, f.x2, f.w2})) << f.x << " " << f.w;
    }
    CTeilbereich t;
    t.setzteilbild(40, 30, 35, -4, 10, 10);
    EXPECT_EQ(V({t.links, t.oben, t.schrittx}), V({30, 0, 1}));
}

TEST(Zeile, KernelsMatchTheirPixelRulesAtEveryLength) {
    for (int m : {0, 1, 2, 3, 4, 5, -1}) pruefe_kern<unsigned char>(8, m), pruefe_kern<unsigned short>(16, m);
    for (int flag : {0, 1, 4, 7}) pruefe_kern<unsigned char>(4, flag);
    unsigned char in[6] = {1, 2, 3, 4, 5, 6}, unberuehrt[6] = {9, 9, 9, 9, 9, 9};  // negative count: nothing written
    for (int m = 0; m < 6; ++m) wandelzeile8(m, in, -m - 1, unberuehrt), wandelzeile8b(m, in, -m - 1, unberuehrt);
    EXPECT_EQ(unberuehrt[0], 9);
    CBmp bmp;  // 32-bit BMP pixels unpacked in pieces of 256
    for (auto [r, g, b] : {std::tuple{16, 8, 0}, {11, 5, 0}, {0, 31, 3}})
        for (int n : {0, 1, 3, 4, 5, 255, 256, 257, 517}) {
            bmp.rshift = r, bmp.gshift = g, bmp.bshift = b;
            auto src = zahlen<unsigned int>(size_t(n), 99);
            Bytes dst(3 * size_t(n) + 1, 7), soll;
            bmp.wandel32(src.data(), n, dst.data());
            for (unsigned p : src) soll.insert(soll.end(), {uint8_t(p >> b), uint8_t(p >> g), uint8_t(p >> r)});
            soll.push_back(7);
            ASSERT_EQ(dst, soll) << r << " " << n;
        }
}

TEST(Dateiname, ExtensionsComparisonAndUtf8Names) {
    EXPECT_EQ(V({testimagetypew(L"IMAGE.TIFF"), testimagetypew(L"archive.tar.bia"), testimagetypew(L"x.jpeg"),
                 testimagetypew(L"dir.old/file"), testimagetypew(L"x.ti"), testimagetypea("a.tif.bmp"),
                 testimagetypea("scan.BIR")}),
              V({2, 0, 7, -1, -1, 3, 4}));
    EXPECT_EQ(V({stricmp1("ab", "abc"), stricmp1("abd", "ABC"), wcsicmp1(L"\u00c4", L"\u00e4")}), V({-1, 1, -1}));  // A-Z only
    const wchar_t gross[] = {wchar_t(0x110000), 0};  // no UTF-8 form: nothing opened; else the file of its UTF-8 name
    FILE* f = wfopen1(L"wfopen_\u00e4\U0001F600.tmp", L"wb");
    EXPECT_EQ(V({!wfopen1(gross, L"wb"), f && !std::fclose(f), std::remove("wfopen_\xc3\xa4\xf0\x9f\x98\x80.tmp")}), V({1, 1, 0}));
}

TEST(Pixelwerte, FillMosaicAndMultadd) {
    CBILD a(3, 3), flach(3, 1), w = zeile_aus<uint16_t>({0, 0});
    unsigned v[4] = {1, 2, 3, 4}, gross[4] = {0x12345, 0x1ffff, 7, 8};
    a.setzrawvalue(v), flach.setzrawvalue(v), w.setzrawvalue(gross);  // one row: the odd row has nowhere to go
    EXPECT_EQ(bytes(a.puffer, 9), (V{1, 2, 1, 3, 4, 3, 1, 2, 1}));
    EXPECT_EQ(V({werte(flach)[0], werte(flach)[1], werte(flach)[2], werte(w)[0], werte(w)[1]}), (V{1, 2, 1, 0x2345, 0xffff}));
    // Rounded half up, then clamped: factor, offset, sample, result.
    struct Fall { double f, o; int s, soll; };
    for (const Fall& f : {Fall{1, 0, 200, 200}, {0.5, 0, 1, 1}, {0.5, 0, 3, 2}, {2, 0, 127, 254}, {2, 0, 128, 255},
                          {1, -10, 10, 0}, {1, -10, 11, 1}, {1, -0.5, 255, 255}, {NAN, 0, 9, 0}, {-1, 0, 3, 0}}) {
        CBILD c = zeile_aus<uint8_t>({0, 0, uint8_t(f.s)}, 3);  // every colour byte is mapped
        c.multaddwert(f.f, f.o);
        EXPECT_EQ(c.puffer[2], f.soll) << f.f << " " << f.o << " " << f.s;
    }
    CBILD s = zeile_aus<uint16_t>({32767, 32768, 2, 0, 0, 0}, 6), g = zeile_aus<uint32_t>({5});
    s.multaddwert(2.0, 0.0);
    EXPECT_EQ(werte(s), (V{65534, 65535, 4, 0, 0, 0}));  // 16 bits saturate too
    s.multaddwert(1.0, -3.6), g.multaddwert(0.0, 0.0);  // 4 - 3.6 + 0.5 = 0.9; 32 bits: left alone
    EXPECT_EQ(V({werte(s)[2], werte(g)[0]}), V({0, 5}));
    // Small images map byte by byte, those of a megabyte and more by pairs: odd rows leave a tail byte either way.
    for (auto [bpp, hoehe] : {std::pair{1, 3}, {3, 3}, {1, 1100}, {3, 1100}}) {
        CBILD b(0, 0);
        b.speicher(hoehe == 3 ? 37 : 1001, hoehe, bpp);
        const auto z = zahlen<unsigned char>(b.puffergroesse, 5);
        std::memcpy(b.puffer, z.data(), z.size());
        b.multaddwert(1.7, -20.0);
        for (size_t i = 0; i < z.size(); ++i) {
            const double t = z[i] * 1.7 - 20.0 + 0.5;
            ASSERT_EQ(b.puffer[i], t > 255.0 ? 255 : t >= 0.0 ? int(t) : 0) << bpp << " " << hoehe << " " << i;
        }
    }
}

TEST(Zugriff, RowsColumnsRawChannelRgbAndMinMax) {
    CBILD m(0, 0), k(0, 0);
    m.speicher(5, 5, 2);
    for (int i = 0; i < 25; ++i) ((uint16_t*)m.puffer)[i] = uint16_t(1000 + 10 * (i / 5) + i % 5);
    k.setzrohkanal(3, &m);  // every second pixel from (1, 1)
    ASSERT_EQ(V({k.hoehe, werte(k, 0)[0], werte(k, 0)[1], werte(k, 1)[0], werte(k, 1)[1]}), (V{2, 1011, 1013, 1031, 1033}));
    m.setzrohkanal(2, &m);  // from itself
    EXPECT_EQ(werte(m, 1), (V{1030, 1032}));
    int r = -1, g = -1, bl = -1;
    CBILD b = zeile_aus<uint8_t>({1, 2, 3, 4, 5, 6, 7, 8, 9}, 3), b4 = b, bp = b;
    CBILD s = zeile_aus<uint16_t>({10, 11, 20, 21, 30, 31}, 6), v = zeile_aus<uint32_t>({0x01020304, 0x05060708}), v4 = v;
    b4.flag = 4, bp.flag = 1, s.flag = 7, v4.farbe32 = 256;  // planar: column 0 whatever x; 4-byte gray: the byte at x
    EXPECT_EQ(V({b.getrgb(-1, 0, &r, &g, &bl), b.getrgb(3, 1, &r, &g, &bl), b.getrgb(-1, -1, &r, &g, &bl), r}), (V{1, 10, 5, -1}));
    for (auto [bild, x, soll] : {std::tuple{&b, 1, V{6, 5, 4}}, {&b4, 2, V{7, 8, 9}}, {&bp, 2, V{7, 4, 1}}, {&s, 1, V{30, 20, 10}},
                                 {&v, 1, V{3, 3, 3}}, {&v4, 1, V{6, 7, 8}}})
        EXPECT_TRUE(bild->getrgb(x, 0, &r, &g, &bl) == 0 && V({r, g, bl}) == soll) << bild->bpp << "/" << bild->flag;
    for (auto [bild, lo, hi] : {std::tuple{zeile_aus<uint16_t>({500, 400, 60000, 2, 300, 301}, 6), 2u, 60000u},
                                {zeile_aus<uint32_t>({4000000000u, 5}), 5u, 4000000000u}, {CBILD(0, 0), 0u, 0u}}) {
        unsigned l = 9, h = 9;
        bild.getminmax(&l, &h);
        EXPECT_EQ(V({l, h}), V({lo, hi})) << bild.bpp;
    }
}

TEST(Tiefe, ShiftsSaturationAndRegions) {
    CBILD src(0, 0), d(0, 0), o(0, 0), b = zeile_aus<uint32_t>({65535, 3}), a = zeile_aus<uint8_t>({1, 2, 3, 4, 5, 6, 7, 8}, 4);
    src.speicher(4, 3, 4);
    for (int i = 0; i < 12; ++i) ((uint32_t*)src.puffer)[i] = i == 2 ? 2000 : i == 3 ? 0xab00 : 70000u * i;
    EXPECT_TRUE(d.set32_16_teil(&src, nullptr, 0) == 0 && werte(d) == V({0, 65535, 2000, 0xab00}));
    d.set32_8_teil(&src, nullptr, 34);  // 34 & 31 = 2
    EXPECT_EQ(werte(d), (V{0, 255, 255, 255}));
    d.set32_8_teil(&src, nullptr, 40);
    EXPECT_EQ(werte(d), (V{0, 255, 7, 0xab}));
    CTeilbereich t(3, -1, 2, 2);  // moved to columns 2..3, rows 0..1
    EXPECT_EQ(d.set32_16_teil(&src, &t, 4), 0);
    EXPECT_EQ(V({t.links, t.oben, d.breite, d.hoehe, werte(d, 1)[1]}), (V{2, 0, 2, 2, (70000 * 7) >> 4}));
    EXPECT_EQ(V({d.set32_16_teil(&d, nullptr, 0), d.set32_8_teil(nullptr, nullptr, 0)}), V({1, 1}));  // 16-bit or no source
    b.info[1] = 5, b.bildwandel32_16();
    EXPECT_EQ(V({b.bpp, werte(b)[0], b.info[1]}), (V{2, 65535, 0}));  // a fresh image
    b.bildwandel16_32(20);  // more than 16: 16
    EXPECT_EQ(werte(b), (V{65535ll << 16, 3 << 16}));
    a.farbe32 = 256, o.setzen_ohne_alpha(&a);
    EXPECT_EQ(V({werte(o)[0], werte(o)[2], werte(o)[3], o.flag, o.farbe32}), (V{3, 1, 7, 4, 0}));
}

TEST(Teilbild, CutAndPasteEveryDepthAndRegion) {
    struct Art { int bpp, flag, farbe32; };
    const CTeilbereich regionen[] = {{0, 0, 5, 4},   {32, 19, 5, 4},           {-3, -2, 5, 4}, {35, 21, 5, 4},
                                     {10, 5, 17, 9}, {-100, -100, 1000, 1000}, {5, 5, -3, 4},  {2000000000, 3, 7, 2}};
    for (const Art& a : {Art{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {3, 1, 0}, {4, 0, 0}, {4, 2, 256}, {6, 4, 0}, {6, 3, 0}}) {
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
            ASSERT_TRUE(t.links >= 0 && t.links + t.breite <= 37 && t.oben >= 0 && t.oben + t.hoehe <= 23 && teil.flag == a.flag);
            for (int i = 0; i < t.hoehe * ebenen; ++i)
                ASSERT_EQ(bytes(teil.zeile[i / ebenen] + i % ebenen * t.breite * pb, t.breite * pb),
                          bytes(b.zeile[t.oben + i / ebenen] + (i % ebenen * 37 + t.links) * pb, t.breite * pb));
            // Blank the region in a copy and paste the part back: the whole image is the original again,
            // so nothing outside it moved.
            CBILD ziel(b), leer(teil);
            std::memset(leer.puffer, 0, leer.puffergroesse);
            ASSERT_EQ(ziel.einfuegen(&leer, t.links, t.oben), 0);
            EXPECT_NE(0, std::memcmp(ziel.puffer, b.puffer, b.puffergroesse));
            ASSERT_EQ(ziel.einfuegen(&teil, t.links, t.oben), 0);
            EXPECT_EQ(0, std::memcmp(ziel.puffer, b.puffer, b.puffergroesse));
        }
    }
    CBILD ziel(0, 0), leer(0, 0), klein = zeile_aus<uint16_t>({1, 2, 3, 4}), rgb = zeile_aus<uint8_t>({1, 2, 3}, 3), bgr = rgb;
    ziel.speicher(37, 23, 2), rgb.flag = 4;
    // Moved to columns 33..36 of the last row.
    ASSERT_EQ(V({ziel.einfuegen(&klein, 35, 30), werte(ziel, 22)[33], werte(ziel, 22)[36]}), V({0, 1, 4}));
    EXPECT_EQ(V({rgb.einfuegen(&bgr, 0, 0), rgb.einfuegen(&klein, 0, 0), rgb.einfuegen(&leer, 0, 0), leer.einfuegen(&rgb, 0, 0),
                 leer.setzteil(&leer, nullptr)}),
              V({1, 1, 1, 1, 1}));  // other layouts are refused
}

TEST(Anzeige, ShiftSaturationLayoutsAndGray) {
    CBILD w = zeile_aus<uint16_t>({65535, 256, 1023}), s = zeile_aus<uint16_t>({0, 0, 65535, 0, 1, 0}, 6), g(0, 0);
    unsigned char z[12], z3[9];
    // 1023 >> 2 = 255, 65535 >> 2 saturates; row 1 and two channels refused.
    EXPECT_EQ(V({w.anzeigezeile(0, z, 1, 8), w.anzeigezeile(0, z3, 3, 2), w.anzeigeschiebung(), w.anzeigezeile(1, z, 1, 0),
                 w.anzeigezeile(0, z, 2, 0)}),
              (V{0, 0, 8, 1, 1}));
    EXPECT_EQ(V({z[0], z[1], z[2], z3[0], z3[3], z3[5], z3[8]}), (V{255, 1, 3, 255, 64, 64, 255}));
    // 16-bit colour, blue first, shifted by 8; 4-byte colour needs no shift (its words are not gray values).
    CBILD f6 = zeile_aus<uint16_t>({0x1234, 0x5678, 0x9ABC}, 6), c4 = zeile_aus<uint8_t>({200, 1, 2, 255}, 4);
    c4.farbe32 = 256;
    EXPECT_EQ(V({f6.anzeigezeile(0, z3, 3, 8), z3[0], z3[1], z3[2], c4.anzeigeschiebung()}), (V{0, 0x9A, 0x56, 0x12, 0}));
    // Red, green, blue, white in every layout (2 - c counts the sample from blue): one display row, one gray image.
    const unsigned char farben[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    for (int flag : {0, 4, 1}) {
        CBILD f = zeile_aus<uint8_t>(std::vector<uint8_t>(12), 3);
        f.flag = flag;
        for (int i = 0; i < 12; ++i)
            f.puffer[flag == 0 ? i - i % 3 + 2 - i % 3 : flag == 4 ? i : 4 * (2 - i % 3) + i / 3] = farben[i / 3][i % 3];
        f.anzeigezeile(0, z, 3, 0);
        EXPECT_EQ(bytes(z, 12), (V{255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}));
        f.anzeigezeile(0, z, 1, 0);
        EXPECT_TRUE(g.setzgrau(&f) == 0 && bytes(z, 4) == V({76, 150, 29, 255}) && werte(g) == bytes(z, 4)) << flag;
    }
    // Blue first: red, green (19595.7 and 0.587 both round up); 4-byte colour.
    EXPECT_EQ(V({g.setzgrau(&s), werte(g)[0], werte(g)[1]}), (V{0, 19596, 1}));
    s = zeile_aus<uint8_t>({200, 50, 100, 9}, 4), s.farbe32 = 256;
    EXPECT_EQ(V({g.setzgrau(&s), g.bpp, g.puffer[0], g.setzgrau(nullptr)}), (V{0, 1, 82, 1}));
}

TEST(Extern, WrapsCallerMemoryAndCopiesCompact) {
    std::vector<uint16_t> mem(5 * 4, 7);  // 3 samples per row, stride 5
    for (int i = 0; i < 20; ++i) mem[size_t(i)] = i % 5 < 3 ? uint16_t(100 * (i / 5) + i % 5) : 7;
    unsigned char* daten = reinterpret_cast<unsigned char*>(mem.data());
    CBILD e(2, 2), k(0, 0), f(0, 0);
    ASSERT_EQ(V({e.setimage(daten, 3, 4, 2, 10, 0), e.puffer == nullptr}), V({1, 1}));
    k.setzen(&e), e.setzwert(5);  // writes reach the caller's rows, not its padding
    EXPECT_EQ(V({k.puffergroesse, werte(k, 3)[0], werte(k, 3)[2], mem[7], mem[8]}), (V{24, 300, 302, 5, 7}));
    EXPECT_EQ(V({f.setimage(daten, 3, 4, 2, 9, 0), f.setimage(daten + 1, 3, 4, 2, 10, 0), f.setimage(daten, 3, 4, 2, 4, 0),
                 f.setimage(daten, 3, 4, 5, 0, 0), f.setimage(daten, 0, 4, 1, 0, 0), f.setimage(daten, 1 << 30, 1, 4, 0, 0),
                 f.hoehe}),
              V({0, 0, 0, 0, 0, 0, 0}));
    ASSERT_EQ(e.setimage(daten, 2, 2, 4, 0, 4, true), 1);  // stride 0: packed rows
    EXPECT_EQ(V({e.farbe32, e.zeile[1] - daten}), (V{256, 8}));
}
