// Curves: block reuse, range rule, subtraction, text output, log scale.
// Row and column sums and mean values, each entry point on its own, against
// a direct double loop over every depth, colour layout, channel (0 red,
// 1 green, 2 blue, -1 all) and regions at the edges; refusals.
#include <algorithm>
#include <cmath>

#include "hilfe.h"

namespace {

using D = std::vector<double>;

// Bytes written by testfile (or testfilef when px >= 0); the file is removed.
std::string ausgabe(CKurve& k, const wchar_t* title, const char* fmt, int px = -2, int py = 2) {
    EXPECT_EQ(px == -2 ? k.testfile("kurve.tmp", title, 2, 1, fmt) : (k.testfilef("kurve.tmp", title, 2, 1, px, py), 0), 0);
    const Bytes b = lies_datei("kurve.tmp");
    std::remove("kurve.tmp");
    return std::string(b.begin(), b.end());
}

// Pixel value built byte by byte: the gray sample, colour sample c or the sum of the three for c = -1.
double wert(const CBILD& b, int x, int y, int c) {
    const bool farbe = b.istfarbig();
    if (farbe && c < 0) return wert(b, x, y, 0) + wert(b, x, y, 1) + wert(b, x, y, 2);
    const int size = !farbe ? b.bpp : b.bpp == 6 ? 2 : 1, s = b.flag == 4 ? c : 2 - c;  // stored blue first unless order 4
    const int i = !farbe ? x : (b.flag == 0 || b.flag == 4) ? x * (b.bpp / size) + s : s * b.breite + x;
    double v = 0;
    for (int k = size - 1; k >= 0; --k) v = v * 256 + b.zeile[y][i * size + k];
    return v;
}

void pruefe(const CBILD& b, int kanal, const CTeilbereich* region) {
    const CTeilbereich r = region ? *region : CTeilbereich(0, 0, b.breite, b.hoehe);
    D zs(size_t(r.hoehe)), ss(size_t(r.breite)), zx, sx;
    double summe = 0, rlo = 1e300, rhi = -1;
    for (int y = 0; y < r.hoehe; ++y)
        for (int x = 0; x < r.breite; ++x) {
            const double v = wert(b, r.links + x, r.oben + y, kanal);
            zs[size_t(y)] += v, ss[size_t(x)] += v, summe += v, rlo = std::min(rlo, v), rhi = std::max(rhi, v);
        }
    for (int y = 0; y < r.hoehe; ++y) zx.push_back(r.oben + y);
    for (int x = 0; x < r.breite; ++x) sx.push_back(r.links + x);
    auto kurve = [](const CKurve& k) { return std::pair(D(k.x, k.x + k.anzahl), D(k.y, k.y + k.anzahl)); };
    // Both curves at once, and each by itself (a path of its own).
    CKurve zeilen, spalten, z1, s1;
    CTeilbereich t[4] = {r, r, r, r};
    double mittel = -1, lo = -1, hi = -1;
    ASSERT_EQ(V({profilsummen(&b, &zeilen, &spalten, kanal, region ? &t[0] : nullptr),
                 zeilensumme(&b, &z1, kanal, region ? &t[1] : nullptr), spaltensumme(&b, &s1, kanal, region ? &t[2] : nullptr),
                 mittelwert(&b, &mittel, &lo, &hi, kanal, region ? &t[3] : nullptr)}),
              V({1, 1, 1, 1}));
    EXPECT_TRUE(kurve(zeilen) == std::pair(zx, zs) && kurve(z1) == std::pair(zx, zs));
    EXPECT_TRUE(kurve(spalten) == std::pair(sx, ss) && kurve(s1) == std::pair(sx, ss));
    EXPECT_DOUBLE_EQ(mittel, summe / (double(r.breite) * r.hoehe));
    EXPECT_EQ(D({lo, hi}), D({rlo, rhi}));
}

}  // namespace

TEST(Kurve, BlockIsReusedOnlyForTheSameSizeAndCopiesOwnTheirs) {
    double xs[4] = {1, 2, 3, 4}, ys[4] = {10, 20, 30, 40}, neu[4] = {-1, -2, -3, -4};
    CKurve k(xs, ys, 4), b, c, x1, x0;
    double* block = k.x;
    k.setzenx(neu, 4), k.speicher(4);  // same size: same block, not cleared, y as it was, count 0
    EXPECT_EQ(D({double(k.y == k.x + 4), double(k.x == block), double(k.anzahl), k.x[3], k.y[3]}), D({1, 1, 0, -4, 40}));
    k.initx(4);  // x = 0, 1, 2, 3
    EXPECT_EQ(D({k.x[0], k.x[3], k.y[3], double(k.anzahl)}), D({0, 3, 40, 4}));
    k.setzen(xs, ys, 3);  // smaller: a new block with y right behind x
    EXPECT_EQ(D({double(k.x == block), double(k.y == k.x + 3), k.y[2]}), D({0, 1, 30}));
    k.setzen(k.x + 1, k.y + 1, 2);  // source inside the block being replaced
    b = k, c = k, c = static_cast<const CKurve&>(c), k.y[1] = 99;
    // setzenx: x only, count and size of the other; no curve: an empty one.
    x1.setzenx(&k), x0.speicher(5), x0.setzenx(static_cast<CKurve*>(nullptr));
    EXPECT_EQ(D({k.x[1], b.y[1], c.y[1], double(c.anzahl), double(x1.anzahl), double(x1.kapazitaet), x1.x[1], double(x0.kapazitaet),
                 double(x0.anzahl)}),
              D({3, 30, 30, 2, 2, 2, 3, 0, 0}));
    c.setzen(static_cast<const CKurve*>(nullptr)), k.initx(0);
    EXPECT_TRUE(!c.x && !k.x && !k.y && !k.kapazitaet && !x0.x);
    EXPECT_THROW(k.speicher(-1), std::bad_alloc);
}

TEST(Kurve, RangeKeepsEarlierTiesSubtractionAliasesLogScale) {
    double xs[3] = {0.0, -0.0, 5}, ys[3] = {-0.0, 0.0, -7}, a[5] = {3, 1, 4, 1, -5}, lo = 42, hi = 42;
    CKurve k(xs, ys, 2), leer;
    k.getbereichx(&lo, &hi);  // 0.0 and -0.0 compare equal: the first stays
    const bool plus = !std::signbit(lo) && !std::signbit(hi);
    k.getbereichy(&lo, &hi);
    EXPECT_TRUE(plus && std::signbit(lo) && std::signbit(hi));
    k.initx(4), k.getbereich0(a, &lo, &hi), leer.getbereichy(&lo, &hi);  // count 4: a[4] is not looked at; no pairs: kept
    EXPECT_EQ(D({lo, hi, CKurve::meanvalue(a, 4), CKurve::meanvalue(a, 0)}), D({1, 4, 2.25, 0}));
    double x3[3] = {1, 2, 3}, ya[3] = {10, 20, 30}, yb[3] = {1, 2, 3};
    CKurve p(x3, ya, 3), q(x3, yb, 3), kurz(x3, yb, 2), out;
    out.speicher(7), p.subtraktion(&q, &out), p.subtraktion(&kurz, &out);  // counts differ: nothing happens
    EXPECT_EQ(D({double(out.kapazitaet), out.x[2], out.y[2]}), D({3, 3, 27}));
    p.multx_fak(2), p.subtraktion(&q, &p), p.subtraktion(&q, &q);  // in place: x stays, y replaced; into the subtrahend
    EXPECT_EQ(D({p.x[1], p.y[1], q.y[1]}), D({4, 18, 16}));
    double lx[4] = {5, -1, 0, std::nan("")}, ly[4] = {1.0, 0.0, -3.0, std::exp(1.0)};
    CKurve c(lx, ly, 4), b;
    setzlog(2, &c, &c);  // y only, floored at -10
    EXPECT_EQ(D({c.y[0], c.y[1], c.y[2], c.x[1], std::round(c.y[3] * 1e12)}), D({0, -10, -10, -1, 1e12}));
    b.speicher(10), setzlog(1, &c, &b);  // sized to the source, which stays untouched
    EXPECT_EQ(D({double(b.kapazitaet), c.x[0], b.x[3], b.y[3]}), D({4, 5, -10, c.y[3]}));
    setzlogu(1, &b, &b);
    EXPECT_EQ(D({std::round(b.x[0] * 1e12), b.x[1], b.y[1]}), D({5e12, std::exp(-10.0), -10}));
    setzlogu(3, &leer, &b);
    EXPECT_TRUE(!b.anzahl && !b.x);  // an empty source empties
}

TEST(Kurve, TextOutputByteForByte) {
    double xs[2] = {0.75, -1}, ys[2] = {0.25, 1e10};
    CKurve k(xs, ys, 2), leer;  // x is doubled on output
    const wchar_t kaputt[] = {L'a', wchar_t(0xD800), 0};
    EXPECT_EQ(ausgabe(k, nullptr, nullptr), " 1.500000e+00\t 2.500000e-01\n-2.000000e+00\t 1.000000e+10\n");
    EXPECT_EQ(ausgabe(k, L"\u00c4 \u20ac \U0001F600", "%g;%g\n"), "\xc3\x84 \xe2\x82\xac \xf0\x9f\x98\x80\n1.5;0.25\n-2;1e+10\n");
    EXPECT_EQ(ausgabe(k, kaputt, "%g\n"), "1.5\n-2\n");  // no UTF-8 form: no title
    EXPECT_EQ(ausgabe(k, L"T", nullptr, 3, 2), "T\n1.500\t0.25\n-2.000\t10000000000.00\n");
    EXPECT_EQ(ausgabe(k, nullptr, nullptr, 0, -1), "2\t0.250000\n-2\t10000000000.000000\n");
    leer.speicher(3);  // capacity without pairs is still no data
    EXPECT_EQ(ausgabe(leer, L"Titel", nullptr), "No data\n");
    // No folder: nothing opened (0); a failed close is reported.
    EXPECT_EQ(V({k.testfile("kein_ordner/x.tmp", L"T", 1, 1, nullptr), k.testfile("/dev/full", L"T", 1, 1, nullptr)}), V({0, EOF}));
}

TEST(Profil, EveryDepthLayoutChannelAndRegionMatchesDirectLoop) {
    // Gray (also with a stray flag), colour interleaved in both orders and planar.
    struct Art { int bpp, flag, farbe32; };
    const Art arten[] = {{1, 0, 0}, {2, 0, 0}, {4, 0, 0}, {2, 7, 0}, {3, 0, 0}, {3, 4, 0}, {3, 1, 0},
                         {6, 0, 0}, {6, 4, 0}, {6, 1, 0}, {4, 0, 256}, {4, 4, 256}, {4, 7, 256}};
    uint32_t saat = 1;
    for (const Art& art : arten)
        for (auto [w, h] : {std::pair{1, 1}, {2, 2}, {37, 23}, {1, 20}}) {
            CBILD b;
            b.speicher(w, h, art.bpp);
            b.flag = art.flag, b.farbe32 = art.farbe32;
            for (uint32_t i = 0; i < b.puffergroesse; ++i) b.puffer[i] = uint8_t((saat = saat * 1103515245u + 12345u) >> 16);
            SCOPED_TRACE(testing::Message() << art.bpp << "/" << art.flag << "/" << art.farbe32 << " " << w << "x" << h);
            for (int kanal = -1; kanal <= 2; ++kanal) {
                SCOPED_TRACE(kanal);
                pruefe(b, kanal, nullptr);
                // Regions at the far edges, one pixel, and one moved in from outside.
                for (CTeilbereich t : {CTeilbereich(w / 3, h / 4, w - w / 2, h - h / 3), CTeilbereich(w - 1, h - 1, 1, 1),
                                       CTeilbereich(0, 0, 1, 1), CTeilbereich(1, 1, w, h), CTeilbereich(-2, h + 5, 4, 5)}) {
                    t.testteilx(w), t.testteily(h);
                    pruefe(b, kanal, &t);
                }
            }
        }
}

TEST(Profil, SumsDoNotOverflow32BitsRefusalsTouchNothing) {
    CBILD breit, hoch, gray32, b, leer, fuenf, grau;
    for (auto [p, w, h, bpp] : {std::tuple{&breit, 70000, 1, 2}, {&hoch, 1, 70000, 2}, {&gray32, 3, 2, 4}, {&b, 3, 3, 3},
                                {&fuenf, 3, 3, 5}, {&grau, 3, 3, 1}})
        p->speicher(w, h, bpp), std::fill(p->puffer, p->puffer + p->puffergroesse, 0xFF);
    CKurve k, s, g;
    double mittel = 0;
    ASSERT_EQ(V({zeilensumme(&breit, &k), spaltensumme(&hoch, &s), zeilensumme(&gray32, &g),
                 mittelwert(&gray32, &mittel, nullptr, nullptr)}),
              V({1, 1, 1, 1}));
    EXPECT_EQ(D({k.y[0], s.y[0], g.y[1], mittel}), D({70000.0 * 65535, 70000.0 * 65535, 3 * 4294967295.0, 4294967295.0}));
    EXPECT_EQ(zeilensumme(&grau, &k, 7), 1);  // gray images ignore the channel
    CTeilbereich neg(-1, -1, 2, 2), nichts(1, 1, 0, 2);
    mittel = 5;
    EXPECT_EQ(V({zeilensumme(nullptr, &k), spaltensumme(&leer, &k), zeilensumme(&fuenf, &k), zeilensumme(&b, &k, 3, &neg),
                 spaltensumme(&b, &k, -1, &nichts), mittelwert(&b, &mittel, nullptr, nullptr, -2), neg.links}),
              V({0, 0, 0, 0, 0, 0, -1}));  // refused before the region is fitted
    EXPECT_EQ(std::pair(k.anzahl, mittel), std::pair(3, 5.0));
}
