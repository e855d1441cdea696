// The raw reader and writer: the 49-byte "KVX RawImage" header, then the
// rows as stored.
#include "files/raw.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include "app/dateiname.h"
#include "bild/bytes.h"
#include "bild/groesse.h"
#include "bild/zeile.h"
#include "files/format.h"

namespace {

constexpr size_t kKopf = sizeof(KVX_RAW_HEADER);
constexpr char kMagic[] = "KVX RawImage";
static_assert(sizeof kMagic == sizeof(KVX_RAW_HEADER::magic) + 1, "magic and its terminator");

// Colour types: 3 red-green-blue (also written for planar rows, which go out
// converted), 5 blue-green-red, 0 for the gray depths.
constexpr int kGrau = 0, kRgb = 3, kBgr = 5;

struct Tiefe {
    int bpp, bits;
};
constexpr Tiefe kTiefen[] = {{1, 8}, {2, 16}, {3, 24}, {4, 32}, {6, 48}};

// Where the reader's test dump goes, relative to the working directory; where
// that folder does not exist the stores fail and nothing is written.
constexpr const wchar_t* kDumpBia = L"c:/bild_testfiles/test32raw.bia";
constexpr const wchar_t* kDumpRaw = L"c:/bild_testfiles/test32raw.raw";

}  // namespace

CRaw::CRaw() : bpp(1), breite(1), hoehe(1), teilx(0), teily(0), teilbreite(1), teilhoehe(1), farbtyp(0) {}

int CRaw::fillheader(CBILD* image, KVX_RAW_HEADER* header) {
    std::memcpy(header->magic, kMagic, sizeof header->magic);
    header->ende = 0;
    bild::put_le32(header->konstante1, 1);
    bild::put_le32(header->breite, uint32_t(teilbreite));
    bild::put_le32(header->hoehe, uint32_t(teilhoehe));
    bild::put_le32(header->konstante2, 1);
    for (const Tiefe& t : kTiefen) {
        if (t.bpp != image->bpp) continue;
        bild::put_le32(header->bits, uint32_t(t.bits));
        const bool farbe = t.bpp == 3 || t.bpp == 6;
        bild::put_le32(header->farbtyp, uint32_t(!farbe ? kGrau : image->flag != 0 ? kRgb : kBgr));
    }
    bild::put_le32(header->zusatzlaenge, 0);
    bild::put_le32(header->bpp, uint32_t(image->bpp));
    bild::put_le32(header->zeilenlaenge, uint32_t(image->bpp) * uint32_t(teilbreite));
    return 0;
}

int CRaw::einraw0(const wchar_t* name) {
    datei.schliessen();
    if (!name || !*name) return 1;
    datei.setzen(wfopen1(name, L"rb"));
    if (!datei) return 2;
    FILE* f = datei.get();
    std::fseek(f, 0, SEEK_END);
    const long groesse = std::ftell(f);
    std::fseek(f, 0, SEEK_SET);
    // Too short for a header: the rows start at byte 0 and the current
    // members say what they are (1 x 1, one byte, for a new object).
    if (groesse < long(kKopf)) return 0;

    KVX_RAW_HEADER kopf;
    if (!datei.lies(&kopf, kKopf)) return 3;
    char magic[sizeof kMagic];
    std::memcpy(magic, kopf.magic, sizeof kopf.magic);
    magic[sizeof kopf.magic] = kopf.ende;  // a non-zero terminator is a mismatch
    if (stricmp1(magic, kMagic) != 0) return 30;
    // The rows follow the extra header. One lying beyond the end of the file
    // leaves the position at the end: the rows then come back short.
    const uint32_t zusatz = bild::le32(kopf.zusatzlaenge);
    const uint64_t ende = uint64_t(groesse);
    std::fseek(f, long(bild::bereich_passt(kKopf, zusatz, ende) ? kKopf + zusatz : ende), SEEK_SET);
    breite = int32_t(bild::le32(kopf.breite));
    hoehe = int32_t(bild::le32(kopf.hoehe));
    farbtyp = int32_t(bild::le32(kopf.farbtyp));
    // Only the bit count says how wide a pixel is; the header's own bytes per
    // pixel and row length are not read. 12 bits read as 2 bytes.
    bpp = int((int64_t(int32_t(bild::le32(kopf.bits))) + 7) / 8);
    return 0;
}

int CRaw::einraw1(unsigned char* row) { return einraw1n(&row, 1); }

int CRaw::einraw1n(unsigned char* const* rows, int count) {
    uint64_t n = 0;
    if (!bild::produkt_passt(bpp, breite, 1, SIZE_MAX, &n)) return 3;
    const size_t anzahl = size_t(std::max(count, 0));
    return datei.lies_zeilen(rows, anzahl, size_t(n), 0, nullptr) == anzahl ? 0 : 3;
}

int CRaw::einraw2() {
    datei.schliessen();  // a file only read from has nothing to lose on close
    return 0;
}

int CRaw::lesen(const wchar_t* name, CBILD* image) {
    // A short header or a wrong magic returns at once and leaves the file
    // open until this object goes: callers have always seen it so.
    int result = einraw0(name);
    if (result != 0) return result;
    // A failed allocation (height below 1) reads nothing and is no error.
    const bool zeilen = image->speicher(breite, hoehe, bpp) != 0;
    image->flag = (bpp == 3 || bpp == 6) && farbtyp == kRgb ? 4 : 0;
    // A negative width gives an image without rows: there is nothing to read
    // the file's rows into.
    if (zeilen && breite < 0) result = 3;
    // The image's rows follow each other in memory as in the file: they go
    // in with one read per batch of rows.
    constexpr int kStapel = 1 << 16;
    for (int y = 0; y < image->hoehe && result == 0; y += kStapel)
        result = einraw1n(image->zeile + y, std::min(kStapel, image->hoehe - y));
    einraw2();
    // The test dump: every image read is stored once more as BIA and as raw.
    // It only writes, so it never comes back here.
    image->bildspeich(kDumpBia);
    image->bildspeich(kDumpRaw);
    return result;
}

int CRaw::ausraw0(CBILD* image, const wchar_t* name, int left, int top, int width, int height) {
    teilx = left;
    teily = top;
    teilbreite = width;
    teilhoehe = height;
    bpp = image->bpp;
    if (!name || !*name) return 1;
    datei.setzen(wfopen1(name, L"wb"));
    if (!datei) return 2;
    KVX_RAW_HEADER kopf = {};
    fillheader(image, &kopf);
    return datei.schreib(&kopf, kKopf) ? 0 : 4;
}

int CRaw::ausraw1(unsigned char* row) {
    return datei.schreib(row, size_t(teilbreite) * size_t(bpp)) ? 0 : 4;
}

int CRaw::ausraw2() { return datei.schliessen() ? 0 : 4; }

int CRaw::schreiben(const wchar_t* name, CBILD* image) { return schreibenteil(name, image, nullptr); }

int CRaw::schreibenteil(const wchar_t* name, CBILD* image, CTeilbereich* region) {
    bild::Rechteck r;
    if (!bild::schreibbereich(image, region, &r)) return 12;
    int result = ausraw0(image, name, r.x, r.y, r.breite, r.hoehe);
    // Planar rows (flag word exactly 1) go out interleaved, third plane
    // first; the header says colour type 3 for them.
    const bool wandeln = (bpp == 3 || bpp == 6) && image->flag == 1;
    std::unique_ptr<unsigned short[]> hilfszeile;
    if (result == 0 && wandeln) hilfszeile.reset(new unsigned short[3 * size_t(image->breite)]);
    for (int i = 0; i < teilhoehe && result == 0; ++i) {
        unsigned char* z = image->zeile[teily + i];
        if (wandeln) {
            if (bpp == 3)
                wandelzeile8(4, z, image->breite, hilfszeile.get());
            else
                wandelzeile16(4, reinterpret_cast<unsigned short*>(z), image->breite, hilfszeile.get());
            z = reinterpret_cast<unsigned char*>(hilfszeile.get());
        }
        result = ausraw1(z + size_t(teilx) * size_t(bpp));
    }
    if (ausraw2() != 0) result = 4;
    return result;
}
