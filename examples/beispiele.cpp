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

// Fills an image sample by sample: `sample(x, y, c)` for c = 0 to n - 1,
// n = 3 for colour, 4 for 4-byte colour bytes (farbe32 = 256), 1 for gray.
// Planar rows (flag word 1) hold three planes of `breite` samples each.
template <typename Sample>
void muster(CBILD& b, int breite, int hoehe, int bpp, int flag, Sample sample) {
    b.speicher(breite, hoehe, bpp);
    b.flag = flag;
    const int n = bpp == 3 || bpp == 6 ? 3 : bpp == 4 && b.farbe32 == 256 ? 4 : 1;
    const int s = bpp / n;  // bytes per sample
    for (int y = 0; y < hoehe; ++y)
        for (int x = 0; x < breite; ++x)
            for (int c = 0; c < n; ++c) {
                const int i = flag == 1 && n == 3 ? c * breite + x : x * n + c;
                unsigned char* p = b.zeile[y] + size_t(i) * size_t(s);
                const uint32_t v = sample(x, y, c);
                if (s == 1) *p = uint8_t(v);
                else if (s == 2) bild::put_le16(p, v);
                else bild::put_le32(p, v);
            }
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

    // The native formats, written by the library's own writers.
    const std::wstring wdir(dir.begin(), dir.end());
    CBILD b(0, 0);
    muster(b, W, H, 2, 0, [&](int x, int y, int) { return uint32_t(x * 600 + y * 100); });
    ok &= CRaw().schreiben((wdir + L"/grau16.raw").c_str(), &b) == 0;
    muster(b, W, H, 3, 4, [&](int x, int y, int c) { return uint32_t(c == 0 ? x * 2 : c == 1 ? y * 3 : 255 - x - y); });
    ok &= CRaw().schreiben((wdir + L"/farbe24.raw").c_str(), &b) == 0;  // red-green-blue, colour type 3
    // Planar rows, third plane red: a red-to-blue ramp with green bands.
    muster(b, W, H, 3, 1, [&](int x, int y, int c) { return uint32_t(c == 2 ? x * 2 : c == 1 ? (y / 8) * 32 : 255 - x * 2); });
    b.info[0] = 1, b.info[1] = 2;
    ok &= CBia().schreiben((wdir + L"/planar24.bia").c_str(), &b) == 0;
    // Four colour bytes per pixel (blue, green, red, spare), marked by farbe32.
    b.farbe32 = 256;
    muster(b, W, H, 4, 0, [&](int x, int y, int c) { return uint32_t(c == 0 ? y * 4 : c == 1 ? 128 : c == 2 ? x * 2 : 255); });
    ok &= CBia().schreiben((wdir + L"/farbe32.bir").c_str(), &b) == 0;
    if (!ok) std::fprintf(stderr, "beispiele: could not write every sample into %s\n", dir.c_str());
    return ok ? 0 : 1;
}
