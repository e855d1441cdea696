// The benchmark's inputs, written by the library's own writers:
//   eingaben FOLDER
// makes FOLDER/big24.bmp (8000 x 6000, 24-bit, bottom-up), FOLDER/big8.bmp
// (the same size, 8-bit), FOLDER/bigraw16.raw (8000 x 6000, 16-bit raw) and
// FOLDER/batch/0000.bmp ... 1999.bmp (64 x 48, 24-bit), and the sources of
// the TIFF cases, FOLDER/foto24.tif (6000 x 4000 RGB) and FOLDER/foto16.tif
// (6000 x 4000 16-bit gray), which bench/run.sh recompresses with tiffcp.
// Exit status 1 when any file could not be written.
#include <cstdio>
#include <string>

#include "bildlib.h"

namespace {

constexpr int kGrossBreite = 8000, kGrossHoehe = 6000;
constexpr int kKleinBreite = 64, kKleinHoehe = 48, kKleinAnzahl = 2000;

// The names are plain ASCII paths: each byte becomes one wide character.
std::wstring breit(const std::string& s) { return std::wstring(s.begin(), s.end()); }

// Gradients with some noise, so no two rows are alike; the content does not
// change the cost of an uncompressed write.
void fuellen(CBILD& b, int breite, int hoehe, int bpp, uint32_t saat) {
    b.speicher(breite, hoehe, bpp);
    b.flag = 0;
    const size_t n = size_t(breite) * size_t(bpp);
    for (int y = 0; y < hoehe; ++y)
        for (size_t i = 0; i < n; ++i) {
            saat = saat * 1103515245u + 12345u;
            b.zeile[y][i] = (unsigned char)(i / 3 + size_t(y) + ((saat >> 16) & 7));
        }
}

// 16-bit samples as a camera gives them: smooth, with noise in the low bits.
void fuellen16(CBILD& b, int breite, int hoehe, uint32_t saat) {
    b.speicher(breite, hoehe, 2);
    b.flag = 0;
    for (int y = 0; y < hoehe; ++y)
        for (int x = 0; x < breite; ++x) {
            saat = saat * 1103515245u + 12345u;
            const uint32_t v = uint32_t(x * 7 + y * 5) + ((saat >> 16) & 63);
            b.zeile[y][2 * x] = (unsigned char)v;
            b.zeile[y][2 * x + 1] = (unsigned char)(v >> 8);
        }
}

bool speichern(CBILD& b, const std::string& name) {
    if (b.bildspeich(breit(name).c_str()) == 0) return true;
    std::fprintf(stderr, "eingaben: cannot write %s\n", name.c_str());
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: eingaben FOLDER\n");
        return 2;
    }
    const std::string ordner = argv[1];
    bool ok = true;
    CBILD b;
    fuellen(b, kGrossBreite, kGrossHoehe, 3, 1);
    ok = speichern(b, ordner + "/big24.bmp") && ok;
    fuellen(b, kGrossBreite, kGrossHoehe, 1, 2);
    ok = speichern(b, ordner + "/big8.bmp") && ok;
    fuellen(b, kGrossBreite, kGrossHoehe, 2, 3);
    ok = speichern(b, ordner + "/bigraw16.raw") && ok;
    fuellen(b, 6000, 4000, 3, 4);
    b.flag = 4;
    ok = speichern(b, ordner + "/foto24.tif") && ok;
    fuellen16(b, 6000, 4000, 5);
    ok = speichern(b, ordner + "/foto16.tif") && ok;
    for (int i = 0; i < kKleinAnzahl; ++i) {
        fuellen(b, kKleinBreite, kKleinHoehe, 3, uint32_t(100 + i));
        char name[32];
        std::snprintf(name, sizeof name, "/batch/%04d.bmp", i);
        ok = speichern(b, ordner + name) && ok;
    }
    return ok ? 0 : 1;
}
