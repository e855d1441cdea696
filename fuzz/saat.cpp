// fuzz_saat <folder>: writes the seed corpus of every fuzz target into
// <folder>/<target>/: BMP files of every bit count and row order built from
// bytes, and BIA, BIR, raw and TIFF files written by the library's own
// writers for every depth and colour layout.
#include <sys/stat.h>

#include <cstdio>
#include <string>

#include "bau.h"
#include "saat_codec.h"
#include "tiff_bau.h"
#include "bildlib.h"

namespace {

int gezaehlt = 0;

void ablegen(const std::string& pfad, const Bytes& b) {
    FILE* f = std::fopen(pfad.c_str(), "wb");
    if (!f) return;
    std::fwrite(b.data(), 1, b.size(), f);
    std::fclose(f);
    ++gezaehlt;
}

Bytes lies(const std::string& pfad) {
    Bytes b;
    if (FILE* f = std::fopen(pfad.c_str(), "rb")) {
        int c;
        while ((c = std::fgetc(f)) != EOF) b.push_back(uint8_t(c));
        std::fclose(f);
    }
    return b;
}

std::vector<Bytes> bmp_saaten() {
    std::vector<Bytes> out;
    for (int bits : {1, 4, 8, 16, 24, 32, 48}) {
        for (bool topdown : {false, true}) {
            BmpBau b;
            b.bits = bits;
            b.breite = 5;
            b.hoehe = 3;
            b.topdown = topdown;
            if (bits == 32 && topdown) {
                b.kompression = 3;
                b.masken = {0xF800, 0x07E0, 0x001F};
            }
            if (bits <= 8) b.farbtabelle = Bytes(size_t(4) << bits, 0x40);
            std::vector<Bytes> zeilen;
            for (int y = 0; y < b.hoehe; ++y) {
                Bytes z(size_t(b.stride()));
                for (size_t i = 0; i < z.size(); ++i) z[i] = uint8_t(y * 40 + i * 3);
                zeilen.push_back(z);
            }
            out.push_back(b.bau(zeilen));
        }
    }
    return out;
}

// Images of every depth and layout, written by the library in `ext`.
std::vector<Bytes> geschrieben(const std::string& tmp, const char* ext) {
    std::vector<Bytes> out;
    struct Art { int bpp, flag, farbe32; };
    for (Art a : {Art{1, 0, 0}, Art{2, 0, 0}, Art{3, 0, 0}, Art{3, 4, 0}, Art{3, 1, 0}, Art{4, 0, 0},
                  Art{4, 4, 256}, Art{6, 0, 0}, Art{6, 1, 0}}) {
        for (int hoehe : {3, 23}) {
            CBILD bild(0, 0);
            bild.speicher(7, hoehe, a.bpp);
            bild.flag = a.flag;
            bild.farbe32 = a.farbe32;
            for (uint32_t i = 0; i < bild.puffergroesse; ++i) bild.puffer[i] = uint8_t(i * 7 + a.bpp);
            const std::string pfad = tmp + "." + ext;
            const std::wstring wpfad(pfad.begin(), pfad.end());
            std::remove(pfad.c_str());
            if (bild.bildspeich(wpfad.c_str()) == 0) out.push_back(lies(pfad));
            std::remove(pfad.c_str());
        }
    }
    return out;
}

void saeen(const std::string& dir, const char* ziel, const std::vector<Bytes>& saaten) {
    const std::string d = dir + "/" + ziel;
    ::mkdir(d.c_str(), 0755);
    int i = 0;
    for (const Bytes& b : saaten) ablegen(d + "/" + std::to_string(i++), b);
}

// Hand-built TIFFs the writer never makes: both byte orders, BigTIFF,
// tiles, planar rows, palette, the predictor, and every compression the
// reader decodes (PackBits and Deflate as literal/stored data, LZW encoded).
std::vector<Bytes> tiff_varianten() {
    std::vector<Bytes> out;
    Bytes roh(6 * 4 * 3);
    for (size_t i = 0; i < roh.size(); ++i) roh[i] = uint8_t(i * 11);
    Bytes packbits = {uint8_t(roh.size() / 2 - 1)};
    packbits.insert(packbits.end(), roh.begin(), roh.begin() + long(roh.size() / 2));
    packbits.insert(packbits.end(), {uint8_t(257 - roh.size() / 2), roh[0]});
    Bytes deflate = {0x78, 0x01, 0x01, uint8_t(roh.size()), 0, uint8_t(~roh.size()), 0xFF};
    deflate.insert(deflate.end(), roh.begin(), roh.end());
    deflate.insert(deflate.end(), {0, 0, 0, 0});  // the checksum is not checked
    const std::pair<uint64_t, Bytes> kompressionen[] = {{1, roh}, {5, lzw(roh)}, {32773, packbits}, {8, deflate}};
    for (const auto& [kompression, daten] : kompressionen)
        for (int art = 0; art < 4; ++art) {
            TiffBau t = TiffBau::bild(6, 4, 8, 3, 2, daten);
            t.feld(259, 3, {kompression});
            t.mm = art == 1;
            t.big = art == 2;
            if (art == 3) t.feld(317, 3, {2});  // horizontal predictor
            out.push_back(t.bau());
        }
    TiffBau kachel = TiffBau::bild(20, 18, 16, 1, 1, Bytes(16 * 16 * 2 * 4, 0x33));
    kachel.kacheln = true;
    kachel.felder.erase(278);
    kachel.feld(322, 3, {16});
    kachel.feld(323, 3, {16});
    kachel.segmente.assign(4, Bytes(16 * 16 * 2, 0x33));
    out.push_back(kachel.bau());
    TiffBau planar = TiffBau::bild(6, 4, 8, 3, 2, Bytes(24, 1));
    planar.feld(284, 3, {2});
    planar.segmente = {Bytes(24, 1), Bytes(24, 2), Bytes(24, 3)};
    out.push_back(planar.bau());
    TiffBau palette = TiffBau::bild(6, 4, 4, 1, 3, Bytes(12, 0x4B));
    palette.feld(320, 3, std::vector<uint64_t>(48, 0x8000));
    out.push_back(palette.bau());
    TiffBau eins = TiffBau::bild(13, 3, 1, 1, 0, Bytes(6, 0xA5));
    eins.feld(266, 3, {2});  // FillOrder 2
    out.push_back(eins.bau());
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
    const std::string tmp = dir + "/.saat";
    const auto bmp = bmp_saaten();
    const auto bia = geschrieben(tmp, "bia");
    const auto raw = geschrieben(tmp, "raw");
    auto tif = geschrieben(tmp, "tif");
    for (Bytes& b : tiff_varianten()) tif.push_back(std::move(b));
    saeen(dir, "bmp", bmp);
    saeen(dir, "bia", bia);
    saeen(dir, "raw", raw);
    saeen(dir, "tiff", tif);
    for (const auto& c : CodecSaat::alle()) saeen(dir, c.ziel, c.quelle());
    // The whole-path target picks the format by its first byte:
    // 0 bmp, 1 bia, 2 bir, 3 raw, 4 tif.
    const std::string k = dir + "/konvert";
    ::mkdir(k.c_str(), 0755);
    const std::pair<char, const std::vector<Bytes>*> arten[] = {{0, &bmp}, {1, &bia}, {3, &raw}, {4, &tif}};
    int i = 0;
    for (const auto& [kennung, saaten] : arten)
        for (const Bytes& b : *saaten) {
            Bytes mit(1, uint8_t(kennung));
            mit.insert(mit.end(), b.begin(), b.end());
            ablegen(k + "/" + std::to_string(i++), mit);
        }
    std::printf("%d seeds written to %s\n", gezaehlt, dir.c_str());
    return 0;
}
