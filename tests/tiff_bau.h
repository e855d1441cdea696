// Builds TIFF bytes in memory: either byte order, classic or BigTIFF, any
// tags, the given strips or tiles. The offsets and byte-count tags are
// filled in from the segments unless a test sets them itself.
#pragma once
#include <map>

#include "hilfe.h"

// TIFF's LZW as an encoder writes it: Clear first, widths growing when the
// next free code passes the width, Clear again when the table is full.
inline Bytes lzw(const Bytes& d) {
    Bytes out;
    uint32_t acc = 0;
    int nacc = 0, breite = 9, frei = 258, w = -1;
    auto code = [&](int c) {
        acc = (acc << breite) | uint32_t(c);
        for (nacc += breite; nacc >= 8; nacc -= 8) out.push_back(uint8_t(acc >> (nacc - 8)));
    };
    std::map<std::pair<int, int>, int> tab;
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
        if (w < 0) { w = c; continue; }
        auto it = tab.find({w, c});
        if (it != tab.end()) { w = it->second; continue; }
        code(w);
        tab[{w, c}] = frei;
        neu();
        w = c;
    }
    if (w >= 0) { code(w); neu(); }
    code(257);
    if (nacc) out.push_back(uint8_t(acc << (8 - nacc)));
    return out;
}

struct TiffBau {
    bool mm = false, big = false, kacheln = false;
    std::map<uint16_t, std::pair<uint16_t, std::vector<uint64_t>>> felder;  // tag -> type, values
    std::vector<Bytes> segmente;

    void feld(uint16_t tag, uint16_t typ, std::vector<uint64_t> werte) { felder[tag] = {typ, std::move(werte)}; }

    // An image of one strip (or the given segments), SHORT/LONG tags.
    static TiffBau bild(uint32_t breite, uint32_t hoehe, int bits, int spp, int photometric, Bytes daten) {
        TiffBau t;
        t.feld(256, 4, {breite});
        t.feld(257, 4, {hoehe});
        t.feld(258, 3, std::vector<uint64_t>(size_t(spp), uint64_t(bits)));
        t.feld(259, 3, {1});
        t.feld(262, 3, {uint64_t(photometric)});
        t.feld(277, 3, {uint64_t(spp)});
        t.feld(278, 4, {hoehe});
        t.segmente = {std::move(daten)};
        return t;
    }

    void put(Bytes& b, size_t at, uint64_t v, int n) const {
        for (int i = 0; i < n; ++i) b[at + size_t(mm ? n - 1 - i : i)] = uint8_t(v >> (8 * i));
    }

    Bytes bau() const {
        auto f = felder;
        Bytes b(big ? 16 : 8, 0);
        b[0] = b[1] = mm ? 'M' : 'I';
        put(b, 2, big ? 43 : 42, 2);
        std::vector<uint64_t> off, anz;
        for (const Bytes& s : segmente) {
            off.push_back(b.size());
            anz.push_back(s.size());
            b.insert(b.end(), s.begin(), s.end());
        }
        const uint16_t lang = big ? 16 : 4;
        f.insert({uint16_t(kacheln ? 324 : 273), {lang, off}});
        f.insert({uint16_t(kacheln ? 325 : 279), {lang, anz}});
        if (b.size() & 1) b.push_back(0);
        const size_t ifd = b.size(), es = big ? 20 : 12, vs = big ? 8 : 4, cs = big ? 8 : 2;
        if (big) {
            put(b, 4, 8, 2);
            put(b, 8, ifd, 8);
        } else {
            put(b, 4, ifd, 4);
        }
        b.resize(ifd + cs + f.size() * es + vs, 0);
        put(b, ifd, f.size(), int(cs));
        size_t e = ifd + cs;
        for (const auto& [tag, tw] : f) {
            const int g = tw.first == 3 ? 2 : tw.first == 4 ? 4 : tw.first == 16 ? 8 : 1;
            Bytes werte(size_t(g) * tw.second.size());
            for (size_t i = 0; i < tw.second.size(); ++i) put(werte, i * size_t(g), tw.second[i], g);
            put(b, e, tag, 2);
            put(b, e + 2, tw.first, 2);
            put(b, e + 4, tw.second.size(), int(vs));
            if (werte.size() <= vs) {
                std::copy(werte.begin(), werte.end(), b.begin() + long(e + 4 + vs));
            } else {
                put(b, e + 4 + vs, b.size(), int(vs));
                b.insert(b.end(), werte.begin(), werte.end());
            }
            e += es;
        }
        return b;
    }
};
