// The BMP writer: a 40-byte info header, a gray colour table for 8-bit
// files, rows bottom-up, each padded to 4 bytes. Colour goes out in the
// file's blue-green-red order whatever the image's flag word says.
#include <climits>
#include <cstring>

#include "app/dateiname.h"
#include "bild/bytes.h"
#include "bild/groesse.h"
#include "bild/zeile.h"
#include "files/bmp.h"
#include "files/format.h"
#include "files/bmp_format.h"

namespace {

using namespace bmp;

// Bits per pixel written for a depth; 0 for depths a BMP does not carry.
int bits_von(int bpp) {
    switch (bpp) {
        case 1: return 8;
        case 2: return 16;
        case 3: return 24;
        case 6: return 48;
        default: return 0;
    }
}

constexpr int kFarbtabelle = 256 * 4;
constexpr uint32_t kProMeter = 2835;  // 72 dots per inch

int64_t stride_von(int breite, int bits) { return (int64_t(breite) * bits + 31) / 32 * 4; }

}  // namespace

int CBmp::schreiben(const wchar_t* name, CBILD* image) { return schreibenteil(name, image, nullptr); }

int CBmp::schreibenteil(const wchar_t* name, CBILD* image, CTeilbereich* region) {
    bild::Rechteck r;
    if (bits_von(image ? image->bpp : 0) == 0 || !bild::schreibbereich(image, region, &r) || r.breite < 1 ||
        r.hoehe < 1)
        return 12;
    const int w = r.breite, h = r.hoehe;
    // Our reader masks its stride to 16 bits: a row of 64 KiB or more comes
    // back right only when it needs no padding. Files stay below 2 GiB, the
    // limit of readers that take the size fields as signed.
    const int64_t stride = stride_von(w, bits_von(image->bpp));
    uint64_t gesamt = 0;
    if ((stride > 0xFFFF && stride != int64_t(w) * image->bpp) ||
        !bild::produkt_passt(stride, h, 1, INT32_MAX - kKopf - kFarbtabelle, &gesamt))
        return 12;

    int result = ausbmp0(image, name, r.x, r.y, w, h);
    if (result == 0) result = ausbmp1(image);
    if (ausbmp2() != 0) result = 4;
    return result;
}

int CBmp::ausbmp0(CBILD* image, const wchar_t* name, int x, int y, int width, int height) {
    datei.schliessen();
    if (!name || !*name) return 1;
    datei.setzen(wfopen1(name, L"wb"));
    if (!datei) return 2;
    startx_ = x;
    starty_ = y;
    breite = width;
    hoehe = height;
    bpp = image->bpp;
    bitcount = bits_von(bpp);
    compression = 0;
    planes = 1;
    stride = int(stride_von(width, bitcount));

    const int tabelle = bitcount == 8 ? kFarbtabelle : 0;
    const uint32_t daten = uint32_t(kKopf + tabelle), bildgroesse = uint32_t(stride) * uint32_t(height);
    unsigned char kopf[kKopf + kFarbtabelle] = {};
    kopf[0] = 'B';
    kopf[1] = 'M';
    bild::put_le32(kopf + kOffsetDateigroesse, daten + bildgroesse);
    bild::put_le32(kopf + kOffsetDaten, daten);
    bild::put_le32(kopf + kOffsetInfogroesse, kInfoKopf);
    bild::put_le32(kopf + kOffsetBreite, uint32_t(width));
    bild::put_le32(kopf + kOffsetHoehe, uint32_t(height));  // positive: rows bottom-up
    bild::put_le16(kopf + kOffsetPlanes, 1);
    bild::put_le16(kopf + kOffsetBits, uint32_t(bitcount));
    bild::put_le32(kopf + kOffsetKompression, 0);
    bild::put_le32(kopf + kOffsetBildgroesse, bildgroesse);
    bild::put_le32(kopf + kOffsetXAufloesung, kProMeter);
    bild::put_le32(kopf + kOffsetYAufloesung, kProMeter);
    if (tabelle) {
        // The gray table makes viewers show the bytes as the gray values our
        // reader takes them for.
        bild::put_le32(kopf + kOffsetFarben, 256);
        for (uint32_t i = 0; i < 256; ++i) bild::put_le32(kopf + kKopf + 4 * size_t(i), i * 0x010101u);
    }
    return datei.schreib(kopf, daten) ? 0 : 4;
}

int CBmp::ausbmp1(CBILD* image) {
    speicher(stride);
    unsigned char* z = puffer.get();
    const size_t w = size_t(breite), n = w * size_t(bpp);
    std::memset(z + n, 0, size_t(stride) - n);  // padding
    for (int i = hoehe - 1; i >= 0; --i) {
        unsigned char* src = image->zeile[starty_ + i];
        if (bpp < 3 || image->flag == 0) {
            std::memcpy(z, src + size_t(startx_) * size_t(bpp), n);
        } else if (bpp == 3) {
            if (image->flag == 4) tauschrb_a(src + 3 * size_t(startx_), z, breite);
            else ebenen_verschachteln(src + startx_, size_t(image->breite), w, false, z);
        } else {
            auto* s16 = reinterpret_cast<unsigned short*>(src);
            auto* d16 = reinterpret_cast<unsigned short*>(z);
            if (image->flag == 4) tauschrb_w(s16 + 3 * size_t(startx_), d16, breite);
            else ebenen_verschachteln<unsigned short>(s16 + startx_, size_t(image->breite), w, false, d16);
        }
        if (!datei.schreib(z, size_t(stride))) return 4;
    }
    return 0;
}

int CBmp::ausbmp2() { return datei.schliessen() ? 0 : 4; }
