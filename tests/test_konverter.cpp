// The converter end to end: result lines, output names, a batch that goes
// on past bad files, under few file handles, with inputs that vanish.
#include <fcntl.h>
#include <sys/stat.h>

#include <thread>

#include "hilfe.h"

namespace {

Bytes bmp24(int breite, int hoehe) {
    const BmpBau b(24, breite, hoehe);
    return b.bau(b.muster());
}

using Konverter = Ordner;

}  // namespace

TEST_F(Konverter, BatchGoesOnAndPrintsOneLinePerArgument) {
    int status = -1;
    EXPECT_EQ(konvertiere("", "", &status), "");  // no arguments: nothing printed
    EXPECT_EQ(status, 0);
    Bytes kurz = bmp24(5, 3), flach = bmp24(5, 3), riesig = bmp24(5, 3);
    kurz.resize(kurz.size() - 4);
    put32(flach, 22, 0);  // height 0: read, but nothing to store
    put32(riesig, 18, 100000);
    put32(riesig, 22, 100000);  // more than the 32-bit buffer size
    const char* fehler = "Error reading image";
    const struct { std::string name; Bytes daten; const char* zeile; } faelle[] = {  // no bytes: not made
        {"photo.bmp", bmp24(5, 3), "OK"}, {"kurz.bmp", kurz, fehler}, {"flach.bmp", flach, "Failed to store output file"},
        {"riesig.bmp", riesig, fehler},   {"notes.txt", {1, 2, 3}, fehler}, {"x.jpg", {1, 2, 3}, fehler},
        {"fehlt.bmp", {}, fehler},        {"ordner.bmp", {}, fehler},       {"f\xc3\xa4.bmp", bmp24(2, 2), fehler},
        {"noext", {}, fehler},            {"", {}, fehler},                 {"last.BMP", bmp24(1, 1), "OK"}};
    ASSERT_EQ(::mkdir(pfad("ordner.bmp").c_str(), 0755), 0);
    std::string args, erwartet;
    for (const auto& f : faelle) {
        if (!f.daten.empty()) schreib_datei(pfad(f.name), f.daten);
        args += " '" + f.name + "'";
        erwartet += "Convert " + f.name + ": " + f.zeile + "\n";
    }
    EXPECT_EQ(konvertiere(args, "", &status), erwartet);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(existiert(pfad("last.BMP.tif")) && !existiert(pfad("kurz.bmp.tif")) && !existiert(pfad("flach.bmp.tif")));
    EXPECT_EQ(lies_datei(pfad("kurz.bmp")), kurz);  // inputs untouched
    CBILD bild(0, 0);  // the output is the library's TIFF of what it reads
    ASSERT_EQ(bild.bildlese(wpfad("photo.bmp").c_str()) + bild.bildspeich(wpfad("photo.tif").c_str()), 0);
    EXPECT_EQ(lies_datei(pfad("photo.bmp.tif")), lies_datei(pfad("photo.tif")));
}

TEST_F(Konverter, OutputNameAlwaysGetsTifAppended) {
    schreib_datei(pfad("a.bmp"), bmp24(2, 2));
    // A .tif input is written to .tif.tif: our own file converts to the same bytes.
    EXPECT_EQ(konvertiere("a.bmp a.bmp.tif"), "Convert a.bmp: OK\nConvert a.bmp.tif: OK\n");
    EXPECT_EQ(lies_datei(pfad("a.bmp.tif.tif")), lies_datei(pfad("a.bmp.tif")));
    // The output name is an existing folder: the write fails, the batch goes on.
    ASSERT_EQ(::mkdir(pfad("b.bmp.tif").c_str(), 0755), 0);
    schreib_datei(pfad("b.bmp"), bmp24(2, 2));
    EXPECT_EQ(konvertiere("b.bmp a.bmp"), "Convert b.bmp: Failed to store output file\nConvert a.bmp: OK\n");
    // A full disk shows when the file is closed.
    ASSERT_EQ(::symlink("/dev/full", pfad("c.bmp.tif").c_str()), 0);
    schreib_datei(pfad("c.bmp"), bmp24(2, 2));
    EXPECT_EQ(konvertiere("c.bmp"), "Convert c.bmp: Failed to store output file\n");
}

TEST_F(Konverter, MixedBatchUnderFewFileHandlesLeavesInputsAlone) {
    // Good and bad BMP, BIA/BIR, raw and TIFF files in turn; the bad ones fail
    // at different steps (short rows, unsupported depth, wrong magic), and the
    // BIA and raw readers leave a refused file open until they go.
    CBILD muster(0, 0);
    muster_bild(muster, 3, 2, 3, 0);
    ASSERT_EQ(muster.bildspeich(wpfad("gut.bir").c_str()) + muster.bildspeich(wpfad("gut.raw").c_str()) +
                  muster.bildspeich(wpfad("gut.tif").c_str()),
              0);
    Bytes bmp = bmp24(3, 2), bia = lies_datei(pfad("gut.bir")), raw = lies_datei(pfad("gut.raw")),
          tif = lies_datei(pfad("gut.tif"));
    Bytes kurz = bmp, tiefe5 = bia, magie = raw, mm = tif;
    kurz.resize(kurz.size() - 1);
    put16(tiefe5, 4, 5);
    magie[4] = 'X';
    mm[0] = 'X';
    const struct { const char* ext; const Bytes* daten; bool gut; } arten[] = {
        {".bmp", &bmp, true}, {".bmp", &kurz, false}, {".bir", &bia, true},  {".bia", &tiefe5, false},
        {".raw", &raw, true}, {".raw", &magie, false}, {".tif", &tif, true}, {".TIFF", &mm, false},
    };
    std::string args, erwartet;
    for (int i = 0; i < 360; ++i) {
        const auto& a = arten[i % 8];
        const std::string name = "f" + std::to_string(i) + a.ext;
        schreib_datei(pfad(name), *a.daten);
        args += " " + name;
        erwartet += "Convert " + name + (a.gut ? ": OK\n" : ": Error reading image\n");
    }
    EXPECT_EQ(konvertiere(args, "ulimit -n 32 &&"), erwartet);
    for (int i = 0; i < 360; ++i)
        ASSERT_EQ(lies_datei(pfad("f" + std::to_string(i) + arten[i % 8].ext)), *arten[i % 8].daten) << i;
}

