// LZW as TIFF uses it. Writes only inside [ziel, ziel+kap): a string that
// would go further is cut at the end of the buffer.
//
// Every string in the table is the previous code's string plus one byte, and
// both were just written one after the other, so each entry is kept as the
// place in the output where its string already stands and its length. A code
// is then one short copy out of the output written so far, never a walk along
// a chain of prefixes.
#include "files/codec/lzw.h"

#include <cstring>

#include "bild/bytes.h"

namespace bild {
namespace {

constexpr unsigned kLoeschen = 256, kEnde = 257, kErster = 258, kTabelle = 4096;

// Copies are done in words of this size and may write up to one word less
// one byte past the string; they only run while that much room is left.
constexpr size_t kWort = 8;

// Strings of one byte point into here, so that every code is copied the same
// way; the padding lets a whole word be read from the last letter.
struct Buchstaben {
    unsigned char b[256 + kWort];
    constexpr Buchstaben() : b() {
        for (int c = 0; c < 256; ++c) b[c] = (unsigned char)c;
    }
};
constexpr Buchstaben kBuchstaben;

inline void wort_kopieren(unsigned char* d, const unsigned char* s) {
    uint64_t w;
    std::memcpy(&w, s, kWort);
    std::memcpy(d, &w, kWort);
}

// Copies `l` bytes from `s` to `d` a word at a time, up to kWort - 1 bytes
// too many. Correct when `s` lies at least `l` bytes before `d` or in front
// of it by a word or more: every byte read inside the string is then final.
inline void kopieren(unsigned char* d, const unsigned char* s, size_t l) {
    wort_kopieren(d, s);
    for (size_t k = kWort; k < l; k += kWort) wort_kopieren(d + k, s + k);
}

}  // namespace

int64_t lzw_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap) {
    // Entry c: its string is the laenge[c] bytes at von[c]. One slot past the
    // table takes the entries a full table no longer keeps.
    const unsigned char* von[kTabelle + 1];
    uint16_t laenge[kTabelle + 1];
    for (unsigned c = 0; c < 256; ++c) {
        von[c] = kBuchstaben.b + c;
        laenge[c] = 1;
    }
    unsigned frei = kErster, breite = 9;
    // The encoder widens its codes one entry before the table needs them:
    // at frei + 1 == 512, 1024, 2048; 12 bits is the end.
    unsigned grenze = (1u << breite) - 1;
    // The previous code's string: where it was written and how long it is.
    // Its length is 0 right after a reset, when no entry follows it.
    size_t alt = 0, alt_laenge = 0;

    // Bits left-aligned in `bits`, `nbits` of them valid.
    uint64_t bits = 0;
    unsigned nbits = 0;
    size_t i = 0, o = 0;
    while (o < kap) {
        if (n - i >= 8) {
            // A whole word, of which as many bytes as fit are taken; the bits
            // of the next byte that stick out are the same the next fill puts
            // there. Filling every time costs less than asking whether to.
            bits |= be64(quelle + i) >> nbits;
            i += (63 - nbits) >> 3;
            nbits |= 56;
        } else if (nbits < breite) {
            while (nbits <= 56 && i < n) {
                bits |= uint64_t(quelle[i++]) << (56 - nbits);
                nbits += 8;
            }
            if (nbits < breite) break;  // data ended without an end code
        }
        const unsigned code = unsigned(bits >> (64 - breite));
        bits <<= breite;
        nbits -= breite;

        if (code >= frei || code == kLoeschen || code == kEnde) {
            if (code == kEnde) break;
            if (code == kLoeschen) {
                frei = kErster;
                breite = 9;
                grenze = (1u << breite) - 1;
                alt_laenge = 0;
                continue;
            }
            // Before the first string only single bytes exist; beyond the
            // next free entry nothing the encoder can have sent yet.
            if (alt_laenge == 0 || code > frei) return -1;
            // The code being defined right now (KwKwK): the previous string
            // plus its own first byte, which lies right behind that string.
            von[frei] = ziel + alt;
            laenge[frei] = uint16_t(alt_laenge + 1);
            ++frei;
            const size_t l = alt_laenge + 1;
            unsigned char* d = ziel + o;
            if (kap - o >= l + kWort) {
                kopieren(d, ziel + alt, alt_laenge);
                d[alt_laenge] = ziel[alt];
                alt = o;
                o += l;
            } else {
                const size_t m = l < kap - o ? l : kap - o;
                for (size_t k = 0; k < m; ++k) d[k] = ziel[alt + k];
                alt = o;
                o += m;
            }
            alt_laenge = l;
        } else {
            // Right after a reset frei is kErster, so only single bytes get here.
            const unsigned char* s = von[code];
            const size_t l = laenge[code];
            // The new entry: the previous string plus this one's first byte.
            // A full table keeps nothing: its slot is the spare one.
            von[frei] = ziel + alt;
            laenge[frei] = uint16_t(alt_laenge + 1);
            frei += unsigned(alt_laenge != 0) & unsigned(frei < kTabelle);
            unsigned char* d = ziel + o;
            if (kap - o >= l + kWort) {
                kopieren(d, s, l);
                alt = o;
                o += l;
            } else {
                const size_t m = l < kap - o ? l : kap - o;
                std::memcpy(d, s, m);
                alt = o;
                o += m;
            }
            alt_laenge = l;
        }
        if (frei >= grenze && breite < 12) {
            ++breite;
            grenze = (1u << breite) - 1;
        }
    }
    return int64_t(o);
}

}  // namespace bild
