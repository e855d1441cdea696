// The BIA/BIR reader and writer. Rows move between the file and the image
// unchanged; planar colour rows stay planar.
#include <cstdint>

#include "app/dateiname.h"
#include "bild/bytes.h"
#include "bild/groesse.h"
#include "files/bia.h"
#include "files/format.h"

namespace {

// The 32-byte header, little-endian. Bytes 18 to 31 are reserved: written
// as zeros, ignored on reading.
constexpr int kKopf = 32;
constexpr int kBreite = 0, kHoehe = 2, kBpp = 4, kFlag = 6;  // 16-bit each
constexpr int kInfo0 = 8, kInfo1 = 12;                        // 32-bit each
constexpr int kFarbe32 = 16;                                  // 16-bit: the marker's low half

bool planar(int bpp, int flag) { return flag == 1 && (bpp == 3 || bpp == 6); }

}  // namespace

CBia::CBia()
    : bpp(1), flag(1), breite(1), hoehe(1), teilx(0), teily(0), teilbreite(1), teilhoehe(1), schritt(1),
      info{0, 0, 0} {}

int CBia::einbia0(const wchar_t* name) {
    datei.schliessen();
    if (!name || !*name) return 1;
    datei.setzen(wfopen1(name, L"rb"));
    if (!datei) return 2;
    // The size is measured but not used: a short file shows as a short read.
    std::fseek(datei.get(), 0, SEEK_END);
    std::fseek(datei.get(), 0, SEEK_SET);

    unsigned char kopf[kKopf];
    if (!datei.lies(kopf, kKopf)) return 3;
    breite = bild::le16(kopf + kBreite);
    hoehe = bild::le16(kopf + kHoehe);
    bpp = bild::le16(kopf + kBpp);
    flag = bild::le16(kopf + kFlag);
    info[0] = int32_t(bild::le32(kopf + kInfo0));
    info[1] = int32_t(bild::le32(kopf + kInfo1));
    info[2] = bild::le16(kopf + kFarbe32);
    return bild::tiefe_gueltig(bpp) ? 0 : 12;
}

int CBia::einbia1(unsigned char* row) {
    uint64_t n = 0;
    if (!bild::produkt_passt(bpp, breite, 1, SIZE_MAX, &n)) return 3;
    return datei.lies(row, size_t(n)) ? 0 : 3;
}

int CBia::einbia2() { return datei.schliessen() ? 0 : 3; }

int CBia::lesen(const wchar_t* name, CBILD* image) {
    // A short header or an unknown depth returns at once and leaves the file
    // open: callers of this class have always seen it so. The destructor
    // closes it.
    int result = einbia0(name);
    if (result != 0) return result;
    // A failed allocation (height 0) is not an error: the image is empty.
    if (image->speicher(breite, hoehe, bpp)) {
        for (int y = 0; y < image->hoehe && result == 0; ++y) result = einbia1(image->zeile[y]);
    }
    image->flag = flag;
    image->info[0] = info[0];
    image->info[1] = info[1];
    image->farbe32 = info[2];
    if (einbia2() != 0) result = 3;
    return result;
}

int CBia::ausbia0(CBILD* image, const wchar_t* name, int left, int top, int width, int height) {
    teilx = left;
    teily = top;
    teilbreite = width;
    teilhoehe = height;
    bpp = image->bpp;
    flag = image->flag;
    breite = image->breite;
    hoehe = image->hoehe;
    info[0] = image->info[0];
    info[1] = image->info[1];
    info[2] = image->farbe32;
    schritt = planar(bpp, flag) ? bpp / 3 : bpp;
    if (!name || !*name) return 1;
    datei.setzen(wfopen1(name, L"wb"));
    if (!datei) return 2;

    // Width and height keep their low 16 bits: the format's limit.
    unsigned char kopf[kKopf] = {};
    bild::put_le16(kopf + kBreite, uint32_t(width));
    bild::put_le16(kopf + kHoehe, uint32_t(height));
    bild::put_le16(kopf + kBpp, uint32_t(bpp));
    bild::put_le16(kopf + kFlag, uint32_t(flag));
    bild::put_le32(kopf + kInfo0, uint32_t(info[0]));
    bild::put_le32(kopf + kInfo1, uint32_t(info[1]));
    bild::put_le16(kopf + kFarbe32, uint32_t(info[2]));
    datei.schreib(kopf, kKopf);  // a short header shows in the rows or the close
    return 0;
}

int CBia::ausbia1(unsigned char* row) {
    if (!planar(bpp, flag)) return datei.schreib(row, size_t(bpp) * size_t(teilbreite)) ? 0 : 4;
    // Three planes, each the image's width apart; only the last write is
    // checked, as files of this family have always been written.
    const size_t n = size_t(schritt) * size_t(teilbreite);
    const size_t ebene = size_t(schritt) * size_t(breite);
    datei.schreib(row, n);
    datei.schreib(row + ebene, n);
    return datei.schreib(row + 2 * ebene, n) ? 0 : 4;
}

int CBia::ausbia2() { return datei.schliessen() ? 0 : 4; }

int CBia::schreiben(const wchar_t* name, CBILD* image) { return schreibenteil(name, image, nullptr); }

int CBia::schreibenteil(const wchar_t* name, CBILD* image, CTeilbereich* region) {
    bild::Rechteck r;
    if (!bild::schreibbereich(image, region, &r)) return 12;
    int result = ausbia0(image, name, r.x, r.y, r.breite, r.hoehe);
    for (int i = 0; i < teilhoehe && result == 0; ++i)
        result = ausbia1(image->zeile[teily + i] + size_t(teilx) * size_t(schritt));
    if (ausbia2() != 0) result = 4;
    return result;
}
