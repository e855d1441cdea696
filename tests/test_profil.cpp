// Row and column sums and mean values against a direct double loop over
// every depth, colour layout and channel (0 red, 1 green, 2 blue, -1 all).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "bildlib.h"

namespace {

struct Art { int bpp, flag, farbe32; };

void fuelle(CBILD& b, const Art& art, int w, int h, uint32_t saat) {
    ASSERT_EQ(b.speicher(w, h, art.bpp), 1);
    b.flag = art.flag, b.farbe32 = art.farbe32;
    for (uint32_t i = 0; i < b.puffergroesse; ++i) {
        saat = saat * 1103515245u + 12345u;
        b.puffer[i] = (unsigned char)(saat >> 16);
    }
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
    std::vector<double> zs(size_t(r.hoehe)), ss(size_t(r.breite));
    double summe = 0, rlo = 1e300, rhi = -1;
    for (int y = 0; y < r.hoehe; ++y)
        for (int x = 0; x < r.breite; ++x) {
            const double v = wert(b, r.links + x, r.oben + y, kanal);
            zs[size_t(y)] += v, ss[size_t(x)] += v, summe += v;
            rlo = std::min(rlo, v), rhi = std::max(rhi, v);
        }
    ASSERT_EQ(zeilen.anzahl, r.hoehe);
    ASSERT_EQ(spalten.anzahl, r.breite);
    for (int y = 0; y < r.hoehe; ++y) EXPECT_EQ(std::pair(zeilen.x[y], zeilen.y[y]), std::pair(double(r.oben + y), zs[size_t(y)]));
    for (int x = 0; x < r.breite; ++x) EXPECT_EQ(std::pair(spalten.x[x], spalten.y[x]), std::pair(double(r.links + x), ss[size_t(x)]));
    EXPECT_DOUBLE_EQ(mittel, summe / (double(r.breite) * r.hoehe));
    EXPECT_EQ(std::pair(lo, hi), std::pair(rlo, rhi));
}

}  // namespace

TEST(Profil, EveryDepthLayoutAndChannelMatchesDirectLoop) {
    // Gray (also with a stray flag), colour interleaved in both orders and planar.
    const Art arten[] = {{1, 0, 0}, {2, 0, 0}, {4, 0, 0}, {2, 7, 0}, {3, 0, 0}, {3, 4, 0}, {3, 1, 0},
                         {6, 0, 0}, {6, 4, 0}, {6, 1, 0}, {4, 0, 256}, {4, 4, 256}, {4, 7, 256}};
    uint32_t saat = 1;
    for (const Art& art : arten)
        for (auto [w, h] : {std::pair{1, 1}, {3, 21}, {37, 23}, {1, 20}}) {
            CBILD b;
            fuelle(b, art, w, h, saat++);
            for (int kanal = -1; kanal <= 2; ++kanal) {
                SCOPED_TRACE(testing::Message() << "bpp " << art.bpp << " flag " << art.flag << " marker "
                                                << art.farbe32 << " " << w << "x" << h << " kanal " << kanal);
                pruefe(b, kanal, nullptr);
                CTeilbereich teil(w / 3, h / 4, w - w / 2, h - h / 3);
                pruefe(b, kanal, &teil);
            }
        }
}

TEST(Profil, SumsDoNotOverflow32BitsRegionsAreFittedRefusalsTouchNothing) {
    CBILD breit, hoch, gray32, b, leer, fuenf, grau;
    breit.speicher(70000, 1, 2);
    hoch.speicher(1, 70000, 2);
    gray32.speicher(3, 2, 4);
    for (CBILD* p : {&breit, &hoch, &gray32}) std::fill(p->puffer, p->puffer + p->puffergroesse, 0xFF);
    CKurve k, s, g;
    double mittel = 0;
    ASSERT_EQ(zeilensumme(&breit, &k) + spaltensumme(&hoch, &s) + zeilensumme(&gray32, &g), 3);
    mittelwert(&gray32, &mittel, nullptr, nullptr);
    EXPECT_EQ(std::vector<double>({k.y[0], s.y[0], g.y[1], mittel}),
              std::vector<double>({70000.0 * 65535, 70000.0 * 65535, 3 * 4294967295.0, 4294967295.0}));

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
