// Row and column sums and mean values against a direct double loop over
// every depth and colour layout.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "bildlib.h"

namespace {

struct Art {
    int bpp, flag, farbe32;
};

// Gray, gray with a stray flag, interleaved both orders and planar colour.
const Art kArten[] = {{1, 0, 0}, {2, 0, 0}, {4, 0, 0}, {2, 7, 0},  {3, 0, 0},
                      {3, 4, 0}, {3, 1, 0}, {6, 0, 0}, {6, 4, 0},  {6, 1, 0},
                      {4, 0, 256}, {4, 4, 256}, {4, 7, 256}};

void fuelle(CBILD& b, const Art& art, int w, int h, uint32_t saat) {
    ASSERT_EQ(b.speicher(w, h, art.bpp), 1);
    b.flag = art.flag;
    b.farbe32 = art.farbe32;
    for (uint32_t i = 0; i < b.puffergroesse; ++i) {
        saat = saat * 1103515245u + 12345u;
        b.puffer[i] = (unsigned char)(saat >> 16);
    }
}

bool ist_farbe(const CBILD& b) { return b.bpp == 3 || b.bpp == 6 || (b.bpp == 4 && b.farbe32 == 256); }

// Little-endian sample of `size` bytes at byte offset `off` of row y.
double probe(const CBILD& b, int y, size_t off, int size) {
    double v = 0;
    for (int i = size - 1; i >= 0; --i) v = v * 256 + b.zeile[y][off + size_t(i)];
    return v;
}

// Pixel value: the gray sample, colour sample c (0 red, 1 green, 2 blue) or
// the sum of all three for c = -1.
double wert(const CBILD& b, int x, int y, int c) {
    if (!ist_farbe(b)) return probe(b, y, size_t(x) * size_t(b.bpp), b.bpp);
    if (c < 0) return wert(b, x, y, 0) + wert(b, x, y, 1) + wert(b, x, y, 2);
    const int size = b.bpp == 6 ? 2 : 1;
    const int s = b.flag == 4 ? c : 2 - c;  // stored blue first unless order 4
    const bool planar = b.flag != 0 && b.flag != 4;
    const size_t index = planar ? size_t(s * b.breite + x) : size_t(x * (b.bpp / size) + s);
    return probe(b, y, index * size_t(size), size);
}

void pruefe(const CBILD& b, int kanal, CTeilbereich* region) {
    CTeilbereich r(0, 0, b.breite, b.hoehe);
    CKurve zeilen, spalten, z2, s2;
    double mittel = -1, lo = -1, hi = -1;
    ASSERT_EQ(profilsummen(&b, &zeilen, &spalten, kanal, region), 1);
    if (region) r = *region;
    ASSERT_EQ(zeilensumme(&b, &z2, kanal, region), 1);
    ASSERT_EQ(spaltensumme(&b, &s2, kanal, region), 1);
    ASSERT_EQ(mittelwert(&b, &mittel, &lo, &hi, kanal, region), 1);

    std::vector<double> zs(size_t(r.hoehe), 0.0), ss(size_t(r.breite), 0.0);
    double summe = 0, rlo = 1e300, rhi = -1;
    for (int y = 0; y < r.hoehe; ++y)
        for (int x = 0; x < r.breite; ++x) {
            const double v = wert(b, r.links + x, r.oben + y, kanal);
            zs[size_t(y)] += v;
            ss[size_t(x)] += v;
            summe += v;
            rlo = std::min(rlo, v);
            rhi = std::max(rhi, v);
        }
    ASSERT_EQ(zeilen.anzahl, r.hoehe);
    ASSERT_EQ(z2.anzahl, r.hoehe);
    ASSERT_EQ(spalten.anzahl, r.breite);
    ASSERT_EQ(s2.anzahl, r.breite);
    for (int y = 0; y < r.hoehe; ++y) {
        EXPECT_EQ(zeilen.x[y], r.oben + y);
        EXPECT_EQ(zeilen.y[y], zs[size_t(y)]) << "row " << y;
        EXPECT_EQ(z2.y[y], zs[size_t(y)]);
    }
    for (int x = 0; x < r.breite; ++x) {
        EXPECT_EQ(spalten.x[x], r.links + x);
        EXPECT_EQ(spalten.y[x], ss[size_t(x)]) << "column " << x;
        EXPECT_EQ(s2.y[x], ss[size_t(x)]);
    }
    EXPECT_DOUBLE_EQ(mittel, summe / (double(r.breite) * r.hoehe));
    EXPECT_EQ(lo, rlo);
    EXPECT_EQ(hi, rhi);
}

}  // namespace

TEST(Profil, EveryDepthLayoutAndChannelMatchesDirectLoop) {
    const int groessen[][2] = {{1, 1}, {3, 21}, {37, 23}, {1, 20}};
    uint32_t saat = 1;
    for (const Art& art : kArten)
        for (const auto& g : groessen) {
            CBILD b;
            fuelle(b, art, g[0], g[1], saat++);
            for (int kanal = -1; kanal <= 2; ++kanal) {
                SCOPED_TRACE(testing::Message() << "bpp " << art.bpp << " flag " << art.flag << " marker "
                                                << art.farbe32 << " " << g[0] << "x" << g[1] << " kanal "
                                                << kanal);
                pruefe(b, kanal, nullptr);
                CTeilbereich teil(g[0] / 3, g[1] / 4, g[0] - g[0] / 2, g[1] - g[1] / 3);
                pruefe(b, kanal, &teil);
            }
        }
}

TEST(Profil, ChannelsAreRedGreenBlueWhateverTheStorage) {
    // Red 30, green 20, blue 10 in every colour layout; a fourth byte of 200.
    CBILD bgr, rgb, planar, farb32, planar16;
    bgr.speicher(1, 1, 3);
    const unsigned char b1[3] = {10, 20, 30};
    std::copy(b1, b1 + 3, bgr.puffer);
    rgb.speicher(1, 1, 3);
    rgb.flag = 4;
    const unsigned char r1[3] = {30, 20, 10};
    std::copy(r1, r1 + 3, rgb.puffer);
    planar.speicher(2, 1, 3);  // planes blue, green, red of two pixels
    planar.flag = 1;
    const unsigned char p1[6] = {10, 11, 20, 21, 30, 31};
    std::copy(p1, p1 + 6, planar.puffer);
    farb32.speicher(1, 1, 4);
    farb32.farbe32 = 256;
    const unsigned char f1[4] = {10, 20, 30, 200};
    std::copy(f1, f1 + 4, farb32.puffer);
    planar16.speicher(1, 1, 6);
    planar16.flag = 2;
    const uint16_t p16[3] = {1000, 2000, 3000};
    std::copy(p16, p16 + 3, reinterpret_cast<uint16_t*>(planar16.puffer));

    for (CBILD* b : {&bgr, &rgb, &planar, &farb32}) {
        double rot = 0, gruen = 0, blau = 0, alle = 0;
        mittelwert(b, nullptr, &rot, nullptr, 0);
        mittelwert(b, nullptr, &gruen, nullptr, 1);
        mittelwert(b, nullptr, &blau, nullptr, 2);
        mittelwert(b, nullptr, &alle, nullptr, -1);
        EXPECT_EQ(rot, 30);
        EXPECT_EQ(gruen, 20);
        EXPECT_EQ(blau, 10);
        EXPECT_EQ(alle, 60);  // the fourth byte never counts
    }
    CKurve k;
    ASSERT_EQ(spaltensumme(&planar, &k, 0), 1);
    EXPECT_EQ(k.y[1], 31);
    ASSERT_EQ(zeilensumme(&planar16, &k, 0), 1);
    EXPECT_EQ(k.y[0], 3000);
}

TEST(Profil, SumsDoNotOverflow32Bits) {
    CBILD breit, hoch, weit;
    breit.speicher(70000, 1, 2);
    hoch.speicher(1, 70000, 2);
    for (CBILD* b : {&breit, &hoch})
        for (uint32_t i = 0; i < b->puffergroesse; ++i) b->puffer[i] = 0xFF;
    CKurve k;
    ASSERT_EQ(zeilensumme(&breit, &k), 1);
    EXPECT_EQ(k.y[0], 70000.0 * 65535);
    ASSERT_EQ(spaltensumme(&hoch, &k), 1);
    EXPECT_EQ(k.y[0], 70000.0 * 65535);

    weit.speicher(3, 2, 4);
    for (uint32_t i = 0; i < weit.puffergroesse; ++i) weit.puffer[i] = 0xFF;
    ASSERT_EQ(zeilensumme(&weit, &k), 1);
    EXPECT_EQ(k.y[1], 3 * 4294967295.0);
    double mittel = 0, lo = 0, hi = 0;
    ASSERT_EQ(mittelwert(&weit, &mittel, &lo, &hi), 1);
    EXPECT_EQ(mittel, 4294967295.0);
    EXPECT_EQ(lo, 4294967295.0);
}

TEST(Profil, RegionIsFittedInPlace) {
    CBILD b;
    fuelle(b, kArten[1], 37, 23, 99);
    CTeilbereich teil(-2, 30, 4, 5);  // left of and below the image
    CKurve zeilen, spalten;
    ASSERT_EQ(profilsummen(&b, &zeilen, &spalten, -1, &teil), 1);
    EXPECT_EQ(teil.links, 0);
    EXPECT_EQ(teil.oben, 18);
    EXPECT_EQ(teil.breite, 4);
    EXPECT_EQ(teil.hoehe, 5);
    EXPECT_EQ(zeilen.x[0], 18);
    EXPECT_EQ(zeilen.anzahl, 5);
    EXPECT_EQ(spalten.anzahl, 4);

    CTeilbereich zu_gross(5, 5, 100, 100);  // cut to the image
    pruefe(b, -1, &zu_gross);
    EXPECT_EQ(zu_gross.breite, 37);
    EXPECT_EQ(zu_gross.hoehe, 23);
}

TEST(Profil, RefusalsTouchNothing) {
    double xs[2] = {1, 2};
    CKurve k(xs, xs, 2);
    double mittel = 5;
    CBILD leer, farbe, fuenf;
    fuelle(farbe, kArten[4], 3, 3, 7);
    fuelle(fuenf, {5, 0, 0}, 3, 3, 7);
    CTeilbereich teil(-1, -1, 2, 2);

    EXPECT_EQ(zeilensumme(nullptr, &k), 0);
    EXPECT_EQ(spaltensumme(&leer, &k), 0);
    EXPECT_EQ(zeilensumme(&fuenf, &k), 0);
    EXPECT_EQ(zeilensumme(&farbe, &k, 3, &teil), 0);
    EXPECT_EQ(mittelwert(&farbe, &mittel, nullptr, nullptr, -2), 0);
    EXPECT_EQ(teil.links, -1);  // refused before the region is fitted
    CTeilbereich nichts(1, 1, 0, 2);
    EXPECT_EQ(spaltensumme(&farbe, &k, -1, &nichts), 0);
    EXPECT_EQ(k.anzahl, 2);
    EXPECT_EQ(k.y[1], 2);
    EXPECT_EQ(mittel, 5);

    CBILD grau;
    fuelle(grau, kArten[0], 3, 3, 8);
    EXPECT_EQ(zeilensumme(&grau, &k, 7), 1);  // gray images ignore the channel
}
