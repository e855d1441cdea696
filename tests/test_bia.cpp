// BIA/BIR files: round trips, header bytes, bad files, the converter.
#include <functional>
#include <new>
#include <tuple>

#include "bildlib.h"
#include "hilfe.h"

namespace {

class Bia : public FormatOrdner {
protected:
    const char* endung() const override { return ".bia"; }
};

// A 3 x 2 gray image, flag word 4, info[0] 7, rows 10 to 15.
Bytes gut() {
    Bytes b = {3, 0, 2, 0, 1, 0, 4, 0, 7};
    b.resize(32);
    for (uint8_t i = 10; i < 16; ++i) b.push_back(i);
    return b;
}

}  // namespace

TEST_F(Bia, RoundTripEveryDepthLayoutAndRegion) {
    rundreise([&](CBILD& bild, CTeilbereich* region, CTeilbereich& t) {
        bild.info[0] = -5, bild.info[1] = 123456, bild.farbe32 = 77;
        CBILD zurueck(0, 0);
        ASSERT_EQ(CBia().schreibenteil(name.c_str(), &bild, region), 0);
        ASSERT_EQ(CBia().lesen(name.c_str(), &zurueck), 0);
        pruefe_teil(zurueck, bild, t);
        EXPECT_EQ(zurueck.flag, bild.flag);
        EXPECT_EQ(std::make_tuple(zurueck.info[0], zurueck.info[1], zurueck.farbe32), std::make_tuple(-5, 123456, 77));
    });
}

TEST_F(Bia, HeaderBytesAndSixteenBitSizes) {
    CBILD bild(0, 0);
    muster_bild(bild, 70000, 2, 1, 0x10004);
    bild.info[0] = -1, bild.info[1] = 2, bild.farbe32 = 0x12345, bild.zusatz = 9;
    ASSERT_EQ(bild.bildspeich(name.c_str()), 0);
    Bytes b = lies_datei(datei()), kopf(32, 0);
    ASSERT_EQ(b.size(), 32u + 140000);
    put16(kopf, 0, 4464), put16(kopf, 2, 2), put16(kopf, 4, 1), put16(kopf, 6, 4);  // 70,000 mod 65,536
    put32(kopf, 8, 0xFFFFFFFF), put32(kopf, 12, 2), put16(kopf, 16, 0x2345);
    EXPECT_EQ(Bytes(b.begin(), b.begin() + 32), kopf);
    EXPECT_EQ(Bytes(b.begin() + 32, b.begin() + 40), Bytes(bild.zeile[0], bild.zeile[0] + 8));
    ASSERT_EQ(lies(b, bild), 0);  // the wrapped width takes its rows from the stream as it runs
    EXPECT_EQ(bild.zeile[1][0], b[32 + 4464]);
}

TEST_F(Bia, OneChangeGivesItsCode) {
    struct Fall {
        std::function<void(Bytes&)> aendere;
        int code, hoehe;  // hoehe -1: not looked at
    };
    const Fall faelle[] = {
        {[](Bytes&) {}, 0, 2},
        {[](Bytes& b) { b.resize(31); }, 3, -1},
        {[](Bytes& b) { b.pop_back(); }, 3, 2},  // full size, rows so far, fields set
        {[](Bytes& b) { put16(b, 4, 5); }, 12, -1},
        {[](Bytes& b) { put16(b, 4, 0); }, 12, -1},
        {[](Bytes& b) { put16(b, 2, 0); }, 0, 0},  // no rows: an empty image, no error
    };
    for (const Fall& f : faelle) {
        CBILD bild(0, 0);
        Bytes b = gut();
        f.aendere(b);
        ASSERT_EQ(lies(b, bild), f.code);
        if (f.hoehe < 0) continue;
        EXPECT_EQ(bild.hoehe, f.hoehe);
        EXPECT_EQ(std::make_pair(bild.flag, bild.info[0]), std::make_pair(4, 7));
        if (f.hoehe) {
            EXPECT_EQ(bild.zeile[1][0], 13);
        }
    }
    CBILD bild(0, 0);
    Bytes riesig = gut();
    put16(riesig, 0, 65535), put16(riesig, 2, 65535), put16(riesig, 4, 6);
    EXPECT_THROW(lies(riesig, bild), std::bad_alloc);

    CBia f;  // the two early returns keep the file open until the object goes
    schreib_datei(datei(), Bytes(31, 1));
    EXPECT_EQ(f.lesen(name.c_str(), &bild), 3);
    EXPECT_TRUE(f.datei);
    EXPECT_EQ(f.lesen(nullptr, &bild), 1);
    EXPECT_EQ(f.lesen(w(pfad("fehlt.bia")).c_str(), &bild), 2);
    EXPECT_EQ(f.lesen(w(dir).c_str(), &bild), 2);
}

TEST_F(Bia, BothWritersRefuseUnusableImagesAndReportFileErrors) {
    auto pruefe = [&](auto schreiber, const std::string& ziel) {
        using S = decltype(schreiber);
        CBILD bild(0, 0), leer(0, 0);
        CTeilbereich negativ(0, 0, 2, -2);
        muster_bild(bild, 4, 3, 5, 0);
        EXPECT_EQ(S().schreiben(w(ziel).c_str(), &bild), 12) << ziel;
        EXPECT_EQ(S().schreiben(w(ziel).c_str(), &leer), 12);
        bild.bpp = 1;
        EXPECT_EQ(S().schreibenteil(w(ziel).c_str(), &bild, &negativ), 12);
        EXPECT_FALSE(existiert(ziel));  // refused before the file is made
        EXPECT_EQ(S().schreiben(L"", &bild), 1);
        EXPECT_EQ(S().schreiben(w(pfad("fehlt/t")).c_str(), &bild), 2);
        EXPECT_EQ(S().schreiben(L"/dev/full", &bild), 4);
    };
    pruefe(CBia(), pfad("t.bia"));
    pruefe(CRaw(), pfad("t.raw"));
}

TEST_F(Bia, ConverterWritesBiaAndBirAsTiff) {
    CBILD grau(0, 0), farbe(0, 0);
    muster_bild(grau, 3, 2, 1, 0);
    muster_bild(farbe, 2, 1, 4, 0);
    farbe.farbe32 = 256;  // CBia itself stores the 4 bytes as they are
    ASSERT_EQ(grau.bildspeich(w(pfad("scan.bia")).c_str()), 0);
    ASSERT_EQ(CBia().schreiben(w(pfad("scan.bir")).c_str(), &farbe), 0);
    EXPECT_EQ(laufe("cd '" + dir + "' && '" BILDCONV_PATH "' scan.bia scan.bir"),
              "Convert scan.bia: OK\nConvert scan.bir: OK\n");
    const Bytes t1 = lies_datei(pfad("scan.bia.tif")), t2 = lies_datei(pfad("scan.bir.tif"));
    EXPECT_EQ(Bytes(t1.begin() + 222, t1.end()), Bytes(grau.puffer, grau.puffer + 6));
    const unsigned char* p = farbe.puffer;  // RGB: blue-green-red reversed, fourth byte dropped
    EXPECT_EQ(Bytes(t2.begin() + 222, t2.end()), (Bytes{p[2], p[1], p[0], p[6], p[5], p[4]}));
}
