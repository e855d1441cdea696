// BIA/BIR files: round trips, header bytes, bad files, the converter.
#include <new>

#include "bildlib.h"
#include "hilfe.h"

namespace {

class Bia : public FormatOrdner {
protected:
    const char* endung() const override { return ".bia"; }
    Bytes gut() {  // a 3 x 2 gray image, header built here
        Bytes b(32 + 6, 0);
        put16(b, 0, 3), put16(b, 2, 2), put16(b, 4, 1), put16(b, 6, 4), put32(b, 8, 7);
        for (int i = 0; i < 6; ++i) b[size_t(32 + i)] = uint8_t(10 + i);
        return b;
    }
};

}  // namespace

TEST_F(Bia, RoundTripEveryDepthLayoutAndRegion) {
    rundreise([&](CBILD& bild, CTeilbereich* region, CTeilbereich& t) {
        bild.info[0] = -5, bild.info[1] = 123456, bild.farbe32 = 77;
        CBILD zurueck(0, 0);
        ASSERT_EQ(CBia().schreibenteil(name.c_str(), &bild, region), 0);
        ASSERT_EQ(CBia().lesen(name.c_str(), &zurueck), 0);
        pruefe_teil(zurueck, bild, t);
        EXPECT_EQ(zurueck.flag, bild.flag);
        EXPECT_EQ(zurueck.info[0], -5);
        EXPECT_EQ(zurueck.info[1], 123456);
        EXPECT_EQ(zurueck.farbe32, 77);
    });
    // The regions were fitted in place: moved inside, cut only when larger.
    CTeilbereich rechts(35, 1, 6, 20), gross(0, 0, 100, 100);
    CBILD bild(37, 21);
    CBia().schreibenteil(name.c_str(), &bild, &rechts);
    CBia().schreibenteil(name.c_str(), &bild, &gross);
    EXPECT_EQ(rechts.links, 31);
    EXPECT_EQ(gross.breite, 37);
}

TEST_F(Bia, HeaderBytesAndSixteenBitSizes) {
    CBILD bild(0, 0);
    muster_bild(bild, 70000, 2, 1, 0x10004);
    bild.info[0] = -1, bild.info[1] = 2, bild.farbe32 = 0x12345, bild.zusatz = 9;
    ASSERT_EQ(bild.bildspeich(name.c_str()), 0);
    Bytes b = lies_datei(datei());
    ASSERT_EQ(b.size(), 32u + 140000);
    Bytes kopf(32, 0);
    put16(kopf, 0, 4464), put16(kopf, 2, 2), put16(kopf, 4, 1), put16(kopf, 6, 4);  // 70,000 mod 65,536
    put32(kopf, 8, 0xFFFFFFFF), put32(kopf, 12, 2), put16(kopf, 16, 0x2345);
    EXPECT_EQ(Bytes(b.begin(), b.begin() + 32), kopf);
    EXPECT_EQ(Bytes(b.begin() + 32, b.begin() + 40), Bytes(bild.zeile[0], bild.zeile[0] + 8));
    // Read back, the wrapped width takes its rows from the stream as it runs.
    ASSERT_EQ(lies(b, bild), 0);
    EXPECT_EQ(bild.breite, 4464);
    EXPECT_EQ(bild.zeile[1][0], b[32 + 4464]);
}

TEST_F(Bia, BadFilesGiveTheirCode) {
    CBILD bild(0, 0);
    ASSERT_EQ(lies(gut(), bild), 0);
    EXPECT_EQ(Bytes(bild.zeile[1], bild.zeile[1] + 3), (Bytes{13, 14, 15}));
    EXPECT_EQ(bild.flag, 4);
    EXPECT_EQ(bild.info[0], 7);

    Bytes kurz = gut();
    kurz.resize(31);
    EXPECT_EQ(lies(kurz, bild), 3);
    kurz = gut();
    kurz.pop_back();  // rows short: full size, rows so far, fields set
    put32(kurz, 12, 99);
    EXPECT_EQ(lies(kurz, bild), 3);
    EXPECT_EQ(bild.hoehe, 2);
    EXPECT_EQ(bild.info[1], 99);
    for (int bpp : {0, 5, 7}) {
        Bytes b = gut();
        put16(b, 4, uint32_t(bpp));
        EXPECT_EQ(lies(b, bild), 12);
    }
    Bytes leer = gut();
    put16(leer, 2, 0);  // no rows: allocation fails, not an error
    put16(leer, 6, 1);
    EXPECT_EQ(lies(leer, bild), 0);
    EXPECT_EQ(bild.hoehe, 0);
    EXPECT_EQ(bild.flag, 1);
    Bytes riesig = gut();
    put16(riesig, 0, 65535), put16(riesig, 2, 65535), put16(riesig, 4, 6);
    EXPECT_THROW(lies(riesig, bild), std::bad_alloc);

    CBia f;  // the two early returns keep the file open until the object goes
    put16(riesig, 4, 5);
    schreib_datei(datei(), riesig);
    EXPECT_EQ(f.lesen(name.c_str(), &bild), 12);
    EXPECT_TRUE(f.datei);
    EXPECT_EQ(f.lesen(nullptr, &bild), 1);
    EXPECT_EQ(f.lesen(w(pfad("fehlt.bia")).c_str(), &bild), 2);
    EXPECT_EQ(f.lesen(w(dir).c_str(), &bild), 2);
}

TEST_F(Bia, UnwritableImagesAndFiles) {
    CBILD bild(0, 0), leer(0, 0);
    muster_bild(bild, 4, 3, 5, 0);
    CTeilbereich negativ(0, 0, -2, 2);
    EXPECT_EQ(CBia().schreiben(name.c_str(), &bild), 12);
    EXPECT_EQ(CBia().schreiben(name.c_str(), &leer), 12);
    EXPECT_EQ(CBia().schreiben(name.c_str(), nullptr), 12);
    bild.bpp = 1;
    EXPECT_EQ(CBia().schreibenteil(name.c_str(), &bild, &negativ), 12);
    EXPECT_FALSE(existiert(datei()));
    EXPECT_EQ(CBia().schreiben(L"", &bild), 1);
    EXPECT_EQ(CBia().schreiben(w(pfad("fehlt/t.bia")).c_str(), &bild), 2);
    EXPECT_EQ(CBia().schreiben(L"/dev/full", &bild), 4);
}

TEST_F(Bia, ConverterWritesBiaAndBirAsTiff) {
    CBILD grau(0, 0), farbe(0, 0);
    muster_bild(grau, 3, 2, 1, 0);
    muster_bild(farbe, 2, 1, 4, 0);
    farbe.farbe32 = 256;  // the BIR is stored by CBia itself: 4 bytes stay 4 bytes
    ASSERT_EQ(grau.bildspeich(w(pfad("scan.bia")).c_str()), 0);
    ASSERT_EQ(CBia().schreiben(w(pfad("scan.bir")).c_str(), &farbe), 0);
    EXPECT_EQ(laufe("cd '" + dir + "' && '" BILDCONV_PATH "' scan.bia scan.bir"),
              "Convert scan.bia: OK\nConvert scan.bir: OK\n");
    const Bytes t1 = lies_datei(pfad("scan.bia.tif")), t2 = lies_datei(pfad("scan.bir.tif"));
    ASSERT_EQ(t1.size(), 222u + 6);
    EXPECT_EQ(Bytes(t1.begin() + 222, t1.end()), Bytes(grau.puffer, grau.puffer + 6));
    ASSERT_EQ(t2.size(), 222u + 6);  // as RGB: blue-green-red bytes reversed, fourth byte dropped
    const unsigned char* p = farbe.puffer;
    EXPECT_EQ(Bytes(t2.begin() + 222, t2.end()), (Bytes{p[2], p[1], p[0], p[6], p[5], p[4]}));
    EXPECT_EQ(get16(t2, 10 + 3 * 12 + 8), 8u);  // BitsPerSample 8: three samples
}
