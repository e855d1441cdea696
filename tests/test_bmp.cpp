// BMP reader: every bit count, both row orders, offsets, masks, bad files.
#include <climits>
#include <cstring>
#include <new>

#include "bildlib.h"
#include "hilfe.h"

namespace {

// Stored rows of `stride` bytes whose bytes are a pattern of (row, index).
std::vector<Bytes> muster(int hoehe, int stride) {
    std::vector<Bytes> z(size_t(hoehe), Bytes(static_cast<size_t>(stride)));
    for (int y = 0; y < hoehe; ++y)
        for (int i = 0; i < stride; ++i) z[size_t(y)][size_t(i)] = uint8_t(y * 31 + i * 7 + 1);
    return z;
}

class Bmp : public Ordner {
protected:
    int lies(const Bytes& datei, CBILD& bild) {
        schreib_datei(pfad("t.bmp"), datei);
        return bild.bildlese(w(pfad("t.bmp")).c_str());
    }
};

}  // namespace

TEST_F(Bmp, CopiedDepthsKeepStoredBytesBothRowOrders) {
    struct Fall { int bits, bpp; };
    for (Fall f : {Fall{8, 1}, Fall{16, 2}, Fall{24, 3}, Fall{48, 6}, Fall{12, 1}}) {
        for (int breite : {1, 2, 3, 37}) {
            for (bool topdown : {false, true}) {
                BmpBau b;
                b.bits = f.bits;
                b.breite = breite;
                b.hoehe = 3;
                b.topdown = topdown;
                auto zeilen = muster(3, b.stride());
                CBILD bild(0, 0);
                bild.flag = 9;
                ASSERT_EQ(lies(b.bau(zeilen), bild), 0) << f.bits << " " << breite;
                ASSERT_EQ(bild.bpp, f.bpp);
                ASSERT_EQ(bild.breite, breite);
                ASSERT_EQ(bild.hoehe, 3);
                EXPECT_EQ(bild.flag, 0);
                const int n = f.bits == 12 ? breite : breite * f.bpp;
                for (int y = 0; y < 3; ++y)
                    EXPECT_EQ(0, std::memcmp(bild.zeile[y], zeilen[size_t(y)].data(), size_t(n)))
                        << f.bits << " " << breite << " " << topdown << " row " << y;
            }
        }
    }
}

TEST_F(Bmp, OneAndFourBitUnpack) {
    BmpBau b;
    b.bits = 1;
    b.breite = 11;
    b.hoehe = 2;
    Bytes z0 = {0xA5, 0xE0, 0, 0}, z1 = {0xFF, 0xFF, 0xFF, 0xFF};
    CBILD bild(0, 0);
    ASSERT_EQ(lies(b.bau({z0, z1}), bild), 0);
    const int erwartet0[11] = {254, 0, 254, 0, 0, 254, 0, 254, 254, 254, 254};
    for (int x = 0; x < 11; ++x) {
        EXPECT_EQ(bild.zeile[0][x], erwartet0[x]) << x;
        EXPECT_EQ(bild.zeile[1][x], 254);  // never 255
    }

    b.bits = 4;
    b.breite = 5;
    b.hoehe = 1;
    ASSERT_EQ(lies(b.bau({{0x7A, 0x3C, 0x9F, 0}}), bild), 0);
    const int erwartet4[5] = {0x70, 0xA0, 0x30, 0xC0, 0x90};
    for (int x = 0; x < 5; ++x) EXPECT_EQ(bild.zeile[0][x], erwartet4[x]) << x;

    b.bits = 2;  // read, but no pixel is written
    b.breite = 3;
    bild.speicher(3, 1, 1);
    std::memset(bild.puffer, 77, 3);
    ASSERT_EQ(lies(b.bau({{0xFF, 0, 0, 0}}), bild), 0);
    EXPECT_EQ(bild.zeile[0][0], 77);
}

TEST_F(Bmp, ThirtyTwoBitMasksAndShifts) {
    BmpBau b;
    b.bits = 32;
    b.breite = 2;
    b.hoehe = 1;
    Bytes z = {0x11, 0x22, 0x33, 0x44, 0xF1, 0xE2, 0xD3, 0xC4};
    CBILD bild(0, 0);
    ASSERT_EQ(lies(b.bau({z}), bild), 0);
    ASSERT_EQ(bild.bpp, 3);
    Bytes ohne(bild.puffer, bild.puffer + 6);
    EXPECT_EQ(ohne, (Bytes{0x11, 0x22, 0x33, 0xF1, 0xE2, 0xD3}));

    b.kompression = 3;
    b.masken = {0x00FF0000, 0x0000FF00, 0x000000FF};
    ASSERT_EQ(lies(b.bau({z}), bild), 0);
    EXPECT_EQ(Bytes(bild.puffer, bild.puffer + 6), ohne);

    // 5-6-5 masks: shifts 11/5/0 and no masking before the shift, so the
    // neighbouring channel's bits stay in each byte.
    b.masken = {0xF800, 0x07E0, 0x001F};
    ASSERT_EQ(lies(b.bau({{0x34, 0x12, 0, 0, 0xFF, 0xFF, 0, 0}}), bild), 0);
    EXPECT_EQ(Bytes(bild.puffer, bild.puffer + 6), (Bytes{0x34, 0x91, 0x02, 0xFF, 0xFF, 0x1F}));

    CBmp leer;
    int s = -1;
    EXPECT_EQ(CBmp::getshift32(0, &s), 32);
    EXPECT_EQ(s, 0);
    EXPECT_EQ(CBmp::getshift32(0x80000000u, &s), 31);
}

TEST_F(Bmp, DataOffsetSkipsAndSeeksBack) {
    BmpBau b;
    b.bits = 8;
    b.breite = 4;
    b.hoehe = 1;
    b.datenoffset = 3000;  // skipped in 1024-byte blocks, then sought to
    CBILD bild(0, 0);
    ASSERT_EQ(lies(b.bau({{1, 2, 3, 4}}), bild), 0);
    EXPECT_EQ(Bytes(bild.puffer, bild.puffer + 4), (Bytes{1, 2, 3, 4}));

    // An offset below 54 skips nothing and seeks back into the header.
    Bytes datei = b.bau({{1, 2, 3, 4}});
    put32(datei, 10, 2);
    ASSERT_EQ(lies(datei, bild), 0);
    EXPECT_EQ(Bytes(bild.puffer, bild.puffer + 4), Bytes(datei.begin() + 2, datei.begin() + 6));

    // Masks of a compression-3 file come from the start of the last block read.
    BmpBau m;
    m.bits = 32;
    m.kompression = 3;
    m.datenoffset = 54 + 1040;
    Bytes d = m.bau({{0x00, 0x0F, 0xF0, 0x00}});
    put32(d, 54, 0xFF);                // first block: not used
    put32(d, 54 + 1024, 0x0000F000);  // red
    put32(d, 54 + 1028, 0x00000F00);  // green
    put32(d, 54 + 1032, 0x00F00000);  // blue
    ASSERT_EQ(lies(d, bild), 0);
    // pixel 0x00F00F00: blue >> 20, green >> 8, red >> 12
    EXPECT_EQ(Bytes(bild.puffer, bild.puffer + 3), (Bytes{0x0F, 0x0F, 0x00}));
}

TEST_F(Bmp, WideStrideWrapsAtSixteenBits) {
    BmpBau b;
    b.bits = 24;
    b.breite = 21846;
    b.hoehe = 2;
    // 21846 x 3 = 65538 bytes: the masked stride is 4, shorter than the
    // data, so no padding is skipped and rows follow each other directly.
    Bytes z0(65538), z1(65538);
    for (size_t i = 0; i < z0.size(); ++i) {
        z0[i] = uint8_t(i % 251);
        z1[i] = uint8_t(i % 241);
    }
    CBILD bild(0, 0);
    ASSERT_EQ(lies(b.bau({z0, z1}), bild), 0);
    EXPECT_EQ(0, std::memcmp(bild.zeile[0], z0.data(), z0.size()));
    EXPECT_EQ(0, std::memcmp(bild.zeile[1], z1.data(), z1.size()));
}

TEST_F(Bmp, TruncatedAndHostileFiles) {
    BmpBau b;
    b.bits = 24;
    b.breite = 3;
    b.hoehe = 4;
    Bytes datei = b.bau(muster(4, 12));
    datei.resize(datei.size() - 20);  // last stored row (top) cut short
    CBILD bild(0, 0);
    EXPECT_EQ(lies(datei, bild), 3);
    EXPECT_EQ(bild.hoehe, 4);  // allocated at full size, rows read so far kept
    EXPECT_EQ(bild.zeile[3][0], muster(4, 12)[3][0]);

    EXPECT_EQ(lies(Bytes{}, bild), 0);  // no header: height 0, nothing read
    EXPECT_EQ(bild.hoehe, 0);

    Bytes neg = b.bau(muster(4, 12));
    put32(neg, 18, uint32_t(-5));
    EXPECT_EQ(lies(neg, bild), 3);

    Bytes riesig = b.bau(muster(4, 12));
    put32(riesig, 18, 0x7FFFFFFF);
    put32(riesig, 22, 0x7FFFFFFF);
    EXPECT_THROW(lies(riesig, bild), std::bad_alloc);
    put32(riesig, 22, uint32_t(INT_MIN));
    EXPECT_EQ(lies(riesig, bild), 0);  // negating INT_MIN leaves no rows

    Bytes ohne_breite = b.bau(muster(4, 12));
    put32(ohne_breite, 18, 0);
    EXPECT_EQ(lies(ohne_breite, bild), 0);
    EXPECT_EQ(bild.breite, 0);

    CBmp f;
    EXPECT_EQ(f.lesen(nullptr, &bild), 1);
    EXPECT_EQ(f.lesen(L"", &bild), 1);
    EXPECT_EQ(f.lesen(w(pfad("fehlt.bmp")).c_str(), &bild), 2);
    EXPECT_EQ(f.lesen(w(dir).c_str(), &bild), 2);  // a folder is no file
}
