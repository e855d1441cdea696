// The converter end to end: result lines, output names, a batch that goes on.
#include <fcntl.h>
#include <sys/stat.h>

#include <sstream>
#include <thread>

#include "bildlib.h"
#include "hilfe.h"

namespace {

class Konverter : public Ordner {
protected:
    // Runs bildconv inside the scratch folder with the given arguments.
    std::string konvertiere(const std::string& args, int* status = nullptr) {
        return laufe("cd '" + dir + "' && '" BILDCONV_PATH "' " + args + " 2>&1", status);
    }
};

Bytes bmp24(int breite, int hoehe) {
    BmpBau b;
    b.bits = 24;
    b.breite = breite;
    b.hoehe = hoehe;
    std::vector<Bytes> zeilen;
    for (int y = 0; y < hoehe; ++y) {
        Bytes z(size_t(b.stride()), 0);
        for (int x = 0; x < breite; ++x) {
            z[size_t(3 * x)] = uint8_t(x);          // blue
            z[size_t(3 * x + 1)] = uint8_t(y);      // green
            z[size_t(3 * x + 2)] = uint8_t(x + y);  // red
        }
        zeilen.push_back(z);
    }
    return b.bau(zeilen);
}

}  // namespace

TEST_F(Konverter, NoArgumentsPrintNothing) {
    int status = -1;
    EXPECT_EQ(konvertiere("", &status), "");
    EXPECT_EQ(status, 0);
}

TEST_F(Konverter, BatchGoesOnAndPrintsOneLinePerArgument) {
    schreib_datei(pfad("photo.bmp"), bmp24(5, 3));
    Bytes kurz = bmp24(5, 3);
    kurz.resize(kurz.size() - 4);
    schreib_datei(pfad("kurz.bmp"), kurz);
    Bytes flach = bmp24(5, 3);
    put32(flach, 22, 0);  // height 0: read, but nothing to store
    schreib_datei(pfad("flach.bmp"), flach);
    Bytes riesig = bmp24(5, 3);
    put32(riesig, 18, 100000);
    put32(riesig, 22, 100000);  // more than the 32-bit buffer size
    schreib_datei(pfad("riesig.bmp"), riesig);
    schreib_datei(pfad("notes.txt"), Bytes{1, 2, 3});
    schreib_datei(pfad("x.jpg"), Bytes{1, 2, 3});
    schreib_datei(pfad("f\xc3\xa4.bmp"), bmp24(2, 2));
    ASSERT_EQ(::mkdir(pfad("ordner.bmp").c_str(), 0755), 0);
    schreib_datei(pfad("last.BMP"), bmp24(1, 1));

    int status = -1;
    const std::string out = konvertiere(
        "photo.bmp kurz.bmp flach.bmp riesig.bmp notes.txt x.jpg fehlt.bmp ordner.bmp "
        "f\xc3\xa4.bmp noext '' last.BMP",
        &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(out,
              "Convert photo.bmp: OK\n"
              "Convert kurz.bmp: Error reading image\n"
              "Convert flach.bmp: Failed to store output file\n"
              "Convert riesig.bmp: Error reading image\n"
              "Convert notes.txt: Error reading image\n"
              "Convert x.jpg: Error reading image\n"
              "Convert fehlt.bmp: Error reading image\n"
              "Convert ordner.bmp: Error reading image\n"
              "Convert f\xc3\xa4.bmp: Error reading image\n"
              "Convert noext: Error reading image\n"
              "Convert : Error reading image\n"
              "Convert last.BMP: OK\n");
    EXPECT_TRUE(existiert(pfad("photo.bmp.tif")));
    EXPECT_TRUE(existiert(pfad("last.BMP.tif")));
    EXPECT_FALSE(existiert(pfad("kurz.bmp.tif")));
    EXPECT_FALSE(existiert(pfad("flach.bmp.tif")));
    EXPECT_EQ(lies_datei(pfad("kurz.bmp")), kurz);  // inputs untouched

    // The output is the rows in red-green-blue order after the 222-byte head.
    Bytes t = lies_datei(pfad("photo.bmp.tif"));
    ASSERT_EQ(t.size(), 222u + 45);
    EXPECT_EQ(Bytes(t.begin() + 222, t.begin() + 228), (Bytes{0, 0, 0, 1, 0, 1}));
    EXPECT_EQ(Bytes(t.begin() + 222 + 30, t.begin() + 222 + 33), (Bytes{2, 2, 0}));
}

TEST_F(Konverter, OutputNameAlwaysGetsTifAppended) {
    schreib_datei(pfad("a.bmp"), bmp24(2, 2));
    konvertiere("a.bmp");
    const Bytes erstes = lies_datei(pfad("a.bmp.tif"));
    ASSERT_FALSE(erstes.empty());
    // A .tif input is written to .tif.tif and never overwritten; converting
    // our own file again gives the same bytes.
    EXPECT_EQ(konvertiere("a.bmp.tif"), "Convert a.bmp.tif: OK\n");
    EXPECT_EQ(lies_datei(pfad("a.bmp.tif")), erstes);
    EXPECT_EQ(lies_datei(pfad("a.bmp.tif.tif")), erstes);
    // The output name is an existing folder: the write fails, the batch goes on.
    ASSERT_EQ(::mkdir(pfad("b.bmp.tif").c_str(), 0755), 0);
    schreib_datei(pfad("b.bmp"), bmp24(2, 2));
    EXPECT_EQ(konvertiere("b.bmp a.bmp"), "Convert b.bmp: Failed to store output file\nConvert a.bmp: OK\n");
    // A full disk shows when the file is closed.
    ASSERT_EQ(::symlink("/dev/full", pfad("c.bmp.tif").c_str()), 0);
    schreib_datei(pfad("c.bmp"), bmp24(2, 2));
    EXPECT_EQ(konvertiere("c.bmp"), "Convert c.bmp: Failed to store output file\n");
}

TEST_F(Konverter, LibtiffReadsTheSamePixels) {
    if (laufe("command -v tiffinfo").empty()) GTEST_SKIP() << "tiffinfo (libtiff-tools) not installed";
    schreib_datei(pfad("gross.bmp"), bmp24(7, 45));
    ASSERT_EQ(konvertiere("gross.bmp"), "Convert gross.bmp: OK\n");
    int status = -1;
    const std::string info = laufe("tiffinfo -d '" + pfad("gross.bmp.tif") + "' 2>&1", &status);
    ASSERT_EQ(status, 0) << info;
    // Collect the hex bytes of the strips libtiff decoded.
    std::istringstream in(info);
    std::string zeile;
    Bytes pixel;
    bool daten = false;
    while (std::getline(in, zeile)) {
        if (zeile.rfind("Strip ", 0) == 0) { daten = true; continue; }
        if (!daten || zeile.empty() || zeile[0] != ' ') continue;
        std::istringstream z(zeile);
        std::string hex;
        while (z >> hex) pixel.push_back(uint8_t(std::stoul(hex, nullptr, 16)));
    }
    ASSERT_EQ(pixel.size(), size_t(7 * 45 * 3));
    for (int y = 0; y < 45; ++y)
        for (int x = 0; x < 7; ++x) {
            const size_t i = size_t(3 * (7 * y + x));
            EXPECT_EQ(pixel[i], uint8_t(x + y));
            EXPECT_EQ(pixel[i + 1], uint8_t(y));
            EXPECT_EQ(pixel[i + 2], uint8_t(x));
        }
}

TEST_F(Konverter, MixedBatchUnderFewFileHandlesLeavesInputsAlone) {
    // Good and bad BMP, BIA and raw files in turn; the bad ones fail at
    // different steps (short rows, unsupported depth, wrong magic).
    CBILD muster(0, 0);
    muster.speicher(3, 2, 3);
    for (uint32_t i = 0; i < muster.puffergroesse; ++i) muster.puffer[i] = uint8_t(i * 9);
    ASSERT_EQ(muster.bildspeich(w(pfad("gut.bia")).c_str()), 0);
    ASSERT_EQ(muster.bildspeich(w(pfad("gut.raw")).c_str()), 0);
    Bytes bmp = bmp24(3, 2), bia = lies_datei(pfad("gut.bia")), raw = lies_datei(pfad("gut.raw"));
    Bytes kurz = bmp, tiefe5 = bia, magie = raw;
    kurz.resize(kurz.size() - 1);
    put16(tiefe5, 4, 5);
    magie[4] = 'X';
    const struct { const char* ext; const Bytes* daten; bool gut; } arten[] = {
        {".bmp", &bmp, true}, {".bmp", &kurz, false}, {".bia", &bia, true},
        {".bir", &tiefe5, false}, {".raw", &raw, true}, {".raw", &magie, false},
    };
    std::string args, erwartet;
    std::vector<std::pair<std::string, const Bytes*>> eingaben;
    for (int i = 0; i < 360; ++i) {
        const auto& a = arten[i % 6];
        const std::string name = "f" + std::to_string(i) + a.ext;
        schreib_datei(pfad(name), *a.daten);
        eingaben.emplace_back(name, a.daten);
        args += " " + name;
        erwartet += "Convert " + name + (a.gut ? ": OK\n" : ": Error reading image\n");
    }
    EXPECT_EQ(laufe("cd '" + dir + "' && ulimit -n 32 && '" BILDCONV_PATH "'" + args + " 2>&1"), erwartet);
    for (const auto& [name, daten] : eingaben) ASSERT_EQ(lies_datei(pfad(name)), *daten) << name;
}

TEST_F(Konverter, InputVanishingBetweenArgumentsFailsAlone) {
    // a.bmp is a pipe: b.bmp is removed while a.bmp is still being read, so
    // it is gone when its turn comes; c.bmp still converts.
    const Bytes a = bmp24(4, 3);
    schreib_datei(pfad("b.bmp"), a);
    schreib_datei(pfad("c.bmp"), a);
    ASSERT_EQ(::mkfifo(pfad("a.bmp").c_str(), 0644), 0);
    std::thread schreiber([&] {
        const int fd = ::open(pfad("a.bmp").c_str(), O_WRONLY);
        if (fd < 0) return;
        bool ok = ::write(fd, a.data(), a.size() - 1) == ssize_t(a.size() - 1);
        std::remove(pfad("b.bmp").c_str());
        ok = ok && ::write(fd, a.data() + a.size() - 1, 1) == 1;
        EXPECT_TRUE(ok);
        ::close(fd);
    });
    const std::string out = konvertiere("a.bmp b.bmp c.bmp");
    schreiber.join();
    EXPECT_EQ(out, "Convert a.bmp: OK\nConvert b.bmp: Error reading image\nConvert c.bmp: OK\n");
    EXPECT_EQ(lies_datei(pfad("a.bmp.tif")), lies_datei(pfad("c.bmp.tif")));
}
