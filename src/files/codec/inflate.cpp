// Deflate (RFC 1951) inside a zlib stream (RFC 1950), for TIFF compression
// 8 and 32946. Canonical Huffman codes are decoded a bit at a time from the
// count of codes per length: small and plainly bounded. Output stops at kap;
// a match never reaches before the start of the output.
#include <algorithm>
#include <cstring>

#include "files/codec/inflate.h"

namespace bild {
namespace {

constexpr int kMaxBits = 15;

// Base values and extra bits of length codes 257..285 and distance codes 0..29.
constexpr uint16_t kLaengeBasis[29] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                       31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr uint8_t kLaengeExtra[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                      2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr uint16_t kAbstandBasis[30] = {1,   2,   3,   4,   5,   7,    9,    13,   17,   25,
                                        33,  49,  65,  97,  129, 193,  257,  385,  513,  769,
                                        1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr uint8_t kAbstandExtra[30] = {0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
                                       6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};
// Order in which a dynamic block sends the code lengths of the code-length code.
constexpr uint8_t kReihenfolge[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};

struct Bitstrom {
    const unsigned char* q;
    size_t n, i = 0;
    uint32_t puffer = 0;
    int anzahl = 0;
    bool leer = false;  // read past the end: every later value is 0

    uint32_t bits(int k) {
        while (anzahl < k) {
            if (i >= n) {
                leer = true;
                return 0;
            }
            puffer |= uint32_t(q[i++]) << anzahl;
            anzahl += 8;
        }
        const uint32_t v = puffer & ((1u << k) - 1);
        puffer >>= k;
        anzahl -= k;
        return v;
    }
};

struct Huffman {
    uint16_t anzahl[kMaxBits + 1];  // codes per length
    uint16_t symbol[288];           // symbols ordered by code
};

// Builds the code from `n` lengths; false for an over-subscribed set.
// Incomplete codes are accepted: an unused code fails when it is met.
bool baue(Huffman& h, const uint8_t* laengen, int n) {
    std::memset(h.anzahl, 0, sizeof h.anzahl);
    for (int s = 0; s < n; ++s) ++h.anzahl[laengen[s]];
    int frei = 1;
    for (int l = 1; l <= kMaxBits; ++l) {
        frei = 2 * frei - h.anzahl[l];
        if (frei < 0) return false;
    }
    uint16_t start[kMaxBits + 2];
    start[1] = 0;
    for (int l = 1; l <= kMaxBits; ++l) start[l + 1] = uint16_t(start[l] + h.anzahl[l]);
    for (int s = 0; s < n; ++s)
        if (laengen[s]) h.symbol[start[laengen[s]]++] = uint16_t(s);
    return true;
}

// Next symbol, or -1 for a code the table does not have.
int dekodiere(Bitstrom& s, const Huffman& h) {
    int code = 0, erster = 0, index = 0;
    for (int l = 1; l <= kMaxBits; ++l) {
        code |= int(s.bits(1));
        const int anzahl = h.anzahl[l];
        if (code - erster < anzahl) return h.symbol[index + code - erster];
        index += anzahl;
        erster = (erster + anzahl) << 1;
        code <<= 1;
    }
    return -1;
}

class Inflater {
public:
    Inflater(const unsigned char* q, size_t n, unsigned char* z, size_t kap) : s_{q, n}, z_(z), kap_(kap) {}

    int64_t lauf() {
        for (;;) {
            const uint32_t letzter = s_.bits(1);
            const uint32_t typ = s_.bits(2);
            bool ok = false;
            if (typ == 0) ok = gespeichert();
            else if (typ == 1) ok = fest();
            else if (typ == 2) ok = dynamisch();
            if (!ok) return -1;
            // A full buffer or data that ran out ends the strip; the caller
            // judges a short one.
            if (o_ == kap_ || s_.leer || letzter) return int64_t(o_);
        }
    }

private:
    Bitstrom s_;
    unsigned char* z_;
    size_t kap_, o_ = 0;
    Huffman laenge_{}, abstand_{};

    bool gespeichert() {
        s_.puffer = 0;  // to the next byte boundary
        s_.anzahl = 0;
        if (s_.n - s_.i < 4) {
            s_.leer = true;
            return true;
        }
        const unsigned char* p = s_.q + s_.i;
        const size_t len = size_t(p[0] | (p[1] << 8));
        if ((len ^ size_t(p[2] | (p[3] << 8))) != 0xFFFF) return false;
        s_.i += 4;
        const size_t da = std::min(len, s_.n - s_.i);
        const size_t anzahl = std::min(da, kap_ - o_);
        if (anzahl) std::memcpy(z_ + o_, s_.q + s_.i, anzahl);  // z_ may be null when kap is 0
        o_ += anzahl;
        s_.i += da;
        if (da < len) s_.leer = true;
        return true;
    }

    bool fest() {
        uint8_t l[288 + 30];
        std::fill(l, l + 144, 8);
        std::fill(l + 144, l + 256, 9);
        std::fill(l + 256, l + 280, 7);
        std::fill(l + 280, l + 288, 8);
        std::fill(l + 288, l + 318, 5);
        baue(laenge_, l, 288);
        baue(abstand_, l + 288, 30);
        return codes();
    }

    bool dynamisch() {
        const int nlaenge = int(s_.bits(5)) + 257, nabstand = int(s_.bits(5)) + 1, ncode = int(s_.bits(4)) + 4;
        if (nlaenge > 286 || nabstand > 30) return false;
        uint8_t l[320] = {};
        for (int k = 0; k < ncode; ++k) l[kReihenfolge[k]] = uint8_t(s_.bits(3));
        Huffman codecode;
        if (!baue(codecode, l, 19)) return false;
        int k = 0;
        while (k < nlaenge + nabstand) {
            const int sym = dekodiere(s_, codecode);
            if (sym < 0 || s_.leer) return false;
            if (sym < 16) {
                l[k++] = uint8_t(sym);
                continue;
            }
            uint8_t wert = 0;
            int wiederholt;
            if (sym == 16) {
                if (k == 0) return false;
                wert = l[k - 1];
                wiederholt = 3 + int(s_.bits(2));
            } else if (sym == 17) {
                wiederholt = 3 + int(s_.bits(3));
            } else {
                wiederholt = 11 + int(s_.bits(7));
            }
            if (k + wiederholt > nlaenge + nabstand) return false;
            while (wiederholt--) l[k++] = wert;
        }
        if (l[256] == 0) return false;  // no end-of-block code
        // A set of lengths shorter than the table: zero the rest so the
        // distance lengths start where they were sent.
        uint8_t abst[30] = {};
        std::memcpy(abst, l + nlaenge, size_t(nabstand));
        std::memset(l + nlaenge, 0, size_t(320 - nlaenge));
        return baue(laenge_, l, nlaenge) && baue(abstand_, abst, nabstand) && codes();
    }

    // Literal and length/distance symbols up to the end of the block.
    bool codes() {
        while (o_ < kap_) {
            const int sym = dekodiere(s_, laenge_);
            if (s_.leer) return true;
            if (sym < 0) return false;
            if (sym < 256) {
                z_[o_++] = (unsigned char)sym;
                continue;
            }
            if (sym == 256) return true;
            if (sym > 285) return false;
            const size_t len = kLaengeBasis[sym - 257] + s_.bits(kLaengeExtra[sym - 257]);
            const int as = dekodiere(s_, abstand_);
            if (as < 0 || as > 29) return false;
            const size_t ab = kAbstandBasis[as] + s_.bits(kAbstandExtra[as]);
            if (s_.leer) return true;
            if (ab > o_) return false;
            const size_t ende = std::min(o_ + len, kap_);
            for (; o_ < ende; ++o_) z_[o_] = z_[o_ - ab];  // overlapping copies repeat
        }
        return true;
    }
};

}  // namespace

int64_t inflate_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap) {
    // zlib header: method 8, window up to 32 KiB, check bits, no preset dictionary.
    if (n < 2) return -1;
    const unsigned cmf = quelle[0], flg = quelle[1];
    if ((cmf & 0x0F) != 8 || (cmf >> 4) > 7 || (cmf * 256 + flg) % 31 != 0 || (flg & 0x20)) return -1;
    return Inflater(quelle + 2, n - 2, ziel, kap).lauf();
}

}  // namespace bild
