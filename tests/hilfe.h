// Test helpers: a scratch folder per test, whole-file I/O, shell commands,
// pattern images, a colour-order-free view of pixels, the round-trip matrix.
#pragma once
#include <gtest/gtest.h>
#include <sys/stat.h>  // mkdir, mkfifo
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bau.h"
#include "bildlib.h"

inline Bytes lies_datei(const std::string& pfad) {
    std::ifstream f(pfad, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(f), {});
}

inline void schreib_datei(const std::string& pfad, const Bytes& b) {
    std::ofstream f(pfad, std::ios::binary);
    f.write(reinterpret_cast<const char*>(b.data()), std::streamsize(b.size()));
}

inline bool existiert(const std::string& pfad) { return ::access(pfad.c_str(), F_OK) == 0; }

inline std::wstring w(const std::string& s) { return std::wstring(s.begin(), s.end()); }

// Output of a shell command, and its exit status.
inline std::string laufe(const std::string& befehl, int* status = nullptr) {
    std::string out;
    FILE* p = ::popen(befehl.c_str(), "r");
    if (!p) return out;
    char buf[4096];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    const int s = ::pclose(p);
    if (status) *status = WIFEXITED(s) ? WEXITSTATUS(s) : -1;
    return out;
}

inline bool hat_pillow() { return laufe("/usr/bin/python3 -c 'import PIL; print(1)' 2>/dev/null") == "1\n"; }
inline bool hat_magick() { return laufe("/usr/bin/convert -version 2>/dev/null").find("ImageMagick") != std::string::npos; }

// A fresh folder under the test's working directory, removed afterwards.
class Ordner : public ::testing::Test {
protected:
    std::string dir;
    void SetUp() override {
        char muster[] = "bildtest_XXXXXX";
        ASSERT_NE(::mkdtemp(muster), nullptr);
        dir = muster;
    }
    void TearDown() override { std::system(("rm -rf '" + dir + "'").c_str()); }
    std::string pfad(const std::string& name) const { return dir + "/" + name; }
    std::wstring wpfad(const std::string& name) const { return w(pfad(name)); }
    // Writes `b` as `name` and reads it through the dispatcher.
    int lies(const Bytes& b, CBILD& bild, const std::string& name) {
        schreib_datei(pfad(name), b);
        return bild.bildlese(wpfad(name).c_str());
    }
    // bildconv inside the folder; `vorher` runs first in the same shell.
    std::string konvertiere(const std::string& args, const std::string& vorher = "", int* status = nullptr) {
        return laufe("cd '" + dir + "' && " + vorher + " '" BILDCONV_PATH "' " + args + " 2>&1", status);
    }
};

// Fills an image of the given size, depth and flag word with a pattern of
// (row, byte index).
inline void muster_bild(CBILD& b, int breite, int hoehe, int bpp, int flag) {
    b.speicher(breite, hoehe, bpp);
    b.flag = flag;
    for (int y = 0; y < hoehe; ++y)
        for (int i = 0; i < breite * bpp; ++i) b.zeile[y][i] = uint8_t(y * 31 + i * 7 + 1);
}

// The bytes of pixel (x, y), samples in red-green-blue order for colour
// images (flag 0: stored reversed; 1: planar, third plane first; 4: as
// stored), so images of different layouts compare by colour.
inline Bytes rgb(const CBILD& b, int x, int y) {
    const unsigned char* z = b.zeile[y];
    if (b.bpp != 3 && b.bpp != 6) return Bytes(z + x * b.bpp, z + (x + 1) * b.bpp);
    const int s = b.bpp / 3;
    Bytes out;
    for (int c = 0; c < 3; ++c) {
        const unsigned char* p = b.flag == 1 ? z + ((2 - c) * b.breite + x) * s
                                 : b.flag == 0 ? z + (3 * x + 2 - c) * s
                                               : z + (3 * x + c) * s;
        out.insert(out.end(), p, p + s);
    }
    return out;
}

// The round-trip matrix: depths 1, 2, 3, 4, 6 x flag words 0, 1 (planar), 4 x the whole 37 x 21 image and
// regions (moved inside, cut to the image, 20 rows, no columns). `f(bild, region, t)` writes `region`
// (null or &t; the writer fits t) and reads back.
template <typename F>
void rundreise(F f) {
    const CTeilbereich regionen[] = {{-2, 3, 5, 4}, {35, 1, 6, 20}, {2, 18, 4, 9}, {0, 0, 100, 100}, {4, 5, 0, 3}};
    for (int bpp : {1, 2, 3, 4, 6})
        for (int flag : {0, 1, 4})
            for (int r = -1; r < 5; ++r) {
                SCOPED_TRACE(::testing::Message() << "bpp " << bpp << " flag " << flag << " region " << r);
                CBILD bild(0, 0);
                muster_bild(bild, 37, 21, bpp, flag);
                CTeilbereich t = r < 0 ? CTeilbereich(0, 0, 37, 21) : regionen[r];
                f(bild, r < 0 ? nullptr : &t, t);
            }
}

// `zurueck` holds the (fitted) region t of `bild`, colour by colour.
inline void pruefe_teil(const CBILD& zurueck, const CBILD& bild, const CTeilbereich& t) {
    ASSERT_EQ(zurueck.breite, t.breite);
    ASSERT_EQ(zurueck.hoehe, t.breite ? t.hoehe : 0);
    ASSERT_EQ(zurueck.bpp, bild.bpp);
    for (int y = 0; y < zurueck.hoehe; ++y)
        for (int x = 0; x < zurueck.breite; ++x) ASSERT_EQ(rgb(zurueck, x, y), rgb(bild, x + t.links, y + t.oben));
}
