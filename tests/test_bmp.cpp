// BMP reader: every bit count, both row orders, offsets, masks, bad files.
// BMP writer: header, gray table and padding; Pillow and ImageMagick read it.
#include <climits>
#include <cstring>

#include "hilfe.h"

namespace {

class Bmp : public Ordner {
protected:
    int lies(const Bytes& datei, CBILD& bild) { return Ordner::lies(datei, bild, "t.bmp"); }
    Bytes erste(const CBILD& b, size_t n) { return Bytes(b.puffer, b.puffer + n); }
};

}  // namespace

TEST_F(Bmp, CopiedDepthsKeepStoredBytesBothRowOrders) {
    for (auto [bits, bpp] : {std::pair{8, 1}, {16, 2}, {24, 3}, {48, 6}, {12, 1}})
        for (int breite : {1, 2, 3, 37})
            for (bool topdown : {false, true}) {
                SCOPED_TRACE(::testing::Message() << bits << " bits, width " << breite << " topdown " << topdown);
                const BmpBau b(bits, breite, 3, topdown);
                const auto zeilen = b.muster();
                CBILD bild(0, 0);
                bild.flag = 9;
                ASSERT_EQ(lies(b.bau(zeilen), bild), 0);
                ASSERT_EQ(std::vector<int>({bild.bpp, bild.breite, bild.hoehe, bild.flag}),
                          std::vector<int>({bpp, breite, 3, 0}));
                const size_t n = size_t(bits == 12 ? breite : breite * bpp);
                for (int y = 0; y < 3; ++y) EXPECT_EQ(0, std::memcmp(bild.zeile[y], zeilen[size_t(y)].data(), n)) << y;
            }
}

TEST_F(Bmp, OneAndFourBitUnpack) {
    CBILD bild(0, 0);
    ASSERT_EQ(lies(BmpBau(1, 11, 2).bau({{0xA5, 0xE0, 0, 0}, {0xFF, 0xFF, 0xFF, 0xFF}}), bild), 0);
    EXPECT_EQ(erste(bild, 11), (Bytes{254, 0, 254, 0, 0, 254, 0, 254, 254, 254, 254}));
    EXPECT_EQ(Bytes(bild.zeile[1], bild.zeile[1] + 11), Bytes(11, 254));  // set bits: never 255
    ASSERT_EQ(lies(BmpBau(4, 5).bau({{0x7A, 0x3C, 0x9F, 0}}), bild), 0);
    EXPECT_EQ(erste(bild, 5), (Bytes{0x70, 0xA0, 0x30, 0xC0, 0x90}));
    bild.speicher(3, 1, 1);  // 2 bits: read, but no pixel is written
    std::memset(bild.puffer, 77, 3);
    ASSERT_EQ(lies(BmpBau(2, 3).bau({{0xFF, 0, 0, 0}}), bild), 0);
    EXPECT_EQ(bild.zeile[0][0], 77);
}

TEST_F(Bmp, ThirtyTwoBitMasksAndShifts) {
    BmpBau b(32, 2);
    const Bytes z = {0x11, 0x22, 0x33, 0x44, 0xF1, 0xE2, 0xD3, 0xC4}, ohne = {0x11, 0x22, 0x33, 0xF1, 0xE2, 0xD3};
    CBILD bild(0, 0);
    ASSERT_EQ(lies(b.bau({z}), bild), 0);
    ASSERT_EQ(bild.bpp, 3);
    EXPECT_EQ(erste(bild, 6), ohne);  // no masks: the fourth byte dropped
    // 5-6-5 masks: shifts 11/5/0 and no masking before the shift, so the
    // neighbouring channel's bits stay in each byte.
    b.kompression = 3;
    b.masken = {0xF800, 0x07E0, 0x001F};
    ASSERT_EQ(lies(b.bau({{0x34, 0x12, 0, 0, 0xFF, 0xFF, 0, 0}}), bild), 0);
    EXPECT_EQ(erste(bild, 6), (Bytes{0x34, 0x91, 0x02, 0xFF, 0xFF, 0x1F}));
    int s = -1;
    EXPECT_EQ(CBmp::getshift32(0, &s) + s, 32);
    EXPECT_EQ(CBmp::getshift32(0x80000000u, &s), 31);
}

TEST_F(Bmp, DataOffsetSkipsAndSeeksBack) {
    BmpBau b(8, 4);
    b.datenoffset = 3000;  // skipped in 1024-byte blocks, then sought to
    CBILD bild(0, 0);
    ASSERT_EQ(lies(b.bau({{1, 2, 3, 4}}), bild), 0);
    EXPECT_EQ(erste(bild, 4), (Bytes{1, 2, 3, 4}));
    Bytes datei = b.bau({{1, 2, 3, 4}});
    put32(datei, 10, 2);  // below 54: skips nothing and seeks back into the header
    ASSERT_EQ(lies(datei, bild), 0);
    EXPECT_EQ(erste(bild, 4), Bytes(datei.begin() + 2, datei.begin() + 6));

    // Masks of a compression-3 file come from the start of the last block read.
    BmpBau m(32);
    m.kompression = 3;
    m.datenoffset = 54 + 1040;
    Bytes d = m.bau({{0x00, 0x0F, 0xF0, 0x00}});
    put32(d, 54, 0xFF);                // first block: not used
    put32(d, 54 + 1024, 0x0000F000);  // red
    put32(d, 54 + 1028, 0x00000F00);  // green
    put32(d, 54 + 1032, 0x00F00000);  // blue
    ASSERT_EQ(lies(d, bild), 0);
    EXPECT_EQ(erste(bild, 3), (Bytes{0x0F, 0x0F, 0x00}));  // 0x00F00F00: blue >> 20, green >> 8, red >> 12
}

TEST_F(Bmp, WideStrideWrapsAtSixteenBits) {
    // 21846 x 3 = 65538 bytes: the masked stride is 4, shorter than the
    // data, so no padding is skipped and rows follow each other directly.
    Bytes z0(65538), z1(65538);
    for (size_t i = 0; i < z0.size(); ++i) z0[i] = uint8_t(i % 251), z1[i] = uint8_t(i % 241);
    CBILD bild(0, 0);
    ASSERT_EQ(lies(BmpBau(24, 21846, 2).bau({z0, z1}), bild), 0);
    EXPECT_EQ(0, std::memcmp(bild.zeile[0], z0.data(), z0.size()));
    EXPECT_EQ(0, std::memcmp(bild.zeile[1], z1.data(), z1.size()));
}

TEST_F(Bmp, TruncatedAndHostileFiles) {
    const BmpBau b(24, 3, 4);
    const Bytes gut = b.bau(b.muster());
    CBILD bild(0, 0);
    // The last stored row (top) cut short: allocated at full size, rows read so far kept.
    EXPECT_EQ(std::vector<int>({lies(Bytes(gut.begin(), gut.end() - 20), bild), bild.hoehe, bild.zeile[3][0]}),
              std::vector<int>({3, 4, b.muster()[3][0]}));
    EXPECT_EQ(std::vector<int>({lies(Bytes{}, bild), bild.hoehe}), std::vector<int>({0, 0}));  // no header: nothing read
    struct Fall { size_t stelle; uint32_t wert; int code; };
    for (Fall f : {Fall{18, uint32_t(-5), 3}, {22, uint32_t(INT_MIN), 0}, {18, 0, 0}}) {  // INT_MIN: no rows
        Bytes d = gut;
        put32(d, f.stelle, f.wert);
        EXPECT_EQ(lies(d, bild), f.code) << f.stelle << " " << f.wert;
    }
    EXPECT_EQ(bild.breite, 0);
    // Found by fuzzing: a 32-bit row of a gigapixel width in a tiny file is
    // short (3); only what the file holds is unpacked, the rest of the row
    // and of the row buffer is never touched (it was 7 GB of memory).
    Bytes d = BmpBau(32, 0x40000005, 1).bau({Bytes(64, 0x5A)});
    EXPECT_EQ(lies(d, bild), 3);
    EXPECT_EQ(bild.zeile[0][0], 0x5A);
}

TEST_F(Bmp, WriterHeaderGrayTableAndSixteenBitStride) {
    CBILD a(0, 0), breit(65536, 1), zurueck(0, 0), gepolstert(65537, 1);
    muster_bild(a, 5, 3, 1, 0);
    ASSERT_EQ(a.bildspeich(wpfad("t.bmp").c_str()), 0);
    const Bytes d = lies_datei(pfad("t.bmp"));
    ASSERT_EQ(d.size(), 54u + 1024 + 3 * 8);
    // file size, data offset, height (positive: bottom-up), bits, colours, one gray table entry
    const uint32_t felder[][2] = {{2, uint32_t(d.size())}, {10, 1078}, {22, 3}, {28, 8}, {46, 256}, {54 + 4 * 200, 0xC8C8C8}};
    for (auto [stelle, wert] : felder) EXPECT_EQ(get32(d, stelle) & (stelle == 28 ? 0xFFFF : ~0u), wert) << stelle;
    // Rows of 64 KiB and more come back through our reader only unpadded.
    std::memset(breit.puffer, 7, breit.puffergroesse);
    ASSERT_EQ(breit.bildspeich(wpfad("t.bmp").c_str()), 0);
    ASSERT_EQ(zurueck.bildlese(wpfad("t.bmp").c_str()), 0);
    EXPECT_EQ(std::vector<int>({zurueck.breite, zurueck.zeile[0][65535]}), std::vector<int>({65536, 7}));
    EXPECT_EQ(gepolstert.bildspeich(wpfad("t.bmp").c_str()), 12);
}

TEST_F(Bmp, PillowAndImageMagickReadOurBmps) {
    if (!hat_pillow()) GTEST_SKIP() << "Pillow for /usr/bin/python3 not installed";
    const bool magick = hat_magick();
    for (int bpp : {1, 3, 2}) {  // 16 bits: Pillow opens it (as 5-5-5 colour)
        CBILD a(0, 0);
        muster_bild(a, 37, 5, bpp, 4);  // flag 4: red, green, blue as Pillow gives them
        ASSERT_EQ(a.bildspeich(wpfad("t.bmp").c_str()), 0);
        int status = -1;
        const std::string py = "import sys; from PIL import Image; im = Image.open(sys.argv[1]); "
                               "sys.stdout.buffer.write(im.mode.encode() + b' ' + im.tobytes())";
        const std::string out = laufe("/usr/bin/python3 -c \"" + py + "\" '" + pfad("t.bmp") + "'", &status);
        ASSERT_EQ(status, 0) << bpp;
        if (bpp == 2) continue;
        const Bytes soll(a.puffer, a.puffer + a.puffergroesse);
        const std::string mode = bpp == 1 ? "L " : "RGB ";
        EXPECT_EQ(out, mode + std::string(soll.begin(), soll.end())) << bpp;
        if (!magick) continue;
        const std::string im = laufe("/usr/bin/convert '" + pfad("t.bmp") + "' -depth 8 " + (bpp == 1 ? "gray:-" : "rgb:-"));
        EXPECT_EQ(Bytes(im.begin(), im.end()), soll) << "ImageMagick " << bpp;
    }
}
