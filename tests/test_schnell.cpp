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

// The plain rule of each line conversion: for sample c of pixel i of n,
// where it lands and where it comes from. wandelzeile8/16 modes 0-4 (art
// 8 or 16), and wandelzeile8b flags 0, 1, 4 (art 4).
struct Regel {
    size_t ziel, quelle;
};
Regel regel(int art, int wert, size_t n, size_t i, size_t c) {
    if (art == 4)
        return {3 * i + c, wert == 1 ? (2 - c) * n + i : wert == 0 ? 4 * i + 2 - c : 4 * i + c};
    switch (wert) {
        case 0: return {3 * i + c, 3 * i + 2 - c};
        case 3: return {3 * i + c, c * n + i};
        case 4: return {3 * i + c, (2 - c) * n + i};
        case 1: return {c * n + i, 3 * i + c};
        default: return {(2 - c) * n + i, 3 * i + c};
    }
}

template <typename T>
void pruefe(int art, int wert) {
    // Every length around the kernels' blocks of 4 pixels and 48 bytes.
    for (size_t n = 1; n <= 70; ++n) {
        auto src = zahlen<T>(4 * n, uint32_t(n));
        std::vector<T> dst(3 * n + 1, T(7));
        if (art == 4) wandelzeile8b(wert, reinterpret_cast<unsigned char*>(src.data()), int(n), reinterpret_cast<unsigned char*>(dst.data()));
        else if (art == 8) wandelzeile8(wert, reinterpret_cast<unsigned char*>(src.data()), int(n), dst.data());
        else wandelzeile16(wert, reinterpret_cast<unsigned short*>(src.data()), int(n), dst.data());
        for (size_t i = 0; i < n; ++i)
            for (size_t c = 0; c < 3; ++c) {
                const Regel r = regel(art, wert, n, i, c);
                ASSERT_EQ(dst[r.ziel], src[r.quelle]) << art << "/" << wert << " n " << n << " pixel " << i;
            }
        EXPECT_EQ(dst.back(), T(7)) << "written past the row: " << art << "/" << wert << " n " << n;
    }
}

}  // namespace

TEST(Schnell, LineKernelsMatchTheirPixelRules) {
    for (int mode = 0; mode <= 4; ++mode) {
        pruefe<unsigned char>(8, mode);
        pruefe<unsigned short>(16, mode);
    }
    for (int flag : {0, 1, 4}) pruefe<unsigned char>(4, flag);
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
