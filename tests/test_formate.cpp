// Every format's writer and reader: the round-trip matrix, one image reused
// across reads of every format (nothing of the previous image may carry
// over), refusals and file errors with their codes, rows read in batches from
// files larger than the stream buffer; per format one table row per case
// (bit counts, row orders, offsets, masks, damaged fields) and header bytes;
// the whole-file loader.
#include <cctype>
#include <climits>
#include <cstring>
#include <new>

#include "hilfe.h"

using Formate = Ordner;

// A 3 x 2 gray BIA, flag word 4, info[0] 7, rows 10 to 15.
static Bytes bia() {
    Bytes b = {3, 0, 2, 0, 1, 0, 4, 0, 7};
    b.resize(32);
    return b.insert(b.end(), {10, 11, 12, 13, 14, 15}), b;
}

TEST_F(Formate, EveryFormatDepthLayoutAndRegionRoundTrips) {
    // Regions moved inside, cut to the image, 20 rows, no columns; the whole 37 x 21 image.
    const CTeilbereich regionen[] = {{-2, 3, 5, 4}, {35, 1, 6, 20}, {2, 18, 4, 9}, {0, 0, 100, 100}, {4, 5, 0, 3}};
    for (std::string ext : {".bia", ".raw", ".bmp", ".tif"})
        for (int bpp : {1, 2, 3, 4, 6})
            for (int flag : {0, 1, 4})
                for (int r = -1; r < 5; ++r) {
                    SCOPED_TRACE(::testing::Message() << ext << " bpp " << bpp << " flag " << flag << " region " << r);
                    CBILD bild(0, 0), zurueck(0, 0);
                    CTeilbereich t = r < 0 ? CTeilbereich(0, 0, 37, 21) : regionen[r];
                    muster_bild(bild, 37, 21, bpp, flag);
                    bild.info[0] = -5, bild.info[1] = 123456, bild.farbe32 = 77;
                    const std::wstring name = wpfad("t" + ext);
                    // BMP has no 32-bit gray, BMP and TIFF no image of no pixels.
                    const bool geht = !(ext == ".bmp" && bpp == 4) && (t.breite || ext == ".bia" || ext == ".raw");
                    ASSERT_EQ(bild.bildspeichteil(name.c_str(), r < 0 ? nullptr : &t), geht ? 0 : 12);
                    if (!geht) continue;
                    const Bytes datei = lies_datei(pfad("t" + ext));
                    ASSERT_EQ(V({zurueck.bildlese(name.c_str()), zurueck.breite, zurueck.hoehe, zurueck.bpp}),
                              V({0, t.breite, t.breite ? t.hoehe : 0, bpp}));
                    for (int i = 0; i < zurueck.hoehe * zurueck.breite; ++i)  // the (fitted) region, colour by colour
                        ASSERT_EQ(rgb(zurueck, i % t.breite, i / t.breite),
                                  rgb(bild, i % t.breite + t.links, i / t.breite + t.oben));
                    // BIA carries flag word, info and marker; raw stores colour type 3 (red first) or 5 and, like
                    // TIFF, gives colour back red first (planar interleaved); BMP gives it blue first.
                    const bool farbe = bpp == 3 || bpp == 6, bia = ext == ".bia";
                    EXPECT_EQ(zurueck.flag, bia ? flag : farbe && (ext == ".tif" || (ext == ".raw" && flag)) ? 4 : 0);
                    EXPECT_TRUE(!bia || (zurueck.info[0] == -5 && zurueck.info[1] == 123456 && zurueck.farbe32 == 77));
                    EXPECT_TRUE(ext != ".raw" || get32(datei, 33) == uint32_t(!farbe ? 0 : flag ? 3 : 5));
                    EXPECT_TRUE(ext != ".tif" || schreibe(zurueck, "t.tif") == datei);  // what we read writes the same file
                }
}

TEST_F(Formate, OneImageReusedAcrossFormatsKeepsNothingOfTheLastFile) {
    auto bia = [](uint32_t farbe32) {  // 3 x 2 pixels of 4 bytes
        Bytes b(32 + 24, 0x88);
        return put32(b, 0, 2 << 16 | 3), put32(b, 4, 4), put16(b, 16, farbe32), b;
    };
    TiffBau rgba = TiffBau::bild(3, 2, 8, 4, 2, Bytes(24, 0x11)), pal = TiffBau::bild(3, 2, 2, 1, 3, {0x1B, 0xE4});
    pal.feld(320, 3, {0x1100, 0x2200, 0x3300, 0x4400, 0x5500, 0x6600, 0x7700, 0x8800, 0x9900, 0xAA00, 0xBB00, 0xCC00});
    struct Fall { std::string name; Bytes datei; int bpp, flag, farbe32; uint8_t erstes; };
    const Fall faelle[] = {
        // After gray: the raw reader leaves the 32-bit colour marker as it finds it.
        {"rgba.tif", rgba.bau(), 4, 4, 256, 0x11}, {"grau32.tif", TiffBau::bild(3, 2, 32, 1, 1, Bytes(24, 0x22)).bau(), 4, 0, 0, 0x22},
        {"grau32.raw", raw(3, 2, 32, 0, Bytes(24, 0x33)), 4, 0, 0, 0x33}, {"rgba.bia", bia(256), 4, 0, 256, 0x88},
        {"rgba2.tif", rgba.bau(), 4, 4, 256, 0x11}, {"grau32.bia", bia(0), 4, 0, 0, 0x88},
        {"rgb.tif", TiffBau::bild(3, 2, 8, 3, 2, Bytes(18, 0x44)).bau(), 3, 4, 0, 0x44}, {"pal.tif", pal.bau(), 1, 0, 0, 3},
        {"bgr.bmp", BmpBau(24, 3, 2).bau({Bytes(12, 0x55), Bytes(12, 0x55)}), 3, 0, 0, 0x55},
        {"rgb.raw", raw(3, 2, 24, 3, Bytes(18, 0x66)), 3, 4, 0, 0x66},
        {"grau.tif", TiffBau::bild(3, 2, 8, 1, 1, Bytes(6, 0x77)).bau(), 1, 0, 0, 0x77},
    };
    CBILD bild(0, 0), c(0, 0);
    for (int i = 0; i < 256; ++i) bild.palette[i] = 0xABCDEF;
    std::vector<Fall> alle(std::begin(faelle), std::end(faelle));
    // 4-byte colour (blue first or red first) goes out as 3-byte colour in every format; the image stays.
    muster_bild(c, 3, 2, 4, 0), c.farbe32 = 256;  // row 1, pixel 0: 32, 39, 46, 53
    for (std::string ext : {".bia", ".raw", ".bmp", ".tif"})
        for (int flag : {0, 4})
            c.flag = flag, alle.push_back({"c" + ext, schreibe(c, "c" + ext), 3, ext == ".bmp" ? 0 : 4, 0,
                                           uint8_t((ext == ".bmp") == (flag == 4) ? 46 : 32)});
    for (const Fall& f : alle)
        EXPECT_EQ(V({lies(f.datei, bild, f.name), bild.breite, bild.hoehe, bild.bpp, bild.flag, bild.farbe32, bild.zeile[1][0], c.bpp}),
                  V({0, 3, 2, f.bpp, f.flag, f.farbe32, f.erstes, 4})) << f.name;
    ASSERT_EQ(lies(pal.bau(), bild, "pal.tif"), 0);  // four entries from the map, no other left from before
    EXPECT_EQ(V(bild.palette, bild.palette + 6), V({0x115599, 0x2266AA, 0x3377BB, 0x4488CC, 0, 0}));
}

TEST_F(Formate, RefusalsAndFileErrorsHaveTheirCodes) {
    auto pruefe = [&](auto format, const std::string& ext) {
        using F = decltype(format);
        SCOPED_TRACE(ext);
        CBILD bild(0, 0), fuenf(0, 0), leer(0, 0);
        muster_bild(bild, 4, 3, 1, 0), muster_bild(fuenf, 4, 3, 5, 0);
        const std::wstring ziel = wpfad("t" + ext), fehlt = wpfad("fehlt/t" + ext), ordner = wpfad(".");
        CTeilbereich negativ(0, 0, 2, -2);
        EXPECT_EQ(V({F().schreiben(ziel.c_str(), &fuenf), F().schreiben(ziel.c_str(), &leer),
                     F().schreibenteil(ziel.c_str(), &bild, &negativ)}),
                  V({12, 12, 12}));  // depth 5, no image, negative region
        EXPECT_FALSE(existiert(pfad("t" + ext)));  // refused before the file is made
        EXPECT_EQ(V({F().schreiben(L"", &bild), F().schreiben(nullptr, &bild), F().schreiben(fehlt.c_str(), &bild),
                     F().schreiben(ordner.c_str(), &bild), F().schreiben(L"/dev/full", &bild)}),
                  V({1, 1, 2, 2, 4}));  // a full disk shows when the file is closed
        EXPECT_EQ(V({F().lesen(L"", &bild), F().lesen(nullptr, &bild), F().lesen(fehlt.c_str(), &bild),
                     F().lesen(ordner.c_str(), &bild)}),
                  V({1, 1, 2, 2}));  // a folder is no file
    };
    pruefe(CBia(), ".bia"), pruefe(CRaw(), ".raw"), pruefe(CBmp(), ".bmp"), pruefe(CTiff(), ".tif");
    CBILD b(4, 4), c(4, 4);
    b.bpp = 12;  // no writer for .jpg and no name
    EXPECT_EQ(V({b.bildspeich(wpfad("t.tif").c_str()), b.bildspeich(wpfad("t.bmp").c_str()), c.bildspeich(wpfad("t.jpg").c_str()),
                 c.bildspeich(wpfad("t").c_str())}),
              V({12, 12, 1, 1}));
}

// Rows beyond the stream buffer go in batches of system calls: 1100 BMP rows
// of 112 bytes (37 pixels and one byte of padding) in both row orders and 200
// raw rows of 600 bytes, whole and cut inside a row; the rows stored before the
// cut are in, the cut row holds what came, and the result is 3.
TEST_F(Formate, LargeFilesReadInBatchesWholeAndCut) {
    BmpBau b(24, 37, 1100);
    std::vector<Bytes> zeilen;
    for (int y = 0; y < b.hoehe; ++y) zeilen.push_back(Bytes(112, uint8_t(y))), zeilen.back()[size_t(y % 111)] = 0xFF;
    for (bool topdown : {false, true}) {
        b.topdown = topdown;
        const Bytes datei = b.bau(zeilen);
        CBILD bild(0, 0), teil(0, 0);
        ASSERT_EQ(lies(datei, bild, "t.bmp"), 0);
        for (int y = 0; y < b.hoehe; ++y) ASSERT_EQ(0, std::memcmp(bild.zeile[y], zeilen[size_t(y)].data(), 111)) << y;
        ASSERT_EQ(lies(Bytes(datei.begin(), datei.begin() + 54 + 699 * 112 + 50), teil, "k.bmp"), 3) << topdown;
        auto y_von = [&](int i) { return topdown ? i : b.hoehe - 1 - i; };
        for (int i = 0; i <= 699; ++i)
            ASSERT_EQ(0, std::memcmp(teil.zeile[y_von(i)], zeilen[size_t(y_von(i))].data(), i < 699 ? 111 : 50)) << i;
    }
    CBILD bild(0, 0), zurueck(0, 0), teil(0, 0);
    muster_bild(bild, 300, 200, 2, 0);
    const Bytes datei = schreibe(bild, "t.raw");
    EXPECT_EQ(V({lies(datei, zurueck, "t.raw"), std::memcmp(zurueck.puffer, bild.puffer, bild.puffergroesse),
                 lies(Bytes(datei.begin(), datei.begin() + 49 + 150 * 600 + 17), teil, "k.raw"),
                 std::memcmp(teil.puffer, bild.puffer, 150 * 600 + 17)}),
              V({0, 0, 3, 0}));
}

TEST_F(Formate, LoaderCodesOwnershipAndErrorCatalogue) {
    schreib_datei(pfad("zehn"), Bytes(10, 7)), schreib_datei(pfad("leer"), Bytes{});
    Utils::RamFileLoader l, gut, c;
    EXPECT_EQ(gut.loadFile(pfad("zehn").c_str(), 10, nullptr), 0);  // exactly maxSize loads
    ASSERT_EQ(V({gut.getFileSize(), gut.getData()[9]}), V({10, 7}));
    EXPECT_EQ(V({gut.loadFile(pfad("fehlt").c_str(), 10, nullptr), l.loadFile(pfad("zehn").c_str(), 9, nullptr),
                 l.loadFile(pfad("fehlt").c_str(), 9, nullptr), l.loadFile(pfad("leer").c_str(), 9, nullptr),
                 l.getFileSize(), l.loadFile(pfad("zehn").c_str(), 10, nullptr)}),
              V({E_RAM_FILE_LOADER_FILE_LOADED, E_RAM_FILE_LOADER_FILE_TOO_LONG, E_RAM_FILE_LOADER_OPEN_FILE,
                 E_RAM_FILE_LOADER_READ_FILE, 0, E_RAM_FILE_LOADER_FILE_LOADED}));  // an empty file's buffer is kept
    std::vector<unsigned char> eigen(16);  // a caller's buffer is used, never released
    EXPECT_TRUE(c.loadFile(pfad("zehn").c_str(), 16, eigen.data()) == 0 && c.getData() == eigen.data() && eigen[0] == 7);
    EXPECT_TRUE(Utils::errorName(E_RAM_FILE_LOADER_READ_FILE) == std::string("E_RAM_FILE_LOADER_READ_FILE") &&
                Utils::errorName(12345) == nullptr);
}

TEST_F(Formate, BmpReaderCases) {
    const BmpBau b24(24, 3, 4);
    const auto zeilen = b24.muster();
    const Bytes gut = b24.bau(zeilen), unten(zeilen[3].begin(), zeilen[3].end() - 3);
    BmpBau masken(32, 2), offset(8, 4), block(32);
    masken.kompression = 3, masken.masken = {0xF800, 0x07E0, 0x001F};
    offset.datenoffset = 3000;  // skipped in 1024-byte blocks, then sought to
    // Masks of a compression-3 file come from the start of the last block read.
    block.kompression = 3, block.datenoffset = 54 + 1040;
    Bytes bloecke = mit(mit(mit(mit(block.bau({{0x00, 0x0F, 0xF0, 0x00}}), 54, 0xFF), 54 + 1024, 0xF000), 54 + 1028, 0xF00),
                        54 + 1032, 0xF00000);
    const Bytes zurueck = mit(offset.bau({{1, 2, 3, 4}}), 10, 2);  // below 54: seeks back into the header
    // 21846 x 3 = 65538 bytes: the stride, masked to 16 bits, is 4, shorter than the data, so no padding is
    // skipped and rows follow each other directly.
    Bytes z0(65538), z1(65538), zwei[2] = {{1, 2, 3, 4, 5, 6, 7, 8}, {9, 8, 7, 6, 5, 4, 3, 2}};
    for (size_t i = 0; i < z0.size(); ++i) z0[i] = uint8_t(i % 251), z1[i] = uint8_t(i % 241);
    struct Fall { const char* was; Bytes datei; int code, breite, hoehe, y; Bytes zeile; };
    const Fall faelle[] = {
        // Bit counts of 8 and more except 32: the stored bytes (12 bits: one byte per pixel), both row orders.
        {"8 bit", BmpBau(8, 37, 2).bau({Bytes(40, 1), Bytes(40, 2)}), 0, 37, 2, 1, Bytes(37, 2)},
        {"12 bit", BmpBau(12, 3, 2, true).bau({zwei[0], zwei[1]}), 0, 3, 2, 1, {9, 8, 7}},
        {"16 bit", BmpBau(16, 3, 2, true).bau({zwei[0], zwei[1]}), 0, 3, 2, 0, {1, 2, 3, 4, 5, 6}},
        {"24 bit", BmpBau(24, 1, 2).bau({zwei[0], zwei[1]}), 0, 1, 2, 1, {9, 8, 7}},
        {"wrapped stride", BmpBau(24, 21846, 2).bau({z0, z1}), 0, 21846, 2, 1, z1},
        {"48 bit", BmpBau(48, 1, 1, true).bau({zwei[0]}), 0, 1, 1, 0, {1, 2, 3, 4, 5, 6}},
        // 1 bit: set bits read as 254; 4 bits: the level x 16; 2 bits: read, but no pixel is written.
        {"1 bit", BmpBau(1, 11, 2).bau({{0xA5, 0xE0, 0, 0}, {0xFF, 0xFF, 0xFF, 0xFF}}), 0, 11, 2, 0,
         {254, 0, 254, 0, 0, 254, 0, 254, 254, 254, 254}},
        {"1 bit, all set", BmpBau(1, 9, 1).bau({Bytes(4, 0xFF)}), 0, 9, 1, 0, Bytes(9, 254)},
        {"2 bit", BmpBau(2, 3).bau({{0xFF, 0, 0, 0}}), 0, 3, 1, 0, {0, 0, 0}},
        {"4 bit odd", BmpBau(4, 5).bau({{0x7A, 0x3C, 0x9F, 0}}), 0, 5, 1, 0, {0x70, 0xA0, 0x30, 0xC0, 0x90}},
        {"4 bit even", BmpBau(4, 2).bau({{0x7A, 0x3C, 0x9F, 0}}), 0, 2, 1, 0, {0x70, 0xA0}},
        // 32 bits: no masks, the fourth byte dropped; 5-6-5 masks shift 11/5/0 without masking first,
        // so the neighbouring channel's bits stay in each byte.
        {"32 bit", BmpBau(32, 2).bau({{0x11, 0x22, 0x33, 0x44, 0xF1, 0xE2, 0xD3, 0xC4}}), 0, 2, 1, 0,
         {0x11, 0x22, 0x33, 0xF1, 0xE2, 0xD3}},
        {"32 bit 5-6-5", masken.bau({{0x34, 0x12, 0, 0, 0xFF, 0xFF, 0, 0}}), 0, 2, 1, 0, {0x34, 0x91, 0x02, 0xFF, 0xFF, 0x1F}},
        {"32 bit masks of the last block", bloecke, 0, 1, 1, 0, {0x0F, 0x0F, 0x00}},  // blue >> 20, green >> 8, red >> 12
        {"32 bit padded", BmpBau(32, 1, 2).bau({{1, 2, 3, 4}, {5, 6, 7, 8}}), 0, 1, 2, 1, {5, 6, 7}},
        {"offset 3000", offset.bau({{1, 2, 3, 4}}), 0, 4, 1, 0, {1, 2, 3, 4}},
        {"offset 2", zurueck, 0, 4, 1, 0, {0xBC, 0x0B, 0, 0}},
        // The last stored row (top) cut short: allocated at full size, rows read so far kept.
        {"cut", Bytes(gut.begin(), gut.end() - 20), 3, 3, 4, 3, unten},
        {"padding cut", Bytes(gut.begin(), gut.end() - 1), 3, 3, 4, 3, unten},
        {"no header", {}, 0, 0, 0, -1, {}}, {"negative width", mit(gut, 18, uint32_t(-5)), 3, 0, 0, -1, {}},
        {"width 0", mit(gut, 18, 0), 0, 0, 0, -1, {}},
        {"height INT_MIN: no rows", mit(gut, 22, uint32_t(INT_MIN)), 0, 0, 0, -1, {}},
        {"bit count 0", mit(BmpBau(8, 100000, 100000).bau({}), 28, 0), 3, -1, 0, -1, {}},
        // 16-bit stride masks wrap: 524288 1-bit pixels in 0 bytes, 131080 4-bit pixels in 4.
        {"wrapped 1 bit", BmpBau(1, 524288, 20000).bau({}), 3, -1, 0, -1, {}},
        {"wrapped 4 bit", BmpBau(4, 131080, 20000).bau({Bytes(4, 0x77)}), 3, -1, 0, -1, {}},
        // Found by fuzzing: a 32-bit row of a gigapixel width in a tiny file is short; only what the file
        // holds is unpacked, the rest of the row buffer is never touched (it was 7 GB of memory).
        {"gigapixel 32 bit", BmpBau(32, 0x40000005, 1).bau({Bytes(64, 0x5A)}), 3, 0x40000005, 1, 0, Bytes(3, 0x5A)},
    };
    for (const Fall& f : faelle) {  // width -1: refused before the image is touched
        CBILD bild(0, 0);
        bild.flag = 9;  // any reader sets it
        EXPECT_EQ(V({lies(f.datei, bild, "t.bmp"), bild.breite, bild.hoehe, bild.flag}),
                  f.breite < 0 ? V({3, 0, 0, 9}) : V({f.code, f.breite, f.hoehe, 0})) << f.was;
        EXPECT_TRUE(f.y < 0 || Bytes(bild.zeile[f.y], bild.zeile[f.y] + f.zeile.size()) == f.zeile) << f.was;
    }
    // A read error shows when the file is closed, even with nothing else to read (the headers' short reads are
    // not reported).
    CBILD bild(0, 0);
    EXPECT_EQ(V({::symlink("/proc/self/mem", pfad("mem.bmp").c_str()), bild.bildlese(wpfad("mem.bmp").c_str())}), V({0, 3}));
    EXPECT_EQ(V({CBmp::getshift32(0x80000000u, &bild.flag), bild.flag}), V({31, 31}));
}

TEST_F(Formate, BmpWriterHeaderGrayTableAndSixteenBitStride) {
    CBILD a(0, 0), breit(65536, 1), zurueck(0, 0), gepolstert(65537, 1);
    muster_bild(a, 5, 3, 1, 0);
    const Bytes d = schreibe(a, "t.bmp");
    ASSERT_EQ(d.size(), 54u + 1024 + 3 * 8);
    // file size, data offset, height (positive: bottom-up), bits, colours, one gray table entry, last row first
    const uint32_t felder[][2] = {{2, uint32_t(d.size())}, {10, 1078}, {22, 3}, {28, 8}, {46, 256}, {54 + 4 * 200, 0xC8C8C8},
                                  {1078, get32(Bytes(a.zeile[2], a.zeile[2] + 5), 0)}};
    for (auto [stelle, wert] : felder) EXPECT_EQ(get32(d, stelle) & (stelle == 28 ? 0xFFFF : ~0u), wert) << stelle;
    // Rows of 64 KiB and more come back through our reader only unpadded.
    std::memset(breit.puffer, 7, breit.puffergroesse), schreibe(breit, "t.bmp");
    EXPECT_EQ(V({zurueck.bildlese(wpfad("t.bmp").c_str()), zurueck.breite, zurueck.zeile[0][65535],
                 gepolstert.bildspeich(wpfad("t.bmp").c_str())}),
              V({0, 65536, 7, 12}));
}

TEST_F(Formate, BiaRawHeaderBytesOfBothWriters) {
    CBILD bild(0, 0), zurueck(0, 0);
    muster_bild(bild, 70000, 2, 1, 0x10004);
    bild.info[0] = -1, bild.info[1] = 2, bild.farbe32 = 0x12345, bild.zusatz = 9;
    Bytes b = schreibe(bild, "t.bia"), kopf(32, 0);
    ASSERT_EQ(b.size(), 32u + 140000);
    put16(kopf, 0, 4464), put16(kopf, 2, 2), put16(kopf, 4, 1), put16(kopf, 6, 4);  // 70,000 mod 65,536
    put32(kopf, 8, 0xFFFFFFFF), put32(kopf, 12, 2), put16(kopf, 16, 0x2345);
    kopf.insert(kopf.end(), bild.zeile[0], bild.zeile[0] + 8);
    EXPECT_EQ(Bytes(b.begin(), b.begin() + 40), kopf);
    // The wrapped width takes its rows from the stream as it runs.
    EXPECT_EQ(V({lies(b, bild, "t.bia"), bild.zeile[1][0]}), V({0, b[32 + 4464]}));

    muster_bild(bild, 5, 4, 6, 1);
    CTeilbereich t(1, 1, 3, 2);
    ASSERT_EQ(V({bild.bildspeichteil(wpfad("t.raw").c_str(), &t), (long long)(b = lies_datei(pfad("t.raw"))).size()}),
              V({0, 49 + 2 * 18}));
    EXPECT_EQ(Bytes(b.begin(), b.begin() + 49), mit(mit(raw(3, 2, 48, 3, {}), 41, 6), 45, 18));
    // Another planar flag word goes out as stored, yet as colour type 3: it reads back red-green-blue (flag 4).
    bild.flag = 2, schreibe(bild, "t.raw");
    EXPECT_EQ(V({zurueck.bildlese(wpfad("t.raw").c_str()), zurueck.flag, zurueck.bpp, zurueck.breite,
                 std::memcmp(zurueck.puffer, bild.puffer, bild.puffergroesse)}),
              V({0, 4, 6, 5, 0}));
}

TEST_F(Formate, BiaRawReaderCases) {
    const Bytes gut = raw(2, 2, 8, 0, {1, 2, 3, 4});
    Bytes klein = mit(mit(mit(gut, 13, 7), 41, 9), 45, 9);  // fields the reader does not look at
    for (int i = 0; i < 12; ++i) klein[size_t(i)] = uint8_t(std::tolower(klein[size_t(i)]));
    Bytes magic = gut, ende = gut, kurz = gut, bia_kurz = bia(), bia_ohne = bia();
    magic[4] = 'X', ende[12] = 'x', kurz.pop_back(), bia_kurz.pop_back(), bia_ohne.resize(31);
    struct Fall { const char* name; Bytes datei; int code, hoehe, bpp, flag, erstes; };  // hoehe -1: not looked at
    const Fall faelle[] = {
        // Row 1 first byte; header cut; last byte missing: full size, rows so far, fields set.
        {"t.bia", bia(), 0, 2, 1, 4, 13}, {"t.bia", bia_ohne, 3, -1, 0, 0, 0}, {"t.bia", bia_kurz, 3, 2, 1, 4, 13},
        {"t.bia", mit(bia(), 4, 5, 2), 12, -1, 0, 0, 0},  {"t.bia", mit(bia(), 4, 0, 2), 12, -1, 0, 0, 0},  // depths 5 and 0
        {"t.bia", mit(bia(), 2, 0, 2), 0, 0, 1, 4, -1}, {"t.bia", mit(bia(), 4, 2, 2), 3, 2, 2, 4, -1},  // no rows; 16-bit: short
        {"t.raw", gut, 0, 2, 1, 0, 3},     {"t.raw", Bytes(48, 42), 0, 1, 1, 0, -1},  // no header: 1 x 1, one byte
        {"t.raw", Bytes{}, 3, 1, 1, 0, -1}, {"t.raw", klein, 0, 2, 1, 0, 3},
        {"t.raw", raw(1, 2, 12, 0, {1, 2, 3, 4}), 0, 2, 2, 0, 3},  // 12 bits: 2 bytes
        {"t.raw", raw(1, 2, 24, 3, {1, 2, 3, 4, 5, 6}), 0, 2, 3, 4, 4},  {"t.raw", raw(1, 1, 8, 3, {1}), 0, 1, 1, 0, -1},
        {"t.raw", raw(2, 2, 24, 5, Bytes(12, 9)), 0, 2, 3, 0, 9},
        {"t.raw", raw(2, 2, 8, 0, {5, 6, 7, 8}, 7), 0, 2, 1, 0, 7},  // extra header skipped
        {"t.raw", magic, 30, -1, 0, 0, 0}, {"t.raw", ende, 30, -1, 0, 0, 0},  // the terminator counts
        {"t.raw", kurz, 3, 2, 1, 0, -1},   {"t.raw", mit(gut, 37, 0xFFFFFFFF), 3, 2, 1, 0, -1},
        {"t.raw", mit(gut, 17, uint32_t(-2)), 3, 0, 1, 0, -1},  // negative width: no rows to read into
        {"t.raw", mit(gut, 21, uint32_t(-2)), 0, 0, 1, 0, -1},  // no rows: allocation fails, no error
    };
    for (const Fall& f : faelle) {
        CBILD bild(0, 0);
        ASSERT_EQ(lies(f.datei, bild, f.name), f.code) << &f - faelle;
        EXPECT_TRUE(f.hoehe < 0 || V({bild.hoehe, bild.bpp, bild.flag}) == V({f.hoehe, f.bpp, f.flag})) << &f - faelle;
        EXPECT_TRUE(f.hoehe < 0 || f.erstes < 0 || bild.zeile[1][0] == f.erstes) << &f - faelle;
    }
    CBILD bild(0, 0);
    Bytes riesig = mit(mit(mit(bia(), 0, 65535, 2), 2, 65535, 2), 4, 6, 2);
    EXPECT_THROW(lies(riesig, bild, "t.bia"), std::bad_alloc);
    EXPECT_THROW(lies(raw(100000, 100000, 8, 0, {}), bild, "t.raw"), std::bad_alloc);
    EXPECT_THROW(lies(raw(65536, 1, 8 * 65536, 0, {}), bild, "t.raw"), std::bad_alloc);  // row of 2^32 bytes
    EXPECT_THROW(lies(raw(1, 1, -17, 0, {}), bild, "t.raw"), std::bad_alloc);          // -1 bytes per pixel
    CBia b;  // the early returns keep the file open until the object goes
    CRaw r;
    schreib_datei(pfad("t.raw"), magic), schreib_datei(pfad("t.bia"), bia_ohne);
    EXPECT_EQ(V({b.lesen(wpfad("t.bia").c_str(), &bild), b.datei ? 1 : 0, r.lesen(wpfad("t.raw").c_str(), &bild), r.datei ? 1 : 0}),
              V({3, 1, 30, 1}));
}
