// Raw files: round trips, header bytes, reader quirks, bad files, the
// converter with its test dump and a long batch of bad files.
#include <cctype>
#include <cstring>
#include <new>
#include <tuple>

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

Bytes mit(Bytes b, size_t at, uint32_t v) {
    put32(b, at, v);
    return b;
}

class Raw : public FormatOrdner {
protected:
    const char* endung() const override { return ".raw"; }
    std::string konvertiere(const std::string& args) {
        return laufe("cd '" + dir + "' && ulimit -n 64 && '" BILDCONV_PATH "' " + args + " 2>&1");
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
    CBILD bild(0, 0), zurueck(0, 0);
    muster_bild(bild, 5, 4, 6, 1);
    CTeilbereich t(1, 1, 3, 2);
    ASSERT_EQ(bild.bildspeichteil(name.c_str(), &t), 0);
    const Bytes b = lies_datei(datei());
    ASSERT_EQ(b.size(), 49u + 2 * 18);
    EXPECT_EQ(Bytes(b.begin(), b.begin() + 49), mit(mit(raw(3, 2, 48, 3, {}), 41, 6), 45, 18));
    const unsigned char* z = bild.zeile[1];  // row 1 from column 1, third plane's sample first
    EXPECT_EQ(Bytes(b.begin() + 49, b.begin() + 55), (Bytes{z[22], z[23], z[12], z[13], z[2], z[3]}));

    // Another planar flag word goes out as stored, yet as colour type 3: it
    // reads back as red-green-blue (flag word 4).
    bild.flag = 2;
    ASSERT_EQ(bild.bildspeich(name.c_str()), 0);
    ASSERT_EQ(zurueck.bildlese(name.c_str()), 0);
    EXPECT_EQ(zurueck.flag, 4);
    EXPECT_EQ(0, std::memcmp(zurueck.puffer, bild.puffer, bild.puffergroesse));
}

TEST_F(Raw, ReaderQuirksAndOneChangeCodes) {
    const Bytes gut = raw(2, 2, 8, 0, {1, 2, 3, 4});
    Bytes klein = mit(mit(mit(gut, 13, 7), 41, 9), 45, 9);  // fields the reader does not look at
    for (int i = 0; i < 12; ++i) klein[size_t(i)] = uint8_t(std::tolower(klein[size_t(i)]));
    Bytes magic = gut, ende = gut, kurz = gut;
    magic[4] = 'X', ende[12] = 'x', kurz.pop_back();
    struct Fall {
        Bytes datei;
        int code, hoehe, bpp, flag, erstes;
    };
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
        ASSERT_EQ(lies(f.datei, bild), f.code) << &f - faelle;
        if (f.hoehe < 0) continue;
        EXPECT_EQ(std::make_tuple(bild.hoehe, bild.bpp, bild.flag), std::make_tuple(f.hoehe, f.bpp, f.flag)) << &f - faelle;
        if (f.erstes >= 0) {
            EXPECT_EQ(bild.zeile[0][0], f.erstes) << &f - faelle;
        }
    }
    CBILD bild(0, 0);
    EXPECT_THROW(lies(raw(100000, 100000, 8, 0, {}), bild), std::bad_alloc);
    EXPECT_THROW(lies(raw(65536, 1, 8 * 65536, 0, {}), bild), std::bad_alloc);  // row of 2^32 bytes
    EXPECT_THROW(lies(raw(1, 1, -17, 0, {}), bild), std::bad_alloc);          // -1 bytes per pixel

    CRaw f;  // the two early returns keep the file open until the object goes
    schreib_datei(datei(), magic);
    EXPECT_EQ(f.lesen(name.c_str(), &bild), 30);
    EXPECT_TRUE(f.datei);
    EXPECT_EQ(f.lesen(L"", &bild), 1);
    EXPECT_EQ(f.lesen(w(dir).c_str(), &bild), 2);
}

TEST_F(Raw, ConverterTestDumpAndManyBadFiles) {
    CBILD bild(0, 0);
    muster_bild(bild, 2, 3, 3, 0);
    ASSERT_EQ(bild.bildspeich(w(pfad("frame.raw")).c_str()), 0);
    // Thousands of refusals, each leaving its file open until its reader
    // goes, then a good file: the handles never run out.
    std::string args;
    for (int i = 0; i < 2500; ++i) {
        schreib_datei(pfad("b" + std::to_string(i) + ".raw"), Bytes(60, 'k'));
        args += " b" + std::to_string(i) + ".raw";
    }
    const std::string out = konvertiere(args + " frame.raw");
    EXPECT_EQ(out.substr(0, 36), "Convert b0.raw: Error reading image\n");
    EXPECT_EQ(out.substr(out.size() - 22), "Convert frame.raw: OK\n");
    const Bytes t = lies_datei(pfad("frame.raw.tif"));
    ASSERT_EQ(t.size(), 222u + 18);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(Bytes(t.begin() + 222 + 3 * i, t.begin() + 225 + 3 * i), rgb(bild, i % 2, i / 2));

    // With the folder in the working directory, every raw image read is
    // stored there once more, as BIA and as raw.
    ASSERT_EQ(::mkdir(pfad("c:").c_str(), 0755) | ::mkdir(pfad("c:/bild_testfiles").c_str(), 0755), 0);
    EXPECT_EQ(konvertiere("frame.raw"), "Convert frame.raw: OK\n");
    EXPECT_EQ(lies_datei(pfad("c:/bild_testfiles/test32raw.raw")), lies_datei(pfad("frame.raw")));
    EXPECT_EQ(lies_datei(pfad("c:/bild_testfiles/test32raw.bia")).size(), 32u + 18);
}
