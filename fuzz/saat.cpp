// fuzz_saat <folder>: writes the seed corpus of every fuzz target into
// <folder>/<target>/: BMP files of every bit count and row order built from
// bytes, BIA, BIR, raw and TIFF files written by the library's own writers
// for every depth and colour layout, TIFFs the writer never makes, and
// streams for each decoder's own target.
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "bau.h"
#include "bildlib.h"

namespace {

int gezaehlt = 0;

void saeen(const std::string& dir, const std::string& ziel, const std::vector<Bytes>& saaten, int kennung = -1) {
    ::mkdir((dir + "/" + ziel).c_str(), 0755);
    for (const Bytes& b : saaten) {
        std::ofstream f(dir + "/" + ziel + "/" + std::to_string(gezaehlt++), std::ios::binary);
        if (kennung >= 0) f.put(char(kennung));  // the whole-path target picks the format by its first byte
        f.write(reinterpret_cast<const char*>(b.data()), std::streamsize(b.size()));
    }
}

std::vector<Bytes> bmp_saaten() {
    std::vector<Bytes> out;
    for (int bits : {1, 4, 8, 16, 24, 32, 48})
        for (bool topdown : {false, true}) {
            BmpBau b(bits, 5, 3, topdown);
            if (bits == 32 && topdown) b.kompression = 3, b.masken = {0xF800, 0x07E0, 0x001F};
            if (bits <= 8) b.farbtabelle = Bytes(size_t(4) << bits, 0x40);
            out.push_back(b.bau(b.muster()));
        }
    return out;
}

// Images of every depth and layout, written by the library in `ext`.
std::vector<Bytes> geschrieben(const std::string& dir, const char* ext) {
    std::vector<Bytes> out;
    const std::string pfad = dir + "/.saat." + ext;
    struct Art { int bpp, flag, farbe32; };
    for (Art a : {Art{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {3, 4, 0}, {3, 1, 0}, {4, 0, 0}, {4, 4, 256}, {6, 0, 0}, {6, 1, 0}})
        for (int hoehe : {3, 23}) {
            CBILD bild(0, 0);
            bild.speicher(7, hoehe, a.bpp), bild.flag = a.flag, bild.farbe32 = a.farbe32;
            for (uint32_t i = 0; i < bild.puffergroesse; ++i) bild.puffer[i] = uint8_t(i * 7 + unsigned(a.bpp));
            std::ifstream f;
            if (bild.bildspeich(std::wstring(pfad.begin(), pfad.end()).c_str()) == 0) f.open(pfad, std::ios::binary);
            if (f) out.emplace_back(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
            std::remove(pfad.c_str());
        }
    return out;
}

// Both byte orders, BigTIFF, the predictor and every compression the reader
// decodes (PackBits and Deflate as literal/stored data, LZW encoded); tiles,
// planar rows, a palette, FillOrder 2.
std::vector<Bytes> tiff_varianten() {
    std::vector<Bytes> out;
    Bytes roh(72), packbits = {35}, deflate = {0x78, 0x01, 0x01, 72, 0, uint8_t(~72), 0xFF};
    for (size_t i = 0; i < roh.size(); ++i) roh[i] = uint8_t(i * 11);
    packbits.insert(packbits.end(), roh.begin(), roh.begin() + 36), packbits.insert(packbits.end(), {uint8_t(257 - 36), roh[0]});
    deflate.insert(deflate.end(), roh.begin(), roh.end()), deflate.insert(deflate.end(), 4, 0);  // the checksum is not checked
    for (const auto& [kompression, daten] : {std::pair<uint64_t, Bytes>{1, roh}, {5, lzw(roh)}, {32773, packbits}, {8, deflate}})
        for (int art = 0; art < 4; ++art) {
            TiffBau t = TiffBau::bild(6, 4, 8, 3, 2, daten);
            t.feld(259, 3, {kompression}), t.feld(317, 3, {art == 3 ? 2u : 1u}), t.mm = art == 1, t.big = art == 2;
            out.push_back(t.bau());
        }
    TiffBau kachel = TiffBau::bild(20, 18, 16, 1, 1, {}), planar = TiffBau::bild(6, 4, 8, 3, 2, {});
    TiffBau palette = TiffBau::bild(6, 4, 4, 1, 3, Bytes(12, 0x4B)), eins = TiffBau::bild(13, 3, 1, 1, 0, Bytes(6, 0xA5));
    kachel.kacheln = true, kachel.felder.erase(278), kachel.feld(322, 3, {16}), kachel.feld(323, 3, {16});
    kachel.segmente.assign(4, Bytes(16 * 16 * 2, 0x33));
    planar.feld(284, 3, {2}), planar.segmente = {Bytes(24, 1), Bytes(24, 2), Bytes(24, 3)};
    palette.feld(320, 3, std::vector<uint64_t>(48, 0x8000)), eins.feld(266, 3, {2});
    for (const TiffBau* t : {&kachel, &planar, &palette, &eins}) out.push_back(t->bau());
    return out;
}

// Seeds of fuzz_inflate: kap in two bytes, then a stored block, and a fixed one with matches (zlib,
// level 9, on 41 bytes), each with kap at the whole and at a third.
std::vector<Bytes> inflate_saaten() {
    std::vector<Bytes> v;
    for (const Bytes& q : {Bytes{0, 5, 0x78, 0x01, 0x01, 0x05, 0x00, 0xFA, 0xFF, 'h', 'a', 'l', 'l', 'o'},
                           Bytes{0,    41,   0x78, 0xDA, 0xCB, 0x48, 0xCC, 0xC9, 0xC9, 0x57, 0xC8, 0x00, 0x91, 0x3A,
                                 0x10, 0x0A, 0x99, 0xB4, 0x56, 0x28, 0x2E, 0x29, 0x4A, 0xCD, 0x4C, 0x4B, 0xCD, 0x53,
                                 0x04, 0x00, 0x39, 0x04, 0x0E, 0xD9}})
        v.push_back(q), v.push_back(q), v.back()[1] = uint8_t(q[1] / 3);
    return v;
}

// Seeds of fuzz_lzw: kap in two bytes, then bau.h's LZW of 5000 bytes of 3 and 256 kinds (long
// strings, KwKwK, every code width, a reset).
std::vector<Bytes> lzw_saaten() {
    std::vector<Bytes> v;
    for (unsigned alphabet : {3u, 256u}) {
        Bytes d(5000), q = {5000 >> 8, 5000 & 255};
        for (size_t i = 0; i < d.size(); ++i) d[i] = uint8_t((i * i * 2654435761u >> 13) % alphabet);
        for (unsigned char c : lzw(d)) q.push_back(c);
        v.push_back(q);
    }
    return v;
}

// Seed of fuzz_packbits: kap in two bytes (a third of the whole), then literal and repeat runs of 1 to
// 128 bytes and no-ops.
std::vector<Bytes> packbits_saaten() {
    Bytes q = {0, 200};
    for (int n = 1; n <= 128; n += 9) {
        q.push_back(uint8_t(n - 1));  // n literal bytes, then one byte n + 1 times, then a no-op
        for (int i = 0; i < n; ++i) q.push_back(uint8_t(i * 7 + n));
        for (int b : {256 - n, n, 0x80}) q.push_back(uint8_t(b));
    }
    return std::vector<Bytes>{q};
}

// Seed of fuzz_ccitt: six bytes (kind, options, width - 1, rows - 1), then
// text-like lines 37 pixels wide in Group 4.
std::vector<Bytes> ccitt_saaten() {
    return std::vector<Bytes>{{0x02, 0x00, 0x24, 0x00, 0x0B, 0x00, 0x26, 0xA8, 0x8E, 0x29, 0xE2, 0x38, 0xC2,
                               0x89, 0xC4, 0x5C, 0x42, 0x38, 0xA1, 0x42, 0x08, 0x51, 0x4E, 0x50, 0xE8, 0xF3,
                               0x4A, 0x08, 0x10, 0x84, 0xA2, 0x08, 0xBB, 0x09, 0x5B, 0x2B, 0x01, 0x28, 0x6C,
                               0x10, 0x4A, 0x21, 0x15, 0xC0, 0x90, 0x60, 0x86, 0x5D, 0x04, 0x18, 0x62, 0x7C,
                               0x2E, 0xD9, 0x4E, 0x0C, 0x23, 0xF3, 0x64, 0x66, 0xA2, 0x8A, 0x81, 0x60, 0x81,
                               0x11, 0xD8, 0x30, 0x51, 0x11, 0x11, 0xE0, 0x02, 0x00, 0x20}};
}

// Seed of fuzz_jpeg: three bytes (width - 1, height - 1, channels and conversion), then a 32 x 32
// gray stream whose tables have one code each (DC difference 0, end of block): two bits a block.
std::vector<Bytes> jpeg_saaten() {
    Bytes s = {31, 31, 0, 0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
    s.resize(s.size() + 64, 1);
    for (int klasse : {0x00, 0x10})
        for (int b : {0xFF, 0xC4, 0, 20, klasse, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})
            s.push_back(uint8_t(b));
    for (int b : {0xFF, 0xC0, 0, 11, 8, 0, 32, 0, 32, 1, 1, 0x11, 0, 0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 63, 0, 0, 0, 0, 0,
                  0xFF, 0xD9})
        s.push_back(uint8_t(b));
    return std::vector<Bytes>{s};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_saat <folder>\n");
        return 2;
    }
    const std::string dir = argv[1];
    ::mkdir(dir.c_str(), 0755);
    const auto bmp = bmp_saaten(), bia = geschrieben(dir, "bia"), raw = geschrieben(dir, "raw");
    auto tif = geschrieben(dir, "tif");
    for (Bytes& b : tiff_varianten()) tif.push_back(std::move(b));
    saeen(dir, "bmp", bmp), saeen(dir, "bia", bia), saeen(dir, "raw", raw), saeen(dir, "tiff", tif);
    saeen(dir, "inflate", inflate_saaten()), saeen(dir, "lzw", lzw_saaten()), saeen(dir, "packbits", packbits_saaten());
    saeen(dir, "ccitt", ccitt_saaten()), saeen(dir, "jpeg", jpeg_saaten());
    // Kennung 0 bmp, 1 bia, 2 bir, 3 raw, 4 tif.
    saeen(dir, "konvert", bmp, 0), saeen(dir, "konvert", bia, 1), saeen(dir, "konvert", raw, 3), saeen(dir, "konvert", tif, 4);
    std::printf("%d seeds written to %s\n", gezaehlt, dir.c_str());
    return 0;
}
