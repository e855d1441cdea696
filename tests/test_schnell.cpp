// The fast paths against the plain rules they replace: the block loop of the
// first/third sample swap, 8-bit rows to and from planes and 4-byte pixels
// to 3 by words, the 32-bit unpack in pieces, the 8-bit table
// mapping by words, and rows read in batches from files larger than the
// stream buffer (whole, both row orders, and cut in the middle of a row).
#include <cstring>

#include "bildlib.h"
#include "hilfe.h"

namespace {

template <typename T>
std::vector<T> zahlen(size_t n, uint32_t saat) {
    std::vector<T> v(n);
    for (T& e : v) {
        saat = saat * 1103515245u + 12345u;
        e = T(saat >> 9);
    }
    return v;
}

template <typename T, typename F>
void pruefe_tausch(F wandel) {
    // Every length around the block size of 48 bytes and its edges.
    for (int n = 1; n <= 70; ++n) {
        const auto src = zahlen<T>(3 * size_t(n), uint32_t(n));
        std::vector<T> dst(3 * size_t(n) + 1, T(7));
        wandel(const_cast<T*>(src.data()), n, dst.data());
        for (int i = 0; i < n; ++i) {
            ASSERT_EQ(dst[3 * size_t(i)], src[3 * size_t(i) + 2]) << n << " " << i;
            ASSERT_EQ(dst[3 * size_t(i) + 1], src[3 * size_t(i) + 1]) << n << " " << i;
            ASSERT_EQ(dst[3 * size_t(i) + 2], src[3 * size_t(i)]) << n << " " << i;
        }
        EXPECT_EQ(dst.back(), T(7)) << "written past the row at n = " << n;
    }
}

}  // namespace

TEST(Schnell, SwapBlocksMatchThePixelRule) {
    pruefe_tausch<unsigned char>([](unsigned char* s, int n, unsigned char* d) { wandelzeile8(0, s, n, d); });
    pruefe_tausch<unsigned short>([](unsigned short* s, int n, unsigned short* d) { wandelzeile16(0, s, n, d); });
}

TEST(Schnell, ToPlanesByWordsMatchesThePixelRule) {
    for (int mode : {1, 2, 7}) {
        for (int n = 1; n <= 21; ++n) {
            auto src = zahlen<unsigned char>(3 * size_t(n), uint32_t(n));
            std::vector<unsigned char> dst(3 * size_t(n) + 1, 7);
            wandelzeile8(mode, src.data(), n, dst.data());
            const size_t N = size_t(n), erste = mode == 1 ? 0 : 2 * N, dritte = mode == 1 ? 2 * N : 0;
            for (size_t i = 0; i < N; ++i) {
                ASSERT_EQ(dst[erste + i], src[3 * i]) << mode << " " << n << " " << i;
                ASSERT_EQ(dst[N + i], src[3 * i + 1]) << mode << " " << n << " " << i;
                ASSERT_EQ(dst[dritte + i], src[3 * i + 2]) << mode << " " << n << " " << i;
            }
            EXPECT_EQ(dst.back(), 7);
        }
    }
}

TEST(Schnell, FromPlanesAndFourBytePixelsByWordsMatchTheRules) {
    for (int n = 1; n <= 21; ++n) {
        const size_t N = size_t(n);
        auto src = zahlen<unsigned char>(4 * N, uint32_t(n));
        for (int mode : {3, 4}) {
            std::vector<unsigned char> dst(3 * N + 1, 7);
            wandelzeile8(mode, src.data(), n, dst.data());
            const size_t erste = mode == 3 ? 0 : 2 * N, dritte = mode == 3 ? 2 * N : 0;
            for (size_t i = 0; i < N; ++i)
                ASSERT_EQ((std::vector<int>{dst[3 * i], dst[3 * i + 1], dst[3 * i + 2]}),
                          (std::vector<int>{src[erste + i], src[N + i], src[dritte + i]}))
                    << mode << " " << n << " " << i;
            EXPECT_EQ(dst.back(), 7);
        }
        for (int flag : {0, 1, 4}) {
            std::vector<unsigned char> dst(3 * N + 1, 7);
            wandelzeile8b(flag, src.data(), n, dst.data());
            for (size_t i = 0; i < N; ++i) {
                const std::vector<int> soll =
                    flag == 1   ? std::vector<int>{src[2 * N + i], src[N + i], src[i]}
                    : flag == 0 ? std::vector<int>{src[4 * i + 2], src[4 * i + 1], src[4 * i]}
                                : std::vector<int>{src[4 * i], src[4 * i + 1], src[4 * i + 2]};
                ASSERT_EQ((std::vector<int>{dst[3 * i], dst[3 * i + 1], dst[3 * i + 2]}), soll)
                    << flag << " " << n << " " << i;
            }
            EXPECT_EQ(dst.back(), 7);
        }
    }
}

TEST(Schnell, Unpack32InPiecesMatchesTheShifts) {
    CBmp bmp;
    for (auto shifts : {std::vector<int>{16, 8, 0}, std::vector<int>{11, 5, 0}, std::vector<int>{0, 31, 3}}) {
        bmp.rshift = shifts[0], bmp.gshift = shifts[1], bmp.bshift = shifts[2];
        for (int n : {1, 3, 4, 5, 255, 256, 257, 517}) {
            auto src = zahlen<unsigned int>(size_t(n), 99);
            std::vector<unsigned char> dst(3 * size_t(n) + 1, 7);
            bmp.wandel32(src.data(), n, dst.data());
            for (size_t i = 0; i < size_t(n); ++i) {
                ASSERT_EQ(dst[3 * i], (unsigned char)(src[i] >> bmp.bshift)) << n << " " << i;
                ASSERT_EQ(dst[3 * i + 1], (unsigned char)(src[i] >> bmp.gshift)) << n << " " << i;
                ASSERT_EQ(dst[3 * i + 2], (unsigned char)(src[i] >> bmp.rshift)) << n << " " << i;
            }
            EXPECT_EQ(dst.back(), 7);
        }
    }
}

TEST(Schnell, EightBitMappingByPairsMatchesTheTable) {
    // Small images map byte by byte, images of a megabyte and more by pairs:
    // odd rows leave a tail byte either way.
    for (int bpp : {1, 3})
    for (int hoehe : {3, 1100}) {
        CBILD b(0, 0);
        b.speicher(hoehe == 3 ? 37 : 1001, hoehe, bpp);
        const auto werte = zahlen<unsigned char>(b.puffergroesse, 5);
        std::memcpy(b.puffer, werte.data(), b.puffergroesse);
        b.multaddwert(1.7, -20.0);
        for (size_t i = 0; i < b.puffergroesse; ++i) {
            const double t = werte[i] * 1.7 - 20.0 + 0.5;
            ASSERT_EQ(b.puffer[i], t > 255.0 ? 255 : t >= 0.0 ? int(t) : 0) << bpp << " " << hoehe << " " << i;
        }
    }
}

namespace {

class GrosseDatei : public Ordner {
protected:
    int lies(const std::string& name, const Bytes& datei, CBILD& bild) {
        schreib_datei(pfad(name), datei);
        return bild.bildlese(w(pfad(name)).c_str());
    }
};

}  // namespace

// 1100 rows of 112 bytes (37 pixels and one byte of padding): more than the
// stream buffer and more than one batch of rows.
TEST_F(GrosseDatei, BmpRowsInBatchesWholeAndCut) {
    BmpBau b;
    b.bits = 24;
    b.breite = 37;
    b.hoehe = 1100;
    const size_t zeile = 111;
    std::vector<Bytes> zeilen;
    for (int y = 0; y < b.hoehe; ++y) zeilen.push_back(zahlen<unsigned char>(size_t(b.stride()), uint32_t(y)));
    for (bool topdown : {false, true}) {
        b.topdown = topdown;
        const Bytes datei = b.bau(zeilen);
        CBILD bild(0, 0);
        ASSERT_EQ(lies("t.bmp", datei, bild), 0);
        for (int y = 0; y < b.hoehe; ++y)
            ASSERT_EQ(0, std::memcmp(bild.zeile[y], zeilen[size_t(y)].data(), zeile)) << topdown << " " << y;

        // Cut 50 bytes into the 700th stored row: the rows stored before it
        // are in, that row holds its first 50 bytes, and the result is 3.
        const Bytes kurz(datei.begin(), datei.begin() + 54 + 699 * 112 + 50);
        CBILD teil(0, 0);
        ASSERT_EQ(lies("k.bmp", kurz, teil), 3) << topdown;
        auto y_von = [&](int i) { return topdown ? i : b.hoehe - 1 - i; };
        for (int i = 0; i < 699; ++i)
            ASSERT_EQ(0, std::memcmp(teil.zeile[y_von(i)], zeilen[size_t(y_von(i))].data(), zeile)) << i;
        EXPECT_EQ(0, std::memcmp(teil.zeile[y_von(699)], zeilen[size_t(y_von(699))].data(), 50));
    }
}

TEST_F(GrosseDatei, RawRowsInOneReadWholeAndCut) {
    CBILD bild(0, 0);
    bild.speicher(300, 200, 2);  // 120000 bytes of rows
    const auto werte = zahlen<unsigned char>(bild.puffergroesse, 3);
    std::memcpy(bild.puffer, werte.data(), bild.puffergroesse);
    ASSERT_EQ(bild.bildspeich(w(pfad("t.raw")).c_str()), 0);
    const Bytes datei = lies_datei(pfad("t.raw"));

    CBILD zurueck(0, 0);
    ASSERT_EQ(lies("t.raw", datei, zurueck), 0);
    ASSERT_EQ(zurueck.puffergroesse, bild.puffergroesse);
    EXPECT_EQ(0, std::memcmp(zurueck.puffer, werte.data(), werte.size()));

    const Bytes kurz(datei.begin(), datei.begin() + 49 + 150 * 600 + 17);
    CBILD teil(0, 0);
    ASSERT_EQ(lies("k.raw", kurz, teil), 3);
    EXPECT_EQ(0, std::memcmp(teil.puffer, werte.data(), 150 * 600 + 17));
}
