// Builders of image file bytes from a few parameters (BMP, TIFF in either byte
// order, classic or BigTIFF, raw), TIFF's LZW as encoders write it and Deflate
// streams bit by bit, shared by the tests and the fuzz seed generator (no test
// framework in here).
#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

using Bytes = std::vector<unsigned char>;

inline void put16(Bytes& b, size_t at, uint32_t v) { b[at] = uint8_t(v), b[at + 1] = uint8_t(v >> 8); }
inline void put32(Bytes& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b.at(at + size_t(i)) = uint8_t(v >> (8 * i));
}
// `b` with the n bytes at `at` (1, 2 or 4) set to v.
inline Bytes mit(Bytes b, size_t at, uint32_t v, int n = 4) { return n == 4 ? put32(b, at, v) : n == 2 ? put16(b, at, v) : void(b[at] = uint8_t(v)), b; }
inline uint32_t get16(const Bytes& b, size_t at) { return b[at] | (b[at + 1] << 8); }
inline uint32_t get32(const Bytes& b, size_t at) { return get16(b, at) | get16(b, at + 2) << 16; }

// A BMP of `bits` per pixel; rows are given top row first, whole (padding
// included), and stored bottom-up unless topdown.
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
        Bytes b(54 + 4 * masken.size(), 0);
        for (size_t i = 0; i < masken.size(); ++i) put32(b, 54 + 4 * i, masken[i]);
        b.insert(b.end(), farbtabelle.begin(), farbtabelle.end());
        const uint32_t off = datenoffset >= 0 ? uint32_t(datenoffset) : uint32_t(b.size());
        b.resize(std::max<size_t>(off, b.size()), 0xEE);
        b[0] = 'B', b[1] = 'M', put32(b, 10, off), put32(b, 14, 40), put32(b, 18, uint32_t(breite));
        put32(b, 22, uint32_t(topdown ? -hoehe : hoehe)), put16(b, 26, 1), put16(b, 28, uint32_t(bits)), put32(b, 30, kompression);
        b.resize(off);
        for (size_t i = 0; i < zeilen_oben_zuerst.size(); ++i) {
            const Bytes& z = zeilen_oben_zuerst[topdown ? i : zeilen_oben_zuerst.size() - 1 - i];
            b.insert(b.end(), z.begin(), z.end());
        }
        put32(b, 2, uint32_t(b.size()));
        return b;
    }
};

// A raw file: the header from a few fields, `zusatz` bytes of extra header, the rows.
inline Bytes raw(int32_t breite, int32_t hoehe, int32_t bits, int32_t farbtyp, const Bytes& zeilen, uint32_t zusatz = 0) {
    Bytes b(49 + zusatz, 0xEE);
    std::memcpy(b.data(), "KVX RawImage", 13);
    put32(b, 13, 1), put32(b, 17, uint32_t(breite)), put32(b, 21, uint32_t(hoehe)), put32(b, 25, 1);
    put32(b, 29, uint32_t(bits)), put32(b, 33, uint32_t(farbtyp)), put32(b, 37, zusatz);
    put32(b, 41, uint32_t(bits / 8)), put32(b, 45, uint32_t(int64_t(breite) * bits / 8));
    b.insert(b.end(), zeilen.begin(), zeilen.end());
    return b;
}

// Clear first; codes widen when the next free code passes the width; Clear
// again when the table is full (4094 entries).
inline Bytes lzw(const Bytes& d) {
    Bytes out;
    uint32_t acc = 0;
    int nacc = 0, breite = 9, frei = 258, w = -1;
    std::map<std::pair<int, int>, int> tab;
    auto code = [&](int c) {
        acc = (acc << breite) | uint32_t(c);
        for (nacc += breite; nacc >= 8; nacc -= 8) out.push_back(uint8_t(acc >> (nacc - 8)));
    };
    auto neu = [&] {
        if (++frei == 4094) code(256), tab.clear(), frei = 258, breite = 9;
        else if (frei > (1 << breite) - 1) ++breite;
    };
    code(256);
    for (uint8_t c : d) {
        auto it = tab.find({w, c});
        if (w < 0 || it != tab.end()) {
            w = w < 0 ? c : it->second;
            continue;
        }
        code(w), tab[{w, c}] = frei, neu(), w = c;
    }
    if (w >= 0) code(w), neu();
    code(257);
    if (nacc) out.push_back(uint8_t(acc << (8 - nacc)));
    return out;
}

// Deflate bits after a zlib header (values lowest bit first, codes top bit first), and the bytes they stand for.
struct Bits {
    Bytes b, aus;
    uint64_t acc = 0;
    int n = 0;
    explicit Bits(Bytes kopf = {0x78, 0x01}) : b(std::move(kopf)) {}

    Bits& wert(uint32_t v, int k) {
        for (acc |= uint64_t(v) << n, n += k; n >= 8; n -= 8, acc >>= 8) b.push_back(uint8_t(acc));
        return *this;
    }
    Bits& code(uint32_t c, int k) { return k ? wert(c >> (k - 1) & 1, 1).code(c, k - 1) : *this; }
    Bytes fertig() const {
        Bytes r = b;
        if (n) r.push_back(uint8_t(acc));
        return r;
    }
    Bits& gespeichert(bool letzter, const Bytes& d, uint32_t nlen_fehler = 0) {
        wert(letzter, 3).wert(0, (8 - n) % 8).wert(uint32_t(d.size()), 16);
        wert((~uint32_t(d.size()) ^ nlen_fehler) & 0xFFFF, 16);
        for (unsigned char c : d) wert(c, 8), aus.push_back(c);
        return *this;
    }
    Bits& fest(bool letzter) { return wert(letzter | 2, 3); }
    Bits& sym(int s) {  // a fixed literal/length code
        return s < 144 ? code(0x30 + s, 8) : s < 256 ? code(0x190 + s - 144, 9)
                                           : s < 280 ? code(s - 256, 7) : code(0xC0 + s - 280, 8);
    }
    Bits& lit(int c) { return aus.push_back(uint8_t(c)), sym(c); }
    Bits& mit(const Bytes& d) { return aus.insert(aus.end(), d.begin(), d.end()), *this; }
    Bits& ende() { return sym(256); }
    // Length and distance codes with extra bits; the bytes they stand for when the distance reaches back.
    Bits& match(int len, int ab) {
        int s = 28, x = 0, basis = 258, d = 0, dx = 0, dbasis = 1;
        for (int t = 0; t < 28 && len < 258; ++t) {
            const int xt = t < 8 ? 0 : (t - 4) / 4, bt = t < 8 ? 3 + t : ((4 + (t & 3)) << xt) + 3;
            if (bt <= len) s = t, x = xt, basis = bt;
        }
        for (int t = 0; t < 30; ++t) {
            const int xt = t < 4 ? 0 : t / 2 - 1, bt = t < 4 ? t + 1 : ((2 + (t & 1)) << xt) + 1;
            if (bt <= ab) d = t, dx = xt, dbasis = bt;
        }
        sym(257 + s).wert(uint32_t(len - basis), x).code(uint32_t(d), 5).wert(uint32_t(ab - dbasis), dx);
        for (int i = 0; i < len && size_t(ab) <= aus.size(); ++i) aus.push_back(aus[aus.size() - size_t(ab)]);
        return *this;
    }
    // A dynamic block whose code-length code gives all 19 symbols 5 bits: the lengths as (symbol, repeat bits).
    Bits& dynamisch(int nl, int na, std::initializer_list<std::pair<int, int>> folge) {
        wert(5, 3).wert(uint32_t(nl - 257), 5).wert(uint32_t(na - 1), 5).wert(15, 4);
        for (int i = 0; i < 19; ++i) wert(5, 3);
        for (auto [s, x] : folge) code(uint32_t(s), 5).wert(uint32_t(x), s == 16 ? 2 : s == 17 ? 3 : s == 18 ? 7 : 0);
        return *this;
    }
};

// TIFF with any tags and the given strips or tiles; offsets and byte counts
// of the segments are added unless a test sets them.
struct TiffBau {
    bool mm = false, big = false, kacheln = false;
    std::map<uint16_t, std::pair<uint16_t, std::vector<uint64_t>>> felder;  // tag -> type, values
    std::vector<Bytes> segmente;

    void feld(uint16_t tag, uint16_t typ, std::vector<uint64_t> werte) { felder[tag] = {typ, std::move(werte)}; }

    // One strip of `daten`, SHORT and LONG tags.
    static TiffBau bild(uint32_t breite, uint32_t hoehe, int bits, int spp, int photometric, Bytes daten) {
        TiffBau t;
        t.felder = {{256, {4, {breite}}}, {257, {4, {hoehe}}}, {258, {3, std::vector<uint64_t>(size_t(spp), uint64_t(bits))}},
                    {259, {3, {1}}}, {262, {3, {uint64_t(photometric)}}}, {277, {3, {uint64_t(spp)}}}, {278, {4, {hoehe}}}};
        t.segmente = {std::move(daten)};
        return t;
    }

    void put(Bytes& b, size_t at, uint64_t v, size_t n) const {
        for (size_t i = 0; i < n; ++i) b[at + (mm ? n - 1 - i : i)] = uint8_t(v >> (8 * i));
    }

    Bytes bau() const {
        auto f = felder;
        const size_t vs = big ? 8 : 4, cs = big ? 8 : 2, es = big ? 20 : 12;
        Bytes b(2 * vs, 0);
        b[0] = b[1] = mm ? 'M' : 'I';
        put(b, 2, big ? 43 : 42, 2);
        std::vector<uint64_t> off, anz;
        for (const Bytes& s : segmente) off.push_back(b.size()), anz.push_back(s.size()), b.insert(b.end(), s.begin(), s.end());
        f.insert({uint16_t(kacheln ? 324 : 273), {big ? 16 : 4, off}});
        f.insert({uint16_t(kacheln ? 325 : 279), {big ? 16 : 4, anz}});
        b.resize(b.size() + (b.size() & 1));
        const size_t ifd = b.size();
        put(b, 4, big ? 8 : ifd, big ? 2 : 4);
        if (big) put(b, 8, ifd, 8);
        b.resize(ifd + cs + f.size() * es + vs, 0), put(b, ifd, f.size(), cs);
        size_t e = ifd + cs;
        for (const auto& [tag, tw] : f) {
            const size_t g = tw.first == 3 ? 2 : tw.first == 4 ? 4 : tw.first == 16 ? 8 : 1;
            Bytes werte(g * tw.second.size());
            for (size_t i = 0; i < tw.second.size(); ++i) put(werte, i * g, tw.second[i], g);
            put(b, e, tag, 2), put(b, e + 2, tw.first, 2), put(b, e + 4, tw.second.size(), vs);
            if (werte.size() > vs) {  // out of line, after everything else
                put(b, e + 4 + vs, b.size(), vs);
                b.insert(b.end(), werte.begin(), werte.end());
            } else {
                std::copy(werte.begin(), werte.end(), b.begin() + long(e + 4 + vs));
            }
            e += es;
        }
        return b;
    }
};
