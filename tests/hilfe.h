// Test helpers: a scratch folder per test, whole-file I/O, shell commands,
// pattern images and a colour-order-free view of pixels.
#pragma once
#include <gtest/gtest.h>
#include <sys/stat.h>  // mkdir, mkfifo
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "bau.h"
#include "bildlib.h"

using V = std::vector<long long>;  // several results compared at once

inline Bytes lies_datei(const std::string& pfad) {
    std::ifstream f(pfad, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(f), {});
}
inline void schreib_datei(const std::string& pfad, const Bytes& b) {
    std::ofstream(pfad, std::ios::binary).write(reinterpret_cast<const char*>(b.data()), std::streamsize(b.size()));
}
inline bool existiert(const std::string& pfad) { return ::access(pfad.c_str(), F_OK) == 0; }
inline std::wstring w(const std::string& s) { return std::wstring(s.begin(), s.end()); }

// Output of a shell command, and its exit status.
inline std::string laufe(const std::string& befehl, int* status = nullptr) {
    std::string out;
    FILE* p = ::popen(befehl.c_str(), "r");
    char buf[4096];
    for (size_t n; p && (n = std::fread(buf, 1, sizeof buf, p)) > 0;) out.append(buf, n);
    const int s = p ? ::pclose(p) : -1;
    if (status) *status = WIFEXITED(s) ? WEXITSTATUS(s) : -1;
    return out;
}
inline bool hat(const char* werkzeug) { return !laufe(std::string("command -v ") + werkzeug).empty(); }
inline bool hat_pillow() { return laufe("/usr/bin/python3 -c 'import PIL; print(1)' 2>/dev/null") == "1\n"; }

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
    // The file the library writes of `bild` as `name`.
    Bytes schreibe(CBILD& bild, const std::string& name) {
        EXPECT_EQ(bild.bildspeich(wpfad(name).c_str()), 0) << name;
        return lies_datei(pfad(name));
    }
};

// An image of the given size, depth and flag word filled with a pattern of (row, byte index).
inline void muster_bild(CBILD& b, int breite, int hoehe, int bpp, int flag) {
    b.speicher(breite, hoehe, bpp);
    b.flag = flag;
    for (int y = 0; y < hoehe; ++y)
        for (int i = 0; i < breite * bpp; ++i) b.zeile[y][i] = uint8_t(y * 31 + i * 7 + 1);
}

// The bytes of pixel (x, y), samples in red-green-blue order for colour images (flag 0: stored reversed;
// 1: planar, third plane first; 4: as stored), so images of different layouts compare by colour.
inline Bytes rgb(const CBILD& b, int x, int y) {
    const unsigned char* z = b.zeile[y];
    const int s = b.bpp / 3;
    if (b.bpp != 3 && b.bpp != 6) return Bytes(z + x * b.bpp, z + (x + 1) * b.bpp);
    Bytes out;
    for (int c = 0; c < 3; ++c) {
        const unsigned char* p = z + (b.flag == 1 ? (2 - c) * b.breite + x : b.flag == 0 ? 3 * x + 2 - c : 3 * x + c) * s;
        out.insert(out.end(), p, p + s);
    }
    return out;
}

// Row y of an image as bytes.
inline Bytes zeile_von(const CBILD& b, int y = 0) { return Bytes(b.zeile[y], b.zeile[y] + b.breite * b.bpp); }
