// Writes the sample images of this folder: `beispiele <folder>`. Every
// sample is made here from arithmetic patterns, so the repository ships
// nothing it did not make itself. Depths our BMP writer carries (8, 16 and
// 24 bits) are written by it; 1-, 4- and 32-bit files are put together here.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "bild/bytes.h"
#include "bildlib.h"

namespace {

using Bytes = std::vector<unsigned char>;

// A BMP with the given bit count; `pixel(x, y, out)` fills one pixel's
// stored bytes (for bit counts below 8, `index(x, y)` gives the value).
template <typename Pixel>
Bytes bmp(int bits, int breite, int hoehe, bool topdown, Pixel pixel, const Bytes& extra = {}) {
    const int stride = ((breite * bits + 7) / 8 + 3) & ~3;
    const uint32_t offset = 54 + uint32_t(extra.size());
    Bytes b(offset + size_t(stride) * size_t(hoehe), 0);
    b[0] = 'B';
    b[1] = 'M';
    bild::put_le32(&b[2], uint32_t(b.size()));
    bild::put_le32(&b[10], offset);
    bild::put_le32(&b[14], 40);
    bild::put_le32(&b[18], uint32_t(breite));
    bild::put_le32(&b[22], uint32_t(topdown ? -hoehe : hoehe));
    bild::put_le16(&b[26], 1);
    bild::put_le16(&b[28], uint32_t(bits));
    bild::put_le32(&b[30], bits == 32 ? 3 : 0);
    bild::put_le32(&b[34], uint32_t(stride * hoehe));
    for (size_t i = 0; i < extra.size(); ++i) b[54 + i] = extra[i];
    for (int y = 0; y < hoehe; ++y) {
        unsigned char* z = &b[offset + size_t(stride) * size_t(topdown ? y : hoehe - 1 - y)];
        pixel(y, z);
    }
    return b;
}

Bytes graupalette(int n) {
    Bytes p;
    for (int i = 0; i < n; ++i) {
        const uint8_t v = uint8_t(i * 255 / (n - 1));
        p.insert(p.end(), {v, v, v, 0});
    }
    return p;
}

// An image of the given depth filled by `pixel(y, row)`, written by CBmp.
template <typename Pixel>
bool bmp_bild(const std::string& pfad, int bpp, int breite, int hoehe, Pixel pixel) {
    CBILD bild(0, 0);
    bild.speicher(breite, hoehe, bpp);
    bild.flag = 0;  // blue, green, red: the order of the file
    for (int y = 0; y < hoehe; ++y) pixel(y, bild.zeile[y]);
    const std::wstring name(pfad.begin(), pfad.end());
    CBmp bmp;
    return bmp.schreiben(name.c_str(), &bild) == 0;
}

bool schreibe(const std::string& pfad, const Bytes& b) {
    FILE* f = std::fopen(pfad.c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(b.data(), 1, b.size(), f) == b.size();
    return std::fclose(f) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string dir = argc > 1 ? argv[1] : ".";
    const int W = 96, H = 64;
    bool ok = true;
    ok &= bmp_bild(dir + "/farbverlauf24.bmp", 3, W, H, [&](int y, unsigned char* z) {
        for (int x = 0; x < W; ++x) {
            z[3 * x] = uint8_t(255 - x * 255 / W);  // blue
            z[3 * x + 1] = uint8_t(y * 255 / H);    // green
            z[3 * x + 2] = uint8_t(x * 255 / W);    // red
        }
    });
    ok &= bmp_bild(dir + "/grau8.bmp", 1, W, H, [&](int y, unsigned char* z) {
        for (int x = 0; x < W; ++x) z[x] = uint8_t((x * 2 + y * 3) & 0xFF);
    });
    ok &= schreibe(dir + "/schach1.bmp", bmp(1, 40, 24, false, [&](int y, unsigned char* z) {
        for (int x = 0; x < 40; ++x)
            if (((x / 4) + (y / 4)) & 1) z[x / 8] |= uint8_t(0x80 >> (x % 8));
    }, graupalette(2)));
    ok &= schreibe(dir + "/stufen4.bmp", bmp(4, 33, 16, false, [&](int y, unsigned char* z) {
        for (int x = 0; x < 33; ++x) z[x / 2] |= uint8_t(((x + y) & 15) << (x % 2 ? 0 : 4));
    }, graupalette(16)));
    ok &= bmp_bild(dir + "/rampe16.bmp", 2, W, H, [&](int y, unsigned char* z) {
        for (int x = 0; x < W; ++x) bild::put_le16(z + 2 * x, uint32_t(x * 300 + y * 7));
    });
    Bytes masken(12);
    bild::put_le32(&masken[0], 0x00FF0000);
    bild::put_le32(&masken[4], 0x0000FF00);
    bild::put_le32(&masken[8], 0x000000FF);
    ok &= schreibe(dir + "/oben32.bmp", bmp(32, W, H, true, [&](int y, unsigned char* z) {
        for (int x = 0; x < W; ++x) bild::put_le32(z + 4 * x, uint32_t((x * 2) << 16 | (y * 4) << 8 | 128 | 0xFF000000u));
    }, masken));
    ok &= bmp_bild(dir + "/klein.bmp", 3, 8, 8, [&](int y, unsigned char* z) {
        for (int x = 0; x < 24; ++x) z[x] = uint8_t(x * 10 + y);
    });
    if (!ok) std::fprintf(stderr, "beispiele: could not write every sample into %s\n", dir.c_str());
    return ok ? 0 : 1;
}
