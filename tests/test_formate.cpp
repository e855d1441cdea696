// Every format's writer and reader together: the round-trip matrix, 4-byte
// colour, refusals and file errors with their codes.
#include "hilfe.h"

using Formate = Ordner;

TEST_F(Formate, EveryFormatDepthLayoutAndRegionRoundTrips) {
    for (std::string ext : {".bia", ".raw", ".bmp", ".tif"}) {
        const std::wstring name = wpfad("t" + ext);
        rundreise([&](CBILD& bild, CTeilbereich* region, CTeilbereich& t) {
            SCOPED_TRACE(ext);
            bild.info[0] = -5, bild.info[1] = 123456, bild.farbe32 = 77;
            const int r = bild.bildspeichteil(name.c_str(), region);
            // BMP has no 32-bit gray, BMP and TIFF no image of no pixels.
            const bool geht = !(ext == ".bmp" && bild.bpp == 4) && (t.breite || ext == ".bia" || ext == ".raw");
            ASSERT_EQ(r, geht ? 0 : 12);
            if (r) return;
            const Bytes datei = lies_datei(pfad("t" + ext));
            CBILD zurueck(0, 0);
            ASSERT_EQ(zurueck.bildlese(name.c_str()), 0);
            pruefe_teil(zurueck, bild, t);
            // BIA carries flag word, info and marker; raw stores colour type 3 (red first) or 5 and, like
            // TIFF, gives colour back red first (planar interleaved); BMP gives it blue first.
            const bool farbe = bild.bpp == 3 || bild.bpp == 6, bia = ext == ".bia";
            EXPECT_EQ(zurueck.flag, bia ? bild.flag : farbe && (ext == ".tif" || (ext == ".raw" && bild.flag)) ? 4 : 0);
            EXPECT_TRUE(!bia || (zurueck.info[0] == -5 && zurueck.info[1] == 123456 && zurueck.farbe32 == 77));
            EXPECT_TRUE(ext != ".raw" || get32(datei, 33) == uint32_t(!farbe ? 0 : bild.flag ? 3 : 5));
            if (ext != ".tif") return;
            ASSERT_EQ(zurueck.bildspeich(name.c_str()), 0);  // what we read writes the same file
            EXPECT_EQ(lies_datei(pfad("t" + ext)), datei);
        });
    }
}

TEST_F(Formate, FourByteColourGoesOutAsThreeBytesInEveryFormat) {
    CBILD c(0, 0), zurueck(0, 0);
    muster_bild(c, 2, 1, 4, 0);  // pixel 1: 29, 36, 43, 50
    c.farbe32 = 256;
    for (std::string ext : {".bia", ".raw", ".bmp", ".tif"})
        for (int flag : {0, 4}) {
            c.flag = flag;  // 0: blue first, 4: red first; the fourth byte is dropped
            ASSERT_EQ(c.bildspeich(wpfad("t" + ext).c_str()), 0) << ext;
            ASSERT_EQ(zurueck.bildlese(wpfad("t" + ext).c_str()), 0);
            ASSERT_EQ(zurueck.bpp, 3);
            EXPECT_EQ(rgb(zurueck, 1, 0), flag ? Bytes({29, 36, 43}) : Bytes({43, 36, 29})) << ext;
            EXPECT_EQ(c.bpp, 4);  // the image itself is unchanged
        }
}

TEST_F(Formate, RefusalsAndFileErrorsHaveTheirCodes) {
    auto pruefe = [&](auto format, const std::string& ext) {
        using F = decltype(format);
        SCOPED_TRACE(ext);
        CBILD bild(0, 0), fuenf(0, 0), leer(0, 0);
        muster_bild(bild, 4, 3, 1, 0);
        muster_bild(fuenf, 4, 3, 5, 0);
        const std::wstring ziel = wpfad("t" + ext), fehlt = wpfad("fehlt/t" + ext), ordner = w(dir);
        CTeilbereich negativ(0, 0, 2, -2);
        using V = std::vector<int>;
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
    pruefe(CBia(), ".bia");
    pruefe(CRaw(), ".raw");
    pruefe(CBmp(), ".bmp");
    pruefe(CTiff(), ".tif");
    CBILD b(4, 4);
    b.bpp = 12;
    EXPECT_EQ(b.bildspeich(wpfad("t.tif").c_str()) + b.bildspeich(wpfad("t.bmp").c_str()), 24);
    b.bpp = 1;
    EXPECT_EQ(b.bildspeich(wpfad("t.jpg").c_str()) + b.bildspeich(wpfad("t").c_str()), 2);  // no writer
}
