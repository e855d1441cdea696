// Raw files: round trips, header bytes, reader quirks, bad files, the
// converter with its test dump and a long batch of bad files.
#include <cctype>
#include <cstring>
#include <new>

#include "bildlib.h"
#include "hilfe.h"

namespace {

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

class Raw : public FormatOrdner {
protected:
    const char* endung() const override { return ".raw"; }
    std::string konvertiere(const std::string& args) {
        return laufe("cd '" + dir + "' && '" BILDCONV_PATH "' " + args + " 2>&1");
    }
};

}  // namespace

TEST_F(Raw, RoundTripEveryDepthLayoutAndRegion) {
    rundreise([&](CBILD& bild, CTeilbereich* region, CTeilbereich& t) {
        CBILD zurueck(0, 0);
        ASSERT_EQ(CRaw().schreibenteil(name.c_str(), &bild, region), 0);
        const bool farbe = bild.bpp == 3 || bild.bpp == 6;
        EXPECT_EQ(get32(lies_datei(datei()), 33), uint32_t(!farbe ? 0 : bild.flag ? 3 : 5));
        ASSERT_EQ(CRaw().lesen(name.c_str(), &zurueck), 0);
        pruefe_teil(zurueck, bild, t);
        EXPECT_EQ(zurueck.flag, farbe && bild.flag ? 4 : 0);  // planar comes back interleaved
    });
}

TEST_F(Raw, HeaderBytesAndConvertedRows) {
    CBILD bild(0, 0);
    muster_bild(bild, 5, 4, 6, 1);
    CTeilbereich t(1, 1, 3, 2);
    ASSERT_EQ(bild.bildspeichteil(name.c_str(), &t), 0);
    const Bytes b = lies_datei(datei());
    ASSERT_EQ(b.size(), 49u + 2 * 18);
    Bytes kopf = raw(3, 2, 48, 3, {});
    put32(kopf, 41, 6), put32(kopf, 45, 18);
    EXPECT_EQ(Bytes(b.begin(), b.begin() + 49), kopf);
    // Row 1 from column 1: third plane's sample first.
    const unsigned char* z = bild.zeile[1];
    EXPECT_EQ(Bytes(b.begin() + 49, b.begin() + 55), (Bytes{z[22], z[23], z[12], z[13], z[2], z[3]}));

    // Another planar flag word is written as stored, yet the header says
    // colour type 3: read back it is red-green-blue (flag word 4).
    bild.flag = 2;
    ASSERT_EQ(bild.bildspeich(name.c_str()), 0);
    EXPECT_EQ(get32(lies_datei(datei()), 33), 3u);
    CBILD zurueck(0, 0);
    ASSERT_EQ(zurueck.bildlese(name.c_str()), 0);
    EXPECT_EQ(zurueck.flag, 4);
    EXPECT_EQ(0, std::memcmp(zurueck.puffer, bild.puffer, bild.puffergroesse));
}

TEST_F(Raw, ReaderQuirks) {
    CBILD bild(0, 0);
    Bytes kurz(48, 0);
    kurz[0] = 42;  // no header: a 1 x 1 image of one byte, the file's first
    ASSERT_EQ(lies(kurz, bild), 0);
    EXPECT_EQ(bild.breite * bild.hoehe * bild.bpp, 1);
    EXPECT_EQ(bild.zeile[0][0], 42);
    EXPECT_EQ(lies(Bytes{}, bild), 3);

    Bytes klein = raw(2, 1, 8, 0, {1, 2});
    for (int i = 0; i < 12; ++i) klein[size_t(i)] = uint8_t(std::tolower(klein[size_t(i)]));
    put32(klein, 13, 7), put32(klein, 25, 7), put32(klein, 41, 9), put32(klein, 45, 9);  // not read
    ASSERT_EQ(lies(klein, bild), 0);
    EXPECT_EQ(bild.zeile[0][1], 2);
    ASSERT_EQ(lies(raw(1, 1, 12, 0, {1, 2}), bild), 0);
    EXPECT_EQ(bild.bpp, 2);
    ASSERT_EQ(lies(raw(1, 1, 24, 3, {1, 2, 3}), bild), 0);
    EXPECT_EQ(bild.flag, 4);
    ASSERT_EQ(lies(raw(1, 1, 8, 3, {1}), bild), 0);
    EXPECT_EQ(bild.flag, 0);
    ASSERT_EQ(lies(raw(2, 1, 8, 0, {5, 6}, 7), bild), 0);  // extra header skipped
    EXPECT_EQ(bild.zeile[0][0], 5);
}

TEST_F(Raw, BadFilesGiveTheirCode) {
    CBILD bild(0, 0);
    const Bytes gut = raw(2, 2, 8, 0, {1, 2, 3, 4});
    Bytes b = gut;
    b[4] = 'X';
    EXPECT_EQ(lies(b, bild), 30);
    b = gut;
    b[12] = 'x';  // the terminator is part of the magic
    EXPECT_EQ(lies(b, bild), 30);
    b = gut;
    b.pop_back();
    EXPECT_EQ(lies(b, bild), 3);
    b = gut;
    put32(b, 37, 0xFFFFFFFF);  // the rows would lie beyond the end
    EXPECT_EQ(lies(b, bild), 3);
    EXPECT_EQ(lies(raw(-2, 2, 8, 0, {1, 2, 3, 4}), bild), 3);  // nothing to read rows into
    EXPECT_EQ(bild.hoehe, 0);
    EXPECT_EQ(lies(raw(2, -2, 8, 0, {}), bild), 0);  // no rows: allocation fails, not an error
    EXPECT_EQ(bild.hoehe, 0);
    EXPECT_THROW(lies(raw(100000, 100000, 8, 0, {}), bild), std::bad_alloc);
    EXPECT_THROW(lies(raw(65536, 1, 8 * 65536, 0, {}), bild), std::bad_alloc);  // row of 2^32 bytes
    EXPECT_THROW(lies(raw(1, 1, -17, 0, {}), bild), std::bad_alloc);          // -1 bytes per pixel

    CRaw f;  // the two early returns keep the file open until the object goes
    schreib_datei(datei(), Bytes(60, 'k'));
    EXPECT_EQ(f.lesen(name.c_str(), &bild), 30);
    EXPECT_TRUE(f.datei);
    EXPECT_EQ(f.lesen(L"", &bild), 1);
    EXPECT_EQ(f.lesen(w(pfad("fehlt.raw")).c_str(), &bild), 2);
    EXPECT_EQ(f.lesen(w(dir).c_str(), &bild), 2);

    muster_bild(bild, 4, 3, 5, 0);
    CTeilbereich negativ(0, 0, 2, -2);
    EXPECT_EQ(CRaw().schreiben(name.c_str(), &bild), 12);
    bild.bpp = 1;
    EXPECT_EQ(CRaw().schreibenteil(name.c_str(), &bild, &negativ), 12);
    EXPECT_EQ(CRaw().schreiben(w(pfad("fehlt/t.raw")).c_str(), &bild), 2);
    EXPECT_EQ(CRaw().schreiben(L"/dev/full", &bild), 4);
}

TEST_F(Raw, ConverterTestDumpAndManyBadFiles) {
    CBILD bild(0, 0);
    muster_bild(bild, 2, 3, 3, 0);
    ASSERT_EQ(bild.bildspeich(w(pfad("frame.raw")).c_str()), 0);
    EXPECT_EQ(konvertiere("frame.raw"), "Convert frame.raw: OK\n");
    const Bytes t = lies_datei(pfad("frame.raw.tif"));
    ASSERT_EQ(t.size(), 222u + 18);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 2; ++x) EXPECT_EQ(Bytes(t.begin() + 222 + 6 * y + 3 * x, t.begin() + 225 + 6 * y + 3 * x), rgb(bild, x, y));
    EXPECT_FALSE(existiert(pfad("c:")));  // no folder, no dump

    // With the folder in the working directory, every raw image read is
    // stored there once more, as BIA and as raw.
    ASSERT_EQ(::mkdir(pfad("c:").c_str(), 0755), 0);
    ASSERT_EQ(::mkdir(pfad("c:/bild_testfiles").c_str(), 0755), 0);
    EXPECT_EQ(konvertiere("frame.raw"), "Convert frame.raw: OK\n");
    EXPECT_EQ(lies_datei(pfad("c:/bild_testfiles/test32raw.raw")), lies_datei(pfad("frame.raw")));
    EXPECT_EQ(lies_datei(pfad("c:/bild_testfiles/test32raw.bia")).size(), 32u + 18);

    // Thousands of files refused with the file left open, then a good one:
    // each refusal's file closes with its object, so handles never run out.
    std::string args;
    for (int i = 0; i < 2500; ++i) {
        schreib_datei(pfad("b" + std::to_string(i) + ".raw"), Bytes(60, 'k'));
        args += " b" + std::to_string(i) + ".raw";
    }
    const std::string out = laufe("cd '" + dir + "' && ulimit -n 64 && '" BILDCONV_PATH "'" + args + " frame.raw");
    EXPECT_EQ(out.substr(0, 30), "Convert b0.raw: Error reading ");
    EXPECT_EQ(out.substr(out.size() - 22), "Convert frame.raw: OK\n");
}
