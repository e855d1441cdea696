// Curves: block reuse, range rule, subtraction, text output, log scale.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "bildlib.h"

namespace {

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

TEST(Kurve, BlockIsReusedOnlyForTheSameSize) {
    double xs[4] = {1, 2, 3, 4}, ys[4] = {10, 20, 30, 40}, neu[4] = {-1, -2, -3, -4};
    CKurve k(xs, ys, 4);
    ASSERT_EQ(k.kapazitaet, 4);
    EXPECT_EQ(k.y, k.x + 4);
    double* block = k.x;
    k.setzenx(neu, 4);  // same size: same block, y as it was
    k.speicher(4);      // same size: kept, not cleared, count 0
    EXPECT_EQ(k.x, block);
    EXPECT_EQ(k.anzahl, 0);
    EXPECT_EQ(k.x[3], -4);
    EXPECT_EQ(k.y[3], 40);
    k.initx(4);
    EXPECT_EQ(k.x[3], 3);
    EXPECT_EQ(k.y[3], 40);

    k.setzen(xs, ys, 3);  // smaller: a new block with y right behind x
    EXPECT_NE(k.x, block);
    EXPECT_EQ(k.y, k.x + 3);
    EXPECT_EQ(k.y[2], 30);
    k.setzen(k.x + 1, k.y + 1, 2);  // source inside the block being replaced
    EXPECT_EQ(k.x[1], 3);
    EXPECT_EQ(k.y[1], 30);

    k.initx(0);
    EXPECT_EQ(k.x, nullptr);
    EXPECT_EQ(k.y, nullptr);
    EXPECT_EQ(k.kapazitaet, 0);
    EXPECT_THROW(k.speicher(-1), std::bad_alloc);
}

TEST(Kurve, CopiesOwnTheirBlock) {
    double xs[2] = {1, 2}, ys[2] = {3, 4};
    CKurve a(xs, ys, 2), c;
    CKurve b(a);
    c = a;
    a.y[1] = 99;
    EXPECT_EQ(b.y[1], 4);
    EXPECT_EQ(c.y[1], 4);
    const CKurve& selbst = c;
    c = selbst;
    EXPECT_EQ(c.anzahl, 2);
    EXPECT_EQ(c.y[1], 4);
    c.setzen(static_cast<const CKurve*>(nullptr));
    EXPECT_EQ(c.x, nullptr);
}

TEST(Kurve, RangeKeepsEarlierTiesAndUsesTheCount) {
    double xs[3] = {0.0, -0.0, 5}, ys[3] = {-0.0, 0.0, -7};
    CKurve k(xs, ys, 2);
    double lo = 42, hi = 42;
    k.getbereichx(&lo, &hi);  // 0.0 and -0.0 compare equal: the first stays
    EXPECT_FALSE(std::signbit(lo) || std::signbit(hi));
    k.getbereichy(&lo, &hi);
    EXPECT_TRUE(std::signbit(lo) && std::signbit(hi));
    double a[5] = {3, 1, 4, 1, -5};
    k.initx(4);  // count 4: a[4] is not looked at
    k.getbereich0(a, &lo, &hi);
    EXPECT_EQ(lo, 1);
    EXPECT_EQ(hi, 4);

    CKurve leer;
    leer.getbereichy(&lo, &hi);
    EXPECT_EQ(lo, 1);
}

TEST(Kurve, SubtraktionMeanAndAddValue) {
    double xs[3] = {1, 2, 3}, ya[3] = {10, 20, 30}, yb[3] = {1, 2, 3};
    CKurve a(xs, ya, 3), b(xs, yb, 3), kurz(xs, yb, 2), out;
    out.speicher(7);
    a.subtraktion(&b, &out);
    EXPECT_EQ(out.kapazitaet, 3);
    EXPECT_EQ(out.x[2], 3);
    EXPECT_EQ(out.y[2], 27);
    a.subtraktion(&kurz, &out);  // counts differ: nothing happens
    EXPECT_EQ(out.y[2], 27);
    a.multx_fak(2);
    a.subtraktion(&b, &a);  // in place: x stays, y replaced
    EXPECT_EQ(a.x[1], 4);
    EXPECT_EQ(a.y[1], 18);
    a.subtraktion(&b, &b);  // into the subtrahend
    EXPECT_EQ(b.y[1], 16);

    double v[4] = {1, 2, 3, 6};
    EXPECT_EQ(CKurve::meanvalue(v, 4), 3.0);
    EXPECT_EQ(CKurve::meanvalue(v, 0), 0.0);
    CKurve::addvalue(v, 3, 0.5);
    EXPECT_EQ(v[2], 3.5);
    EXPECT_EQ(v[3], 6);
}

TEST(Kurve, TextOutputByteForByte) {
    double xs[2] = {0.75, -1}, ys[2] = {0.25, 1e10};
    CKurve k(xs, ys, 2);  // x is doubled on output
    EXPECT_EQ(ausgabe(k, nullptr, nullptr), " 1.500000e+00\t 2.500000e-01\n-2.000000e+00\t 1.000000e+10\n");
    EXPECT_EQ(ausgabe(k, L"", "%g;%g\n"), "1.5;0.25\n-2;1e+10\n");
    EXPECT_EQ(ausgabe(k, L"\u00c4 \u20ac \U0001F600", "%g\n"), "\xc3\x84 \xe2\x82\xac \xf0\x9f\x98\x80\n1.5\n-2\n");
    const wchar_t kaputt[] = {L'a', wchar_t(0xD800), 0};
    EXPECT_EQ(ausgabe(k, kaputt, "%g\n"), "1.5\n-2\n");
    EXPECT_EQ(ausgabe(k, L"T", nullptr, 3, 2), "T\n1.500\t0.25\n-2.000\t10000000000.00\n");
    EXPECT_EQ(ausgabe(k, nullptr, nullptr, 0, -1), "2\t0.250000\n-2\t10000000000.000000\n");

    CKurve leer;
    leer.speicher(3);  // capacity without pairs is still no data
    EXPECT_EQ(ausgabe(leer, L"Titel", nullptr), "No data\n");
    EXPECT_EQ(k.testfile("kein_ordner/x.tmp", L"T", 1, 1, nullptr), 0);
}

TEST(LogKurve, FloorAxesAndInverse) {
    double xs[4] = {5, -1, 0, std::nan("")}, ys[4] = {1.0, 0.0, -3.0, std::exp(1.0)};
    CKurve c(xs, ys, 4), b;
    setzlog(2, &c, &c);
    EXPECT_EQ(c.y[0], 0.0);
    EXPECT_EQ(c.y[1], -10.0);
    EXPECT_EQ(c.y[2], -10.0);
    EXPECT_DOUBLE_EQ(c.y[3], 1.0);
    EXPECT_EQ(c.x[1], -1);  // x untouched

    b.speicher(10);
    setzlog(0, &c, &b);  // plain copy, sized to the source
    EXPECT_EQ(b.kapazitaet, 4);
    EXPECT_EQ(b.x[0], 5);
    EXPECT_EQ(b.y[3], c.y[3]);
    setzlog(1, &c, &b);
    EXPECT_EQ(c.x[0], 5);  // source untouched
    EXPECT_EQ(b.x[3], -10.0);
    setzlogu(1, &b, &b);
    EXPECT_NEAR(b.x[0], 5, 1e-14);
    EXPECT_DOUBLE_EQ(b.x[1], std::exp(-10.0));
    EXPECT_EQ(b.y[1], -10.0);

    CKurve leer;
    setzlogu(3, &leer, &b);
    EXPECT_EQ(b.anzahl, 0);
    EXPECT_EQ(b.x, nullptr);
}
