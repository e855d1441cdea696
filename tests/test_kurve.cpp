// Curves: block reuse, range rule, subtraction, text output, log scale.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "bildlib.h"

namespace {

std::string lies_datei(const char* name) {
    std::ifstream f(name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

// Writes with testfile and returns the bytes written (file removed again).
std::string ausgabe(CKurve& k, const wchar_t* title, const char* fmt, double fx = 1, double fy = 1) {
    const char* name = "kurve_testfile.tmp";
    EXPECT_EQ(k.testfile(name, title, fx, fy, fmt), 0);
    std::string s = lies_datei(name);
    std::remove(name);
    return s;
}

}  // namespace

TEST(Kurve, BlockIsReusedOnlyForTheSameSize) {
    double xs[4] = {1, 2, 3, 4}, ys[4] = {10, 20, 30, 40};
    CKurve k(xs, ys, 4);
    ASSERT_EQ(k.kapazitaet, 4);
    EXPECT_EQ(k.anzahl, 4);
    EXPECT_EQ(k.y, k.x + 4);
    double* block = k.x;

    double xs2[4] = {5, 6, 7, 8}, ys2[4] = {50, 60, 70, 80};
    k.setzen(xs2, ys2, 4);  // same size: same block
    EXPECT_EQ(k.x, block);
    EXPECT_EQ(k.y[3], 80);

    k.speicher(4);  // same size: kept, not cleared, count 0
    EXPECT_EQ(k.x, block);
    EXPECT_EQ(k.anzahl, 0);
    EXPECT_EQ(k.x[0], 5);

    k.setzen(xs, ys, 3);  // smaller: new block with y right behind x
    EXPECT_NE(k.x, block);
    EXPECT_EQ(k.kapazitaet, 3);
    EXPECT_EQ(k.y, k.x + 3);
    EXPECT_EQ(k.y[2], 30);

    k.setzen(xs, ys, 0);  // size 0: no block
    EXPECT_EQ(k.x, nullptr);
    EXPECT_EQ(k.y, nullptr);
    EXPECT_EQ(k.kapazitaet, 0);

    CKurve leer(xs, ys, 0);
    EXPECT_EQ(leer.x, nullptr);
    EXPECT_THROW(leer.speicher(-1), std::bad_alloc);
    EXPECT_EQ(leer.kapazitaet, 0);
}

TEST(Kurve, SetzenxAndInitxLeaveYAlone) {
    double xs[3] = {1, 2, 3}, ys[3] = {7, 8, 9}, neu[3] = {-1, -2, -3};
    CKurve k(xs, ys, 3);
    k.setzenx(neu, 3);
    EXPECT_EQ(k.anzahl, 3);
    EXPECT_EQ(k.x[2], -3);
    EXPECT_EQ(k.y[2], 9);  // reused block: y as before

    k.initx(3);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(k.x[i], double(i));
    EXPECT_EQ(k.y[0], 7);

    CKurve quelle(neu, ys, 2);
    k.setzenx(&quelle);  // other count: reallocated, x copied
    EXPECT_EQ(k.kapazitaet, 2);
    EXPECT_EQ(k.anzahl, 2);
    EXPECT_EQ(k.x[1], -2);

    k.initx(0);
    EXPECT_EQ(k.anzahl, 0);
    EXPECT_EQ(k.x, nullptr);
}

TEST(Kurve, CopiesOwnTheirBlockAndSelfCopyKeepsData) {
    double xs[2] = {1, 2}, ys[2] = {3, 4};
    CKurve a(xs, ys, 2);
    CKurve b(a);
    CKurve c;
    c = a;
    EXPECT_NE(b.x, a.x);
    EXPECT_NE(c.x, a.x);
    a.y[1] = 99;
    EXPECT_EQ(b.y[1], 4);
    EXPECT_EQ(c.y[1], 4);

    const CKurve& selbst = c;
    c = selbst;
    EXPECT_EQ(c.anzahl, 2);
    EXPECT_EQ(c.y[1], 4);
    EXPECT_EQ(c.setzen(&a), &c);
    EXPECT_EQ(c.y[1], 99);
    c.setzen(static_cast<const CKurve*>(nullptr));
    EXPECT_EQ(c.anzahl, 0);
    EXPECT_EQ(c.x, nullptr);
}

TEST(Kurve, RangeKeepsEarlierTiesAndUsesTheCount) {
    double xs[3] = {0.0, -0.0, 5}, ys[3] = {-0.0, 0.0, -7};
    CKurve k(xs, ys, 2);
    double lo = 42, hi = 42;
    k.getbereichx(&lo, &hi);  // 0.0 then -0.0: equal, the first stays
    EXPECT_FALSE(std::signbit(lo));
    EXPECT_FALSE(std::signbit(hi));
    k.getbereichy(&lo, &hi);
    EXPECT_TRUE(std::signbit(lo));
    EXPECT_TRUE(std::signbit(hi));

    double a[5] = {3, 1, 4, 1, -5};
    k.initx(4);  // count 4: the last element of a is not looked at
    k.getbereich0(a, &lo, &hi);
    EXPECT_EQ(lo, 1);
    EXPECT_EQ(hi, 4);

    double eins = 2.5;
    CKurve einzeln(&eins, &eins, 1);
    einzeln.getbereichx(&lo, &hi);
    EXPECT_EQ(lo, 2.5);
    EXPECT_EQ(hi, 2.5);

    CKurve leer;
    lo = hi = 42;
    leer.getbereichy(&lo, &hi);
    EXPECT_EQ(lo, 42);
    EXPECT_EQ(hi, 42);
}

TEST(Kurve, Subtraktion) {
    double xs[3] = {1, 2, 3}, ya[3] = {10, 20, 30}, yb[3] = {1, 2, 3};
    CKurve a(xs, ya, 3), b(xs, yb, 3), out;
    out.speicher(7);
    a.subtraktion(&b, &out);
    EXPECT_EQ(out.kapazitaet, 3);
    EXPECT_EQ(out.anzahl, 3);
    EXPECT_EQ(out.x[2], 3);
    EXPECT_EQ(out.y[0], 9);
    EXPECT_EQ(out.y[2], 27);

    CKurve kurz(xs, yb, 2);
    a.subtraktion(&kurz, &out);  // counts differ: nothing happens
    EXPECT_EQ(out.y[2], 27);

    a.multx_fak(2);
    a.subtraktion(&b, &a);  // in place: x stays, y replaced
    EXPECT_EQ(a.x[1], 4);
    EXPECT_EQ(a.y[1], 18);

    a.subtraktion(&b, &b);  // into b itself
    EXPECT_EQ(b.x[1], 4);
    EXPECT_EQ(b.y[1], 16);
}

TEST(Kurve, MeanAndAddValue) {
    double a[4] = {1, 2, 3, 6};
    EXPECT_EQ(CKurve::meanvalue(a, 4), 3.0);
    EXPECT_EQ(CKurve::meanvalue(a, 0), 0.0);
    CKurve::addvalue(a, 3, 0.5);
    EXPECT_EQ(a[0], 1.5);
    EXPECT_EQ(a[2], 3.5);
    EXPECT_EQ(a[3], 6);
}

TEST(Kurve, TextOutputByteForByte) {
    double xs[2] = {1.5, -2}, ys[2] = {0.25, 1e10};
    CKurve k(xs, ys, 2);
    EXPECT_EQ(ausgabe(k, nullptr, nullptr),
              " 1.500000e+00\t 2.500000e-01\n-2.000000e+00\t 1.000000e+10\n");
    EXPECT_EQ(ausgabe(k, L"", "%g;%g\n", 2, -1), "3;-0.25\n-4;-1e+10\n");
    EXPECT_EQ(ausgabe(k, L"Profil \u00c4 \u20ac \U0001F600", "%g %g\n"),
              "Profil \xc3\x84 \xe2\x82\xac \xf0\x9f\x98\x80\n1.5 0.25\n-2 1e+10\n");
    const wchar_t kaputt[] = {L'a', wchar_t(0xD800), 0};
    EXPECT_EQ(ausgabe(k, kaputt, "%g %g\n"), "1.5 0.25\n-2 1e+10\n");

    CKurve leer;
    EXPECT_EQ(ausgabe(leer, L"Titel", nullptr), "No data\n");
    leer.speicher(3);  // capacity without count is still no data
    EXPECT_EQ(ausgabe(leer, L"Titel", nullptr), "No data\n");

    EXPECT_EQ(k.testfile("kein_ordner/x.tmp", L"T", 1, 1, nullptr), 0);
    EXPECT_EQ(lies_datei("kein_ordner/x.tmp"), "");
}

TEST(Kurve, TestfilefDecimals) {
    double xs[2] = {1.23456, 2}, ys[2] = {-0.5, 1000};
    CKurve k(xs, ys, 2);
    const char* name = "kurve_testfilef.tmp";
    k.testfilef(name, L"T", 10, 1, 3, 2);
    EXPECT_EQ(lies_datei(name), "T\n12.346\t-0.50\n20.000\t1000.00\n");
    k.testfilef(name, nullptr, 1, 1, 0, -1);
    EXPECT_EQ(lies_datei(name), "1\t-0.500000\n2\t1000.000000\n");
    std::remove(name);
}

TEST(LogKurve, FloorAndAxes) {
    double xs[4] = {5, -1, 0, 2}, ys[4] = {1.0, 0.0, -3.0, std::exp(1.0)};
    CKurve c(xs, ys, 4);
    setzlog(2, &c, &c);
    EXPECT_EQ(c.y[0], 0.0);
    EXPECT_EQ(c.y[1], -10.0);
    EXPECT_EQ(c.y[2], -10.0);
    EXPECT_DOUBLE_EQ(c.y[3], 1.0);
    EXPECT_EQ(c.x[1], -1);  // x untouched

    double nan = std::nan("");
    CKurve n(&nan, &nan, 1);
    setzlog(3, &n, &n);
    EXPECT_EQ(n.x[0], -10.0);
    EXPECT_EQ(n.y[0], -10.0);
}

TEST(LogKurve, CopyAndInverse) {
    double xs[3] = {0.001, 0.0, 1234.5}, ys[3] = {-2, 3, 4};
    CKurve a(xs, ys, 3), b;
    b.speicher(10);
    setzlog(0, &a, &b);  // plain copy, sized to the source
    EXPECT_EQ(b.kapazitaet, 3);
    EXPECT_EQ(b.anzahl, 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(b.x[i], a.x[i]);
        EXPECT_EQ(b.y[i], a.y[i]);
    }

    setzlog(1, &a, &b);
    EXPECT_EQ(a.x[0], 0.001);  // source untouched
    setzlogu(1, &b, &b);
    EXPECT_NEAR(b.x[0], 0.001, 1e-15);
    EXPECT_DOUBLE_EQ(b.x[1], std::exp(-10.0));
    EXPECT_NEAR(b.x[2], 1234.5, 1e-9);
    EXPECT_EQ(b.y[0], -2);

    setzlogu(2, &a, &b);
    EXPECT_EQ(b.x[0], 0.001);
    EXPECT_DOUBLE_EQ(b.y[1], std::exp(3.0));

    CKurve leer;
    setzlog(3, &leer, &b);
    EXPECT_EQ(b.anzahl, 0);
    EXPECT_EQ(b.x, nullptr);
}
