// The BMP reader. Rows are read one at a time straight into the image; the
// work buffer and the 32-bit row buffer are reused across rows.
#include <algorithm>
#include <climits>
#include <cstring>

#include "app/dateiname.h"
#include "bild/bytes.h"
#include "files/bmp.h"
#include "files/bmp_format.h"

namespace {

using namespace bmp;
constexpr int kBlock = 1024;

// Bytes per pixel of the image a bit count fills.
int bpp_von(int bitcount) {
    switch (bitcount) {
        case 16: return 2;
        case 24:
        case 32: return 3;  // 32-bit pixels are unpacked to three bytes
        case 48: return 6;
        default: return 1;  // below 8 unpacked to bytes; 8 and the rest copied
    }
}

// Bytes of one stored row that land in the image unchanged (bit counts of 8
// and above other than 32).
int gespeichert_von(int bitcount) {
    switch (bitcount) {
        case 16: return 2;
        case 24: return 3;
        case 48: return 6;
        default: return 1;
    }
}

// Copy `count` three-sample pixels exchanging the first and third sample;
// src and dst may be the same row. The number of samples handled.
template <typename T>
int tausche_rb(const T* src, T* dst, int count) {
    if (count < 1) return 0;
    for (size_t i = 0, n = size_t(count); i < n; ++i) {
        const T erstes = src[3 * i];
        dst[3 * i + 1] = src[3 * i + 1];
        dst[3 * i] = src[3 * i + 2];
        dst[3 * i + 2] = erstes;
    }
    return 3 * count;
}

}  // namespace

CBmp::CBmp() = default;
CBmp::~CBmp() = default;

void CBmp::speicher(int size) {
    if (size > 0 && size != puffergroesse) {
        puffer.reset(new unsigned char[size_t(size)]());
        puffergroesse = size;
    }
}

void CBmp::speichfrei() {
    puffer.reset();
    puffergroesse = 0;
}

void CBmp::speicher1(int count) {
    if (count > 0 && count != puffer32anzahl) {
        // The work buffer goes with every resize of the row buffer; the next
        // header read brings it back when needed.
        speichfrei();
        puffer32anzahl = count;
        // Not cleared: only what the file holds is ever read into it.
        puffer32.reset(new unsigned int[size_t(count)]);
    }
}

void CBmp::speichfrei1() {
    puffer32.reset();
    puffer32anzahl = 0;
}

int CBmp::getshift32(unsigned int mask, int* shift) {
    if (mask == 0) {
        *shift = 0;
        return 32;
    }
    int s = 0;
    while (!(mask & 1u)) {
        mask >>= 1;
        ++s;
    }
    *shift = s;
    return s;
}

void CBmp::wandel32(unsigned int* src, int count, unsigned char* dst) {
    // Shift without masking first: with masks narrower than a byte the
    // neighbouring channel's bits stay in the high part of each byte.
    // In pieces: the shifts (the same for every pixel, so the compiler does
    // four pixels per vector) give blue | green << 8 | red << 16, and those
    // go out three bytes each, four pixels as three 32-bit words.
    constexpr size_t kStueck = 256;
    uint32_t t[kStueck];
    const size_t n = size_t(std::max(count, 0));
    for (size_t a = 0; a < n; a += kStueck) {
        const size_t m = std::min(kStueck, n - a);
        for (size_t i = 0; i < m; ++i) {
            const uint32_t p = src[a + i];
            t[i] = ((p >> bshift) & 0xFF) | ((p >> gshift) & 0xFF) << 8 | ((p >> rshift) & 0xFF) << 16;
        }
        unsigned char* d = dst + 3 * a;
        size_t i = 0;
        for (; i + 4 <= m; i += 4, d += 12) bild::put_le24x4(d, t + i);
        for (; i < m; ++i, d += 3) {
            d[0] = (unsigned char)t[i];
            d[1] = (unsigned char)(t[i] >> 8);
            d[2] = (unsigned char)(t[i] >> 16);
        }
    }
}

int CBmp::tauschrb_a(unsigned char* src, unsigned char* dst, int count) { return tausche_rb(src, dst, count); }
int CBmp::tauschrb_w(unsigned short* src, unsigned short* dst, int count) { return tausche_rb(src, dst, count); }

bool CBmp::ueberspringe(int64_t n) {
    if (puffergroesse < 1) speicher(kBlock);
    bool ok = true;
    while (n > 0) {
        const size_t teil = size_t(std::min<int64_t>(n, puffergroesse));
        if (!datei.lies(puffer.get(), teil)) ok = false;
        n -= int64_t(teil);
        if (!ok) break;  // at the end of the file nothing more can come
    }
    return ok;
}

int CBmp::einbmp0(const wchar_t* name) {
    datei.schliessen();
    if (!name || !*name) return 1;
    datei.setzen(wfopen1(name, L"rb"));
    if (!datei) return 2;

    // Short header reads are not reported: the fields keep the zeros.
    unsigned char kopf[kKopf] = {};
    datei.lies(kopf, kDateiKopf);
    datei.lies(kopf + kDateiKopf, kInfoKopf);
    const uint32_t datenoffset = bild::le32(kopf + kOffsetDaten);
    breite = int32_t(bild::le32(kopf + kOffsetBreite));
    hoehe = int32_t(bild::le32(kopf + kOffsetHoehe));
    compression = int32_t(bild::le32(kopf + kOffsetKompression));
    planes = bild::le16(kopf + kOffsetPlanes);
    bitcount = bild::le16(kopf + kOffsetBits);
    bpp = bpp_von(bitcount);

    // The stride mask is sixteen bits wide: strides of 64 KiB and more wrap.
    // Images from this reader have always done so; it is kept.
    stride = int(((int64_t(breite) * bitcount + 7) / 8 + 3) & 0xFFFC);

    // Rows of fewer than 8 bits must bring their pixels: a bit count of 0,
    // or a stride wrapped below the row's bytes, would make an image of any
    // size out of nothing (a 54-byte file answered by gigabytes).
    const int64_t noetig = (int64_t(breite) * bitcount + 7) / 8;
    if (hoehe != 0 && breite > 0 && (bitcount == 0 || (bitcount < 8 && stride < noetig))) return 3;

    speicher(bitcount < 8 ? std::max(stride, kBlock) : kBlock);
    const int64_t skip = int64_t(datenoffset) - kKopf;
    if (skip > 0) {
        if (puffergroesse <= skip) {
            // Whole blocks: the last block read stays in the buffer, and the
            // colour masks are taken from its start.
            for (int64_t rest = skip; rest > 0; rest -= kBlock)
                if (std::fread(puffer.get(), 1, kBlock, datei.get()) == 0) break;
        } else {
            datei.lies(puffer.get(), size_t(skip));
        }
    }

    if (bitcount == 32) {
        rmask = 0xFF0000;
        gmask = 0xFF00;
        bmask = 0xFF;
        if (compression == 3) {
            rmask = bild::le32(puffer.get());
            gmask = bild::le32(puffer.get() + 4);
            bmask = bild::le32(puffer.get() + 8);
        }
    }
    getshift32(bmask, &bshift);
    getshift32(gmask, &gshift);
    getshift32(rmask, &rshift);
    // Seek to the pixels unless the headers ended there (the usual case): a
    // seek makes stdio read its buffer again.
    if (std::ftell(datei.get()) != long(datenoffset)) std::fseek(datei.get(), long(datenoffset), SEEK_SET);
    return 0;
}

int CBmp::einbmp1(unsigned char* row) {
    int result = 0;
    if (bitcount == 32) {
        // The row goes through the row buffer a piece at a time, so a
        // hostile width costs no buffer of its size; a short read unpacks
        // only the pixels that came.
        constexpr int kStueck32 = 16384;
        speicher1(std::min(std::max(breite, 1), kStueck32));
        const size_t n = size_t(std::max(breite, 0));
        for (size_t a = 0; a < n && result == 0;) {
            size_t m = std::min(n - a, size_t(kStueck32));
            const size_t gelesen = std::fread(puffer32.get(), 1, 4 * m, datei.get());
            if (gelesen < 4 * m) {
                result = 3;
                m = gelesen / 4;
            }
            auto* bytes = reinterpret_cast<unsigned char*>(puffer32.get());
            for (size_t i = 0; i < m; ++i) puffer32[i] = bild::le32(bytes + 4 * i);
            wandel32(puffer32.get(), int(m), row + 3 * a);
            a += m;
        }
        const int64_t daten = 4 * int64_t(breite);
        if (stride > daten && !ueberspringe(stride - daten)) result = 3;
        return result;
    }
    if (bitcount < 8) {
        if (!datei.lies(puffer.get(), size_t(stride))) result = 3;
        const unsigned char* src = puffer.get();
        if (bitcount == 4) {
            // einbmp0 refused strides shorter than the row: every pixel has
            // its byte in the work buffer.
            const size_t paare = size_t(breite / 2);
            for (size_t k = 0; k < paare; ++k) {
                row[2 * k] = src[k] & 0xF0;
                row[2 * k + 1] = (unsigned char)(src[k] << 4);
            }
            if (breite & 1) row[breite - 1] = src[paare] & 0xF0;
        } else if (bitcount == 1 && stride >= 1) {
            // Set bits read as 254, not 255: images from this reader have
            // always looked that way and downstream thresholds depend on it.
            int x = 0;
            for (int s = 0; s < stride && x < breite; ++s)
                for (int bit = 7; bit >= 0 && x < breite; --bit) row[x++] = ((src[s] >> bit) & 1) ? 254 : 0;
        } else {
            // Other bit counts below 8 bring rows but no pixels: the row is
            // 0, also in an image kept from an earlier read of the same size,
            // so no earlier file's pixels reach this one's output.
            std::memset(row, 0, size_t(breite));
        }
        return result;
    }
    const int64_t anzahl = int64_t(breite) * gespeichert_von(bitcount);
    if (!datei.lies(row, size_t(anzahl))) result = 3;
    if (stride > anzahl && !ueberspringe(stride - anzahl)) result = 3;
    return result;
}

int CBmp::einbmp1n(unsigned char* const* rows, int count) {
    // Rows stored as they are: the bytes, then the padding up to the stride
    // (none when the 16-bit stride has wrapped below the row). The padding
    // lands in the work buffer; odd bit counts whose padding does not fit
    // there go row by row.
    const int64_t anzahl = int64_t(breite) * gespeichert_von(bitcount);
    const int64_t luecke = std::max<int64_t>(int64_t(stride) - anzahl, 0);
    if (bitcount < 8 || bitcount == 32 || luecke > puffergroesse) {
        for (int i = 0; i < count; ++i)
            if (int result = einbmp1(rows[i])) return result;
        return 0;
    }
    const size_t n = size_t(std::max(count, 0));
    return datei.lies_zeilen(rows, n, size_t(anzahl), size_t(luecke), puffer.get()) == n ? 0 : 3;
}

int CBmp::einbmp2() {
    return datei.schliessen() ? 0 : 3;
}

int CBmp::lesen(const wchar_t* name, CBILD* image) {
    int result = einbmp0(name);  // 1 for a null or empty name
    if (result != 0) return result;

    const bool topdown = hoehe < 0;
    if (topdown) hoehe = int(0u - unsigned(hoehe));  // INT_MIN stays negative: no rows
    image->speicher(breite, hoehe, bpp);
    image->flag = 0;
    if (hoehe > 0 && breite < 0) {
        result = 3;  // a negative width has no rows to read into
    } else if (hoehe > 0 && breite > 0) {
        // A width of 0 leaves nothing to read: no loop through millions of
        // empty rows. Batches of rows in file order: top-down files fill the image from
        // row 0, bottom-up files from the last row.
        constexpr int kStapel = 1024;
        unsigned char* zeilen[kStapel];
        for (int i = 0; i < hoehe && result == 0; i += kStapel) {
            const int k = std::min(kStapel, hoehe - i);
            for (int j = 0; j < k; ++j) zeilen[j] = image->zeile[topdown ? i + j : hoehe - 1 - i - j];
            result = einbmp1n(zeilen, k);
        }
    }
    if (einbmp2() != 0) result = 3;
    return result;
}
