// BIA/BIR and raw files: header bytes, reader quirks, one-change codes, the
// early returns that leave the file to the destructor, the raw test dump.
#include <cctype>
#include <cstring>
#include <new>
#include <tuple>

#include "hilfe.h"

namespace {

// A 3 x 2 gray BIA, flag word 4, info[0] 7, rows 10 to 15.
Bytes bia() {
    Bytes b = {3, 0, 2, 0, 1, 0, 4, 0, 7};
    b.resize(32);
    for (uint8_t i = 10; i < 16; ++i) b.push_back(i);
    return b;
}

// A raw file: header from a few fields, `zusatz` bytes of extra header, rows.
Bytes raw(int32_t breite, int32_t hoehe, int32_t bits, int32_t farbtyp, const Bytes& zeilen, uint32_t zusatz = 0) {
    Bytes b(49 + zusatz, 0xEE);
    std::memcpy(b.data(), "KVX RawImage", 13);
    put32(b, 13, 1), put32(b, 17, uint32_t(breite)), put32(b, 21, uint32_t(hoehe)), put32(b, 25, 1);
    put32(b, 29, uint32_t(bits)), put32(b, 33, uint32_t(farbtyp)), put32(b, 37, zusatz);
    put32(b, 41, uint32_t(bits / 8)), put32(b, 45, uint32_t(int64_t(breite) * bits / 8));
    b.insert(b.end(), zeilen.begin(), zeilen.end());
    return b;
}

Bytes mit(Bytes b, size_t at, uint32_t v) {
    put32(b, at, v);
    return b;
}

using BiaRaw = Ordner;

}  // namespace

TEST_F(BiaRaw, BiaHeaderBytesAndSixteenBitSizes) {
    CBILD bild(0, 0);
    muster_bild(bild, 70000, 2, 1, 0x10004);
    bild.info[0] = -1, bild.info[1] = 2, bild.farbe32 = 0x12345, bild.zusatz = 9;
    ASSERT_EQ(bild.bildspeich(wpfad("t.bia").c_str()), 0);
    Bytes b = lies_datei(pfad("t.bia")), kopf(32, 0);
    ASSERT_EQ(b.size(), 32u + 140000);
    put16(kopf, 0, 4464), put16(kopf, 2, 2), put16(kopf, 4, 1), put16(kopf, 6, 4);  // 70,000 mod 65,536
    put32(kopf, 8, 0xFFFFFFFF), put32(kopf, 12, 2), put16(kopf, 16, 0x2345);
    EXPECT_EQ(Bytes(b.begin(), b.begin() + 32), kopf);
    EXPECT_EQ(Bytes(b.begin() + 32, b.begin() + 40), Bytes(bild.zeile[0], bild.zeile[0] + 8));
    ASSERT_EQ(lies(b, bild, "t.bia"), 0);  // the wrapped width takes its rows from the stream as it runs
    EXPECT_EQ(bild.zeile[1][0], b[32 + 4464]);
}

TEST_F(BiaRaw, BiaOneChangeGivesItsCode) {
    // Unchanged; header cut; last byte missing (full size, rows so far, fields
    // set); depths 5 and 0; no rows (an empty image, no error).
    struct Fall { size_t laenge, stelle; uint32_t wert; int code, hoehe; };  // hoehe -1: not looked at
    for (Fall f : {Fall{38, 4, 1, 0, 2}, {31, 4, 1, 3, -1}, {37, 4, 1, 3, 2}, {38, 4, 5, 12, -1}, {38, 4, 0, 12, -1},
                   {38, 2, 0, 0, 0}}) {
        CBILD bild(0, 0);
        Bytes b = bia();
        put16(b, f.stelle, f.wert);
        b.resize(f.laenge);
        ASSERT_EQ(lies(b, bild, "t.bia"), f.code) << f.laenge << " " << f.stelle << " " << f.wert;
        if (f.hoehe < 0) continue;
        EXPECT_EQ(std::make_tuple(bild.hoehe, bild.flag, bild.info[0]), std::make_tuple(f.hoehe, 4, 7));
        EXPECT_TRUE(!f.hoehe || bild.zeile[1][0] == 13);
    }
    CBILD bild(0, 0);
    Bytes riesig = bia();
    put16(riesig, 0, 65535), put16(riesig, 2, 65535), put16(riesig, 4, 6);
    EXPECT_THROW(lies(riesig, bild, "t.bia"), std::bad_alloc);
    CBia f;  // the early returns keep the file open until the object goes
    schreib_datei(pfad("t.bia"), Bytes(31, 1));
    EXPECT_EQ(f.lesen(wpfad("t.bia").c_str(), &bild), 3);
    EXPECT_TRUE(f.datei);
}

TEST_F(BiaRaw, RawHeaderBytesAndAnotherPlanarFlagWord) {
    CBILD bild(0, 0), zurueck(0, 0);
    muster_bild(bild, 5, 4, 6, 1);
    CTeilbereich t(1, 1, 3, 2);
    ASSERT_EQ(bild.bildspeichteil(wpfad("t.raw").c_str(), &t), 0);
    const Bytes b = lies_datei(pfad("t.raw"));
    ASSERT_EQ(b.size(), 49u + 2 * 18);
    EXPECT_EQ(Bytes(b.begin(), b.begin() + 49), mit(mit(raw(3, 2, 48, 3, {}), 41, 6), 45, 18));
    // Another planar flag word goes out as stored, yet as colour type 3: it
    // reads back as red-green-blue (flag word 4).
    bild.flag = 2;
    ASSERT_EQ(bild.bildspeich(wpfad("t.raw").c_str()), 0);
    ASSERT_EQ(zurueck.bildlese(wpfad("t.raw").c_str()), 0);
    EXPECT_EQ(zurueck.flag, 4);
    EXPECT_EQ(0, std::memcmp(zurueck.puffer, bild.puffer, bild.puffergroesse));
}

TEST_F(BiaRaw, RawReaderQuirksAndOneChangeCodes) {
    const Bytes gut = raw(2, 2, 8, 0, {1, 2, 3, 4});
    Bytes klein = mit(mit(mit(gut, 13, 7), 41, 9), 45, 9);  // fields the reader does not look at
    for (int i = 0; i < 12; ++i) klein[size_t(i)] = uint8_t(std::tolower(klein[size_t(i)]));
    Bytes magic = gut, ende = gut, kurz = gut;
    magic[4] = 'X', ende[12] = 'x', kurz.pop_back();
    struct Fall { Bytes datei; int code, hoehe, bpp, flag, erstes; };
    const Fall faelle[] = {
        {gut, 0, 2, 1, 0, 1},           {Bytes(48, 42), 0, 1, 1, 0, 42},  // no header: 1 x 1, one byte
        {Bytes{}, 3, 1, 1, 0, -1},      {klein, 0, 2, 1, 0, 1},
        {raw(1, 1, 12, 0, {1, 2}), 0, 1, 2, 0, 1},                          // 12 bits: 2 bytes
        {raw(1, 1, 24, 3, {1, 2, 3}), 0, 1, 3, 4, 1}, {raw(1, 1, 8, 3, {1}), 0, 1, 1, 0, 1},
        {raw(2, 1, 8, 0, {5, 6}, 7), 0, 1, 1, 0, 5},                        // extra header skipped
        {magic, 30, -1, 0, 0, 0},       {ende, 30, -1, 0, 0, 0},            // the terminator counts
        {kurz, 3, 2, 1, 0, 1},          {mit(gut, 37, 0xFFFFFFFF), 3, 2, 1, 0, -1},
        {mit(gut, 17, uint32_t(-2)), 3, 0, 1, 0, -1},  // negative width: no rows to read into
        {mit(gut, 21, uint32_t(-2)), 0, 0, 1, 0, -1},  // no rows: allocation fails, no error
    };
    for (const Fall& f : faelle) {
        CBILD bild(0, 0);
        ASSERT_EQ(lies(f.datei, bild, "t.raw"), f.code) << &f - faelle;
        if (f.hoehe < 0) continue;
        EXPECT_EQ(std::make_tuple(bild.hoehe, bild.bpp, bild.flag), std::make_tuple(f.hoehe, f.bpp, f.flag)) << &f - faelle;
        EXPECT_TRUE(f.erstes < 0 || bild.zeile[0][0] == f.erstes) << &f - faelle;
    }
    CBILD bild(0, 0);
    EXPECT_THROW(lies(raw(100000, 100000, 8, 0, {}), bild, "t.raw"), std::bad_alloc);
    EXPECT_THROW(lies(raw(65536, 1, 8 * 65536, 0, {}), bild, "t.raw"), std::bad_alloc);  // row of 2^32 bytes
    EXPECT_THROW(lies(raw(1, 1, -17, 0, {}), bild, "t.raw"), std::bad_alloc);          // -1 bytes per pixel
    CRaw f;  // the early returns keep the file open until the object goes
    schreib_datei(pfad("t.raw"), magic);
    EXPECT_EQ(f.lesen(wpfad("t.raw").c_str(), &bild), 30);
    EXPECT_TRUE(f.datei);
}

TEST_F(BiaRaw, RawTestDumpWhenItsFolderExists) {
    // With the folder in the working directory, every raw image read is
    // stored there once more, as BIA and as raw.
    schreib_datei(pfad("frame.raw"), raw(2, 3, 24, 5, Bytes(18, 7)));
    ASSERT_EQ(::mkdir(pfad("c:").c_str(), 0755) | ::mkdir(pfad("c:/bild_testfiles").c_str(), 0755), 0);
    EXPECT_EQ(konvertiere("frame.raw"), "Convert frame.raw: OK\n");
    EXPECT_EQ(lies_datei(pfad("c:/bild_testfiles/test32raw.raw")), lies_datei(pfad("frame.raw")));
    EXPECT_EQ(lies_datei(pfad("c:/bild_testfiles/test32raw.bia")).size(), 32u + 18);
}
