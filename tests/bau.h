// Builders of image file bytes from a few parameters, shared by the tests
// and the fuzz seed generator (no test framework in here).
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

using Bytes = std::vector<unsigned char>;

inline void put16(Bytes& b, size_t at, uint32_t v) {
    b[at] = uint8_t(v);
    b[at + 1] = uint8_t(v >> 8);
}
inline void put32(Bytes& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + size_t(i)] = uint8_t(v >> (8 * i));
}
inline uint32_t get16(const Bytes& b, size_t at) { return b[at] | (b[at + 1] << 8); }
inline uint32_t get32(const Bytes& b, size_t at) {
    return uint32_t(b[at]) | (uint32_t(b[at + 1]) << 8) | (uint32_t(b[at + 2]) << 16) | (uint32_t(b[at + 3]) << 24);
}

// A BMP of `bits` per pixel whose stored rows (bottom-up unless topdown) are
// given whole, padding included. Rows are given top row first.
struct BmpBau {
    int bits = 24, breite = 1, hoehe = 1;
    bool topdown = false;
    uint32_t kompression = 0;
    std::vector<uint32_t> masken;  // written after the info header when given
    Bytes farbtabelle;             // written after the masks
    int64_t datenoffset = -1;      // default: right after header, masks, table

    BmpBau(int b = 24, int w = 1, int h = 1, bool oben_zuerst = false) : bits(b), breite(w), hoehe(h), topdown(oben_zuerst) {}

    int stride() const { return int(((int64_t(breite) * bits + 7) / 8 + 3) & 0xFFFC); }

    // Whole stored rows whose bytes are a pattern of (row, index).
    std::vector<Bytes> muster() const {
        std::vector<Bytes> z(static_cast<size_t>(hoehe), Bytes(static_cast<size_t>(stride())));
        for (size_t y = 0; y < z.size(); ++y)
            for (size_t i = 0; i < z[y].size(); ++i) z[y][i] = uint8_t(y * 31 + i * 7 + 1);
        return z;
    }

    Bytes bau(const std::vector<Bytes>& zeilen_oben_zuerst) const {
        Bytes b(54, 0);
        b[0] = 'B';
        b[1] = 'M';
        for (uint32_t m : masken) {
            b.resize(b.size() + 4);
            put32(b, b.size() - 4, m);
        }
        b.insert(b.end(), farbtabelle.begin(), farbtabelle.end());
        const uint32_t off = datenoffset >= 0 ? uint32_t(datenoffset) : uint32_t(b.size());
        if (off > b.size()) b.resize(off, 0xEE);
        put32(b, 10, off);
        put32(b, 14, 40);
        put32(b, 18, uint32_t(breite));
        put32(b, 22, uint32_t(topdown ? -hoehe : hoehe));
        put16(b, 26, 1);
        put16(b, 28, uint32_t(bits));
        put32(b, 30, kompression);
        Bytes out(b.begin(), b.begin() + off);
        for (size_t i = 0; i < zeilen_oben_zuerst.size(); ++i) {
            const Bytes& z = zeilen_oben_zuerst[topdown ? i : zeilen_oben_zuerst.size() - 1 - i];
            out.insert(out.end(), z.begin(), z.end());
        }
        put32(out, 2, uint32_t(out.size()));
        return out;
    }
};
