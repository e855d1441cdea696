// fuzz_saat <folder>: writes the seed corpus of every fuzz target into
// <folder>/<target>/: BMP files of every bit count and row order built from
// bytes, BIA, BIR, raw and TIFF files written by the library's own writers
// for every depth and colour layout, and TIFFs the writer never makes.
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "bau.h"
#include "bildlib.h"
#include "saat_codec.h"

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
    for (const auto& c : CodecSaat::alle()) saeen(dir, c.ziel, c.quelle());
    // Kennung 0 bmp, 1 bia, 2 bir, 3 raw, 4 tif.
    saeen(dir, "konvert", bmp, 0), saeen(dir, "konvert", bia, 1), saeen(dir, "konvert", raw, 3), saeen(dir, "konvert", tif, 4);
    std::printf("%d seeds written to %s\n", gezaehlt, dir.c_str());
    return 0;
}
