// Curves: block reuse, range rule, subtraction, text output, log scale.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bildlib.h"

namespace {

using D = std::vector<double>;

// Bytes written by testfile (or testfilef when px >= 0); the file is removed.
std::string ausgabe(CKurve& k, const wchar_t* title, const char* fmt, int px = -2, int py = 2) {
    const char* name = "kurve_test.tmp";
    if (px == -2)
        EXPECT_EQ(k.testfile(name, title, 2, 1, fmt), 0);
    else
        k.testfilef(name, title, 2, 1, px, py);
    std::ifstream f(name, std::ios::binary);
    std::string s((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    std::remove(name);
    return s;
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
    k.initx(4);
    EXPECT_EQ(D({k.x[3], k.y[3]}), D({3, 40}));
    k.setzen(xs, ys, 3);  // smaller: a new block with y right behind x
    EXPECT_EQ(D({double(k.x == block), double(k.y == k.x + 3), k.y[2]}), D({0, 1, 30}));
    k.setzen(k.x + 1, k.y + 1, 2);  // source inside the block being replaced
    EXPECT_EQ(D({k.x[1], k.y[1]}), D({3, 30}));

    CKurve b(k), c;
    c = k;
    k.y[1] = 99;
    EXPECT_EQ(D({b.y[1], c.y[1]}), D({30, 30}));
    const CKurve& selbst = c;
    c = selbst;
    EXPECT_EQ(D({double(c.anzahl), c.y[1]}), D({2, 30}));
    c.setzen(static_cast<const CKurve*>(nullptr));
    k.initx(0);
    EXPECT_TRUE(!c.x && !k.x && !k.y && !k.kapazitaet);
    EXPECT_THROW(k.speicher(-1), std::bad_alloc);
}

TEST(Kurve, RangeKeepsEarlierTiesSubtractionAndMean) {
    double xs[3] = {0.0, -0.0, 5}, ys[3] = {-0.0, 0.0, -7};
    CKurve k(xs, ys, 2), leer;
    double lo = 42, hi = 42;
    k.getbereichx(&lo, &hi);  // 0.0 and -0.0 compare equal: the first stays
    EXPECT_FALSE(std::signbit(lo) || std::signbit(hi));
    k.getbereichy(&lo, &hi);
    EXPECT_TRUE(std::signbit(lo) && std::signbit(hi));
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
    EXPECT_EQ(D({p.x[1], p.y[1]}), D({4, 18}));
    p.subtraktion(&q, &q);  // into the subtrahend
    EXPECT_EQ(q.y[1], 16);
    double v[4] = {1, 2, 3, 6};
    CKurve::addvalue(v, 3, 0.5);
    EXPECT_EQ(D({CKurve::meanvalue(v, 4), CKurve::meanvalue(v, 0), v[3]}), D({3.375, 0, 6}));
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
    setzlog(2, &c, &c);
    EXPECT_EQ(D({c.y[0], c.y[1], c.y[2], c.x[1]}), D({0, -10, -10, -1}));  // x untouched
    EXPECT_DOUBLE_EQ(c.y[3], 1.0);
    b.speicher(10);
    setzlog(0, &c, &b);  // plain copy, sized to the source
    EXPECT_EQ(D({double(b.kapazitaet), b.x[0], b.y[3]}), D({4, 5, c.y[3]}));
    setzlog(1, &c, &b);
    EXPECT_EQ(D({c.x[0], b.x[3]}), D({5, -10}));  // source untouched
    setzlogu(1, &b, &b);
    EXPECT_NEAR(b.x[0], 5, 1e-14);
    EXPECT_EQ(D({b.x[1], b.y[1]}), D({std::exp(-10.0), -10}));
    setzlogu(3, &leer, &b);
    EXPECT_TRUE(!b.anzahl && !b.x);
}
