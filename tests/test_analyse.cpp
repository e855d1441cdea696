// Curves: block reuse, range rule, subtraction, text output, log scale.
// Row and column sums and mean values against a direct double loop over
// every depth, colour layout and channel (0 red, 1 green, 2 blue, -1 all).
#include <algorithm>
#include <cmath>
#include <tuple>

#include "hilfe.h"

namespace {

using D = std::vector<double>;

// Bytes written by testfile (or testfilef when px >= 0); the file is removed.
std::string ausgabe(CKurve& k, const wchar_t* title, const char* fmt, int px = -2, int py = 2) {
    const char* name = "kurve_test.tmp";
    if (px == -2)
        EXPECT_EQ(k.testfile(name, title, 2, 1, fmt), 0);
    else
        k.testfilef(name, title, 2, 1, px, py);
    const Bytes b = lies_datei(name);
    std::remove(name);
    return std::string(b.begin(), b.end());
}

struct Art { int bpp, flag, farbe32; };

void fuelle(CBILD& b, const Art& art, int w, int h, uint32_t saat) {
    ASSERT_EQ(b.speicher(w, h, art.bpp), 1);
    b.flag = art.flag, b.farbe32 = art.farbe32;
    for (uint32_t i = 0; i < b.puffergroesse; ++i) b.puffer[i] = (unsigned char)((saat = saat * 1103515245u + 12345u) >> 16);
}

// Pixel value built byte by byte: the gray sample, colour sample c (0 red,
// 1 green, 2 blue) or the sum of the three for c = -1.
double wert(const CBILD& b, int x, int y, int c) {
    const bool farbe = b.bpp == 3 || b.bpp == 6 || (b.bpp == 4 && b.farbe32 == 256);
    if (farbe && c < 0) return wert(b, x, y, 0) + wert(b, x, y, 1) + wert(b, x, y, 2);
    const int size = !farbe ? b.bpp : b.bpp == 6 ? 2 : 1;
    const int s = b.flag == 4 ? c : 2 - c;  // stored blue first unless order 4
    size_t index = size_t(x);
    if (farbe) index = (b.flag == 0 || b.flag == 4) ? size_t(x * (b.bpp / size) + s) : size_t(s * b.breite + x);
    double v = 0;
    for (int i = size - 1; i >= 0; --i) v = v * 256 + b.zeile[y][index * size_t(size) + size_t(i)];
    return v;
}

void pruefe(const CBILD& b, int kanal, CTeilbereich* region) {
    CKurve zeilen, spalten;
    double mittel = -1, lo = -1, hi = -1;
    ASSERT_EQ(profilsummen(&b, &zeilen, &spalten, kanal, region), 1);
    const CTeilbereich r = region ? *region : CTeilbereich(0, 0, b.breite, b.hoehe);
    ASSERT_EQ(mittelwert(&b, &mittel, &lo, &hi, kanal, region), 1);
    D zs(size_t(r.hoehe)), ss(size_t(r.breite));
    double summe = 0, rlo = 1e300, rhi = -1;
    for (int y = 0; y < r.hoehe; ++y)
        for (int x = 0; x < r.breite; ++x) {
            const double v = wert(b, r.links + x, r.oben + y, kanal);
            zs[size_t(y)] += v, ss[size_t(x)] += v, summe += v;
            rlo = std::min(rlo, v), rhi = std::max(rhi, v);
        }
    ASSERT_EQ(std::pair(zeilen.anzahl, spalten.anzahl), std::pair(r.hoehe, r.breite));
    for (int y = 0; y < r.hoehe; ++y) EXPECT_EQ(D({zeilen.x[y], zeilen.y[y]}), D({double(r.oben + y), zs[size_t(y)]}));
    for (int x = 0; x < r.breite; ++x) EXPECT_EQ(D({spalten.x[x], spalten.y[x]}), D({double(r.links + x), ss[size_t(x)]}));
    EXPECT_DOUBLE_EQ(mittel, summe / (double(r.breite) * r.hoehe));
    EXPECT_EQ(std::pair(lo, hi), std::pair(rlo, rhi));
}

}  // namespace

TEST(Kurve, BlockIsReusedOnlyForTheSameSizeAndCopiesOwnTheirs) {
    double xs[4] = {1, 2, 3, 4}, ys[4] = {10, 20, 30, 40}, neu[4] = {-1, -2, -3, -4};
    CKurve k(xs, ys, 4);
    ASSERT_EQ(k.y, k.x + 4);
    double* block = k.x;
    k.setzenx(neu, 4);  // same size: same block, y as it was
    k.speicher(4);      // same size: kept, not cleared, count 0
    EXPECT_EQ(D({double(k.x == block), double(k.anzahl), k.x[3], k.y[3]}), D({1, 0, -4, 40}));
    k.initx(4);  // x = 0, 1, 2, 3
    EXPECT_EQ(D({k.x[3], k.y[3]}), D({3, 40}));
    k.setzen(xs, ys, 3);  // smaller: a new block with y right behind x
    EXPECT_EQ(D({double(k.x == block), double(k.y == k.x + 3), k.y[2]}), D({0, 1, 30}));
    k.setzen(k.x + 1, k.y + 1, 2);  // source inside the block being replaced
    EXPECT_EQ(D({k.x[1], k.y[1]}), D({3, 30}));
    CKurve b(k), c;
    c = k;
    const CKurve& selbst = c;
    c = selbst;
    k.y[1] = 99;
    EXPECT_EQ(D({b.y[1], c.y[1], double(c.anzahl)}), D({30, 30, 2}));
    c.setzen(static_cast<const CKurve*>(nullptr));
    k.initx(0);
    EXPECT_TRUE(!c.x && !k.x && !k.y && !k.kapazitaet);
    EXPECT_THROW(k.speicher(-1), std::bad_alloc);
}

TEST(Kurve, RangeKeepsEarlierTiesAndSubtractionAliases) {
    double xs[3] = {0.0, -0.0, 5}, ys[3] = {-0.0, 0.0, -7};
    CKurve k(xs, ys, 2), leer;
    double lo = 42, hi = 42;
    k.getbereichx(&lo, &hi);  // 0.0 and -0.0 compare equal: the first stays
    const bool plus = !std::signbit(lo) && !std::signbit(hi);
    k.getbereichy(&lo, &hi);
    EXPECT_TRUE(plus && std::signbit(lo) && std::signbit(hi));
    double a[5] = {3, 1, 4, 1, -5};
    k.initx(4);  // count 4: a[4] is not looked at
    k.getbereich0(a, &lo, &hi);
    leer.getbereichy(&lo, &hi);  // no pairs: left as they were
    EXPECT_EQ(D({lo, hi}), D({1, 4}));

    double x3[3] = {1, 2, 3}, ya[3] = {10, 20, 30}, yb[3] = {1, 2, 3};
    CKurve p(x3, ya, 3), q(x3, yb, 3), kurz(x3, yb, 2), out;
    out.speicher(7);
    p.subtraktion(&q, &out);
    p.subtraktion(&kurz, &out);  // counts differ: nothing happens
    EXPECT_EQ(D({double(out.kapazitaet), out.x[2], out.y[2]}), D({3, 3, 27}));
    p.multx_fak(2);
    p.subtraktion(&q, &p);  // in place: x stays, y replaced
    p.subtraktion(&q, &q);  // into the subtrahend
    EXPECT_EQ(D({p.x[1], p.y[1], q.y[1]}), D({4, 18, 16}));
}

TEST(Kurve, TextOutputByteForByte) {
    double xs[2] = {0.75, -1}, ys[2] = {0.25, 1e10};
    CKurve k(xs, ys, 2), leer;  // x is doubled on output
    EXPECT_EQ(ausgabe(k, nullptr, nullptr), " 1.500000e+00\t 2.500000e-01\n-2.000000e+00\t 1.000000e+10\n");
    EXPECT_EQ(ausgabe(k, L"", "%g;%g\n"), "1.5;0.25\n-2;1e+10\n");
    EXPECT_EQ(ausgabe(k, L"\u00c4 \u20ac \U0001F600", "%g\n"), "\xc3\x84 \xe2\x82\xac \xf0\x9f\x98\x80\n1.5\n-2\n");
    const wchar_t kaputt[] = {L'a', wchar_t(0xD800), 0};
    EXPECT_EQ(ausgabe(k, kaputt, "%g\n"), "1.5\n-2\n");
    EXPECT_EQ(ausgabe(k, L"T", nullptr, 3, 2), "T\n1.500\t0.25\n-2.000\t10000000000.00\n");
    EXPECT_EQ(ausgabe(k, nullptr, nullptr, 0, -1), "2\t0.250000\n-2\t10000000000.000000\n");
    leer.speicher(3);  // capacity without pairs is still no data
    EXPECT_EQ(ausgabe(leer, L"Titel", nullptr), "No data\n");
    EXPECT_EQ(k.testfile("kein_ordner/x.tmp", L"T", 1, 1, nullptr), 0);
}

TEST(LogKurve, FloorAxesAndInverse) {
    double xs[4] = {5, -1, 0, std::nan("")}, ys[4] = {1.0, 0.0, -3.0, std::exp(1.0)};
    CKurve c(xs, ys, 4), b, leer;
    setzlog(2, &c, &c);  // y only, floored at -10
    EXPECT_EQ(D({c.y[0], c.y[1], c.y[2], c.x[1], std::round(c.y[3] * 1e12)}), D({0, -10, -10, -1, 1e12}));
    b.speicher(10);
    setzlog(0, &c, &b);  // plain copy, sized to the source
    EXPECT_EQ(D({double(b.kapazitaet), b.x[0], b.y[3]}), D({4, 5, c.y[3]}));
    setzlog(1, &c, &b);
    EXPECT_EQ(D({c.x[0], b.x[3]}), D({5, -10}));  // source untouched
    setzlogu(1, &b, &b);
    EXPECT_EQ(D({std::round(b.x[0] * 1e12), b.x[1], b.y[1]}), D({5e12, std::exp(-10.0), -10}));
    setzlogu(3, &leer, &b);
    EXPECT_TRUE(!b.anzahl && !b.x);
}

TEST(Profil, EveryDepthLayoutAndChannelMatchesDirectLoop) {
    // Gray (also with a stray flag), colour interleaved in both orders and planar.
    const Art arten[] = {{1, 0, 0}, {2, 0, 0}, {4, 0, 0}, {2, 7, 0}, {3, 0, 0}, {3, 4, 0}, {3, 1, 0},
                         {6, 0, 0}, {6, 4, 0}, {6, 1, 0}, {4, 0, 256}, {4, 4, 256}, {4, 7, 256}};
    uint32_t saat = 1;
    for (const Art& art : arten)
        for (auto [w, h] : {std::pair{1, 1}, {3, 21}, {37, 23}, {1, 20}}) {
            CBILD b;
            fuelle(b, art, w, h, saat++);
            SCOPED_TRACE(testing::Message() << art.bpp << "/" << art.flag << "/" << art.farbe32 << " " << w << "x" << h);
            for (int kanal = -1; kanal <= 2; ++kanal) {
                SCOPED_TRACE(kanal);
                pruefe(b, kanal, nullptr);
                CTeilbereich teil(w / 3, h / 4, w - w / 2, h - h / 3);
                pruefe(b, kanal, &teil);
            }
        }
}

TEST(Profil, SumsDoNotOverflow32BitsRegionsAreFittedRefusalsTouchNothing) {
    CBILD breit, hoch, gray32, b, leer, fuenf, grau;
    for (auto [p, w, h, bpp] : {std::tuple{&breit, 70000, 1, 2}, {&hoch, 1, 70000, 2}, {&gray32, 3, 2, 4}}) {
        p->speicher(w, h, bpp);
        std::fill(p->puffer, p->puffer + p->puffergroesse, 0xFF);
    }
    CKurve k, s, g;
    double mittel = 0;
    ASSERT_EQ(zeilensumme(&breit, &k) + spaltensumme(&hoch, &s) + zeilensumme(&gray32, &g), 3);
    mittelwert(&gray32, &mittel, nullptr, nullptr);
    EXPECT_EQ(D({k.y[0], s.y[0], g.y[1], mittel}), D({70000.0 * 65535, 70000.0 * 65535, 3 * 4294967295.0, 4294967295.0}));

    fuelle(b, {3, 0, 0}, 37, 23, 99);
    fuelle(fuenf, {5, 0, 0}, 3, 3, 7);
    fuelle(grau, {1, 0, 0}, 3, 3, 8);
    CTeilbereich teil(-2, 30, 4, 5), zu_gross(5, 5, 100, 100), neg(-1, -1, 2, 2), nichts(1, 1, 0, 2);
    ASSERT_EQ(zeilensumme(&b, &k, -1, &teil), 1);  // left of and below the image: moved in
    EXPECT_EQ(std::vector<int>({teil.links, teil.oben, teil.breite, int(k.x[0])}), std::vector<int>({0, 18, 4, 18}));
    pruefe(b, -1, &zu_gross);  // cut to the image
    EXPECT_EQ(zu_gross.breite, 37);
    EXPECT_EQ(zeilensumme(&grau, &k, 7), 1);  // gray images ignore the channel
    mittel = 5;
    EXPECT_EQ(zeilensumme(nullptr, &k) + spaltensumme(&leer, &k) + zeilensumme(&fuenf, &k) + zeilensumme(&b, &k, 3, &neg) +
                  spaltensumme(&b, &k, -1, &nichts) + mittelwert(&b, &mittel, nullptr, nullptr, -2),
              0);
    EXPECT_EQ(neg.links, -1);  // refused before the region is fitted
    EXPECT_EQ(std::pair(k.anzahl, mittel), std::pair(3, 5.0));
}
