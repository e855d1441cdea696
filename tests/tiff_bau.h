// TIFF bytes built in memory (either byte order, classic or BigTIFF, any
// tags, the given strips or tiles) and TIFF's LZW as encoders write it.
#pragma once
#include <map>

#include "bau.h"

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
        if (++frei == 4094) {
            code(256);
            tab.clear();
            frei = 258;
            breite = 9;
        } else if (frei > (1 << breite) - 1) {
            ++breite;
        }
    };
    code(256);
    for (uint8_t c : d) {
        auto it = tab.find({w, c});
        if (w < 0 || it != tab.end()) {
            w = w < 0 ? c : it->second;
            continue;
        }
        code(w);
        tab[{w, c}] = frei;
        neu();
        w = c;
    }
    if (w >= 0) code(w), neu();
    code(257);
    if (nacc) out.push_back(uint8_t(acc << (8 - nacc)));
    return out;
}

// Offsets and byte counts of the segments are added unless a test sets them.
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
        for (const Bytes& s : segmente) {
            off.push_back(b.size());
            anz.push_back(s.size());
            b.insert(b.end(), s.begin(), s.end());
        }
        f.insert({uint16_t(kacheln ? 324 : 273), {big ? 16 : 4, off}});
        f.insert({uint16_t(kacheln ? 325 : 279), {big ? 16 : 4, anz}});
        b.resize(b.size() + (b.size() & 1));
        const size_t ifd = b.size();
        put(b, 4, big ? 8 : ifd, big ? 2 : 4);
        if (big) put(b, 8, ifd, 8);
        b.resize(ifd + cs + f.size() * es + vs, 0);
        put(b, ifd, f.size(), cs);
        size_t e = ifd + cs;
        for (const auto& [tag, tw] : f) {
            const size_t g = tw.first == 3 ? 2 : tw.first == 4 ? 4 : tw.first == 16 ? 8 : 1;
            Bytes werte(g * tw.second.size());
            for (size_t i = 0; i < tw.second.size(); ++i) put(werte, i * g, tw.second[i], g);
            put(b, e, tag, 2);
            put(b, e + 2, tw.first, 2);
            put(b, e + 4, tw.second.size(), vs);
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
