// Deflate (RFC 1951) inside a zlib stream (RFC 1950), for TIFF compression
// 8 and 32946.
//
// Speed comes from three things. Input is read into a 64-bit bit buffer a
// word at a time, refilled without a branch. Each Huffman code is resolved by
// one table lookup (two for the rare codes longer than the first-level
// table), and the entry already carries the literal, or the base of a length
// or distance with the bits its code and extra bits take together, so one
// shift consumes both. And a fast loop runs while so much input remains that
// no symbol can run off its end, so it checks none; it looks up the next
// entry before it is done with the current symbol, takes up to four literals
// per refill, and copies matches a word at a time (byte by byte only in the
// last 266 bytes of output). Everything else (the last bytes of input, the
// last few of output, block headers, stored blocks) goes through a careful
// reader that checks each bit and treats the bits past the end as zeros.
//
// Results are those of the bit-at-a-time decoder that came before, on every
// input, so every strip that decoded before decodes to the same bytes:
// output stops at kap; data that runs out ends the strip with what is there;
// a code the table does not have, a distance before the start of the output,
// a bad block header give -1. Where the data runs out inside a symbol the
// careful reader does what the bitwise one did, step by step: a read that
// does not fit takes nothing and gives 0, later reads see the bits that are
// left and zeros after them.
#include <algorithm>
#include <cstring>

#include "bild/bytes.h"
#include "files/codec/inflate.h"

namespace bild {
namespace {

constexpr unsigned kMaxBits = 15;

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

// A table entry: bits 0..5 the bits this lookup consumes, code and extra bits
// together, so the entry itself is the shift count; 6 and 7 and 12..14 the
// kind; 8..11 the length of the code alone (for a pointer, the index bits of
// the second-level table), 16..31 the value (literal, length or distance
// base, second-level offset). Distance entries carry no kind unless bad or
// pointer. The extra bits of a length or distance are then the bits between
// the code length and the whole count, taken from the buffer as it was.
constexpr uint32_t kFalsch = 1u << 6;
constexpr uint32_t kEnde = 1u << 7;
constexpr uint32_t kLit = 1u << 12;
constexpr uint32_t kLaenge = 1u << 13;
constexpr uint32_t kZeiger = 1u << 14;

// First-level bits: 10 covers almost every literal/length code of real data
// and keeps the table in 4 KiB; distances are fewer and spread less.
constexpr unsigned kLBits = 11, kABits = 8, kCBits = 7;
// Codes are dense from the all-zero code up, so every first-level slot that
// holds longer codes is filled to its end except the last one. A full slot
// whose longest code is k bits past the first level needs at least k + 1
// codes for its 2^k entries, and 2^k / (k + 1) grows with k: the full slots
// of n symbols take at most n * 2^k / (k + 1) entries for the longest k, and
// the last one at most 2^k.
constexpr size_t zweite_ebene(unsigned n, unsigned tb) {
    return (size_t(n) * (size_t(1) << (kMaxBits - tb)) + kMaxBits - tb) / (kMaxBits - tb + 1) +
           (size_t(1) << (kMaxBits - tb));
}
constexpr uint32_t kLMaske = (1u << kLBits) - 1, kAMaske = (1u << kABits) - 1;
constexpr size_t kLPlatz = (1u << kLBits) + zweite_ebene(288, kLBits);
constexpr size_t kAPlatz = (1u << kABits) + zweite_ebene(30, kABits);
constexpr size_t kCPlatz = 1u << kCBits;

// A match copied a word at a time writes at most 264 bytes: a 258-byte match
// and up to 7 bytes past it, or 16 bytes for a short one.
constexpr size_t kKopierRand = 258 + 8;
// Near the end of the output the fast loop goes on while there is room for
// the four literals of a round, and copies a match that would need more room
// than is left byte by byte.
constexpr size_t kAusRand = 4;
// A round refills at most twice, and the read position moves at most 7
// bytes before the second: the 8 bytes each refill loads lie inside the
// data when 16 bytes are left at the start of the round.
constexpr size_t kEinRand = 16;

inline uint64_t lade64(const unsigned char* p) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    uint64_t v;
    std::memcpy(&v, p, 8);
    return v;
#else
    return le64(p);
#endif
}

inline void speichere64(unsigned char* p, uint64_t v) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::memcpy(p, &v, 8);
#else
    put_le32(p, uint32_t(v));
    put_le32(p + 4, uint32_t(v >> 32));
#endif
}

inline void kopier8(unsigned char* z, const unsigned char* q) { std::memcpy(z, q, 8); }

// Table entries without the code length, per symbol; bits 0..5 hold the
// extra bits, to which the code length is added.
struct Vorlagen {
    uint32_t laenge[288], abstand[30], codelaenge[19];
    uint8_t umkehr[256];  // a byte's bits in reverse order
    constexpr Vorlagen() : laenge(), abstand(), codelaenge(), umkehr() {
        for (unsigned s = 0; s < 288; ++s) {
            if (s < 256) laenge[s] = kLit | s << 16;
            else if (s == 256) laenge[s] = kEnde;
            else if (s <= 285) laenge[s] = kLaenge | kLaengeExtra[s - 257] | uint32_t(kLaengeBasis[s - 257]) << 16;
            else laenge[s] = kFalsch;  // 286 and 287 have fixed codes but no meaning
        }
        for (unsigned s = 0; s < 30; ++s) abstand[s] = kAbstandExtra[s] | uint32_t(kAbstandBasis[s]) << 16;
        for (unsigned s = 0; s < 19; ++s) codelaenge[s] = kLit | s << 16;
        for (unsigned b = 0; b < 256; ++b)
            for (unsigned k = 0; k < 8; ++k) umkehr[b] = uint8_t(umkehr[b] | ((b >> k) & 1u) << (7 - k));
    }
};
constexpr Vorlagen kVorlagen;

// The low l bits of code in reverse order.
inline uint32_t umkehren(unsigned code, unsigned l) {
    return (uint32_t(kVorlagen.umkehr[code & 0xFF]) << 8 | kVorlagen.umkehr[(code >> 8) & 0xFF]) >> (16 - l);
}

// Builds the lookup table for `n` code lengths; false for an over-subscribed
// set. An incomplete set is accepted: its unused codes are entries marked
// bad that claim all 15 bits, which is how far a bitwise search reads before
// it gives up.
bool baue(uint32_t* tab, size_t platz, unsigned tb, const uint32_t* vorlage, const uint8_t* laengen, unsigned n) {
    // Four counters per length: neighbours mostly share a length, and one
    // counter would make each increment wait for the one before.
    uint16_t viertel[4][kMaxBits + 1] = {};
    unsigned s = 0;
    for (; s + 4 <= n; s += 4) {
        ++viertel[0][laengen[s]];
        ++viertel[1][laengen[s + 1]];
        ++viertel[2][laengen[s + 2]];
        ++viertel[3][laengen[s + 3]];
    }
    for (; s < n; ++s) ++viertel[0][laengen[s]];
    uint16_t anzahl[kMaxBits + 1];
    for (unsigned l = 0; l <= kMaxBits; ++l)
        anzahl[l] = uint16_t(viertel[0][l] + viertel[1][l] + viertel[2][l] + viertel[3][l]);
    int frei = 1;
    for (unsigned l = 1; l <= kMaxBits; ++l) {
        frei = 2 * frei - anzahl[l];
        if (frei < 0) return false;
    }
    // A complete code covers every entry; only gaps need marking.
    const bool luecken = frei > 0;
    // Symbols in code order: by length, then by symbol.
    uint16_t start[kMaxBits + 2];
    start[1] = 0;
    for (unsigned l = 1; l <= kMaxBits; ++l) start[l + 1] = uint16_t(start[l] + anzahl[l]);
    const unsigned gesamt = start[kMaxBits + 1];
    uint16_t folge[288];
    for (s = 0; s < n; ++s)
        if (laengen[s]) folge[start[laengen[s]]++] = uint16_t(s);

    // Codes are sent first bit first from their top bit: the table is indexed
    // by the code reversed, and a code of l bits fills every 2^l-th entry from
    // there. Built length by length, the table holds 2^l entries after the
    // codes of l bits; doubling it with one copy repeats them all for the next
    // length. Entries no code reaches are bad and claim all 15 bits.
    const uint32_t voll = 1u << tb;
    unsigned l0 = 1;
    while (l0 < tb && anzahl[l0] == 0) ++l0;
    std::fill(tab, tab + (1u << l0), kFalsch | kMaxBits << 8 | kMaxBits);
    unsigned code = 0, k = 0;
    for (unsigned l = 1; l <= tb; ++l) {
        if (l > l0) std::memcpy(tab + (1u << (l - 1)), tab, sizeof(uint32_t) << (l - 1));
        code <<= 1;
        const uint32_t art = l << 8 | l;
        // folge holds a symbol for every code counted in anzahl.
        for (unsigned j = anzahl[l]; j; --j, ++k, ++code)
            tab[umkehren(code, l)] = vorlage[folge[k]] + art;  // cppcheck-suppress uninitvar
    }
    if (k == gesamt) return true;
    // The longer codes, by first-level slot: a run of them shares the slot,
    // the last is the longest, and its length sets the size of the
    // second-level table.
    uint32_t umgekehrt[288];
    uint8_t laenge_von[288];
    const unsigned kurz = k;
    for (unsigned l = tb + 1; l <= kMaxBits; ++l) {
        code <<= 1;
        for (unsigned j = anzahl[l]; j; --j, ++k, ++code) {
            umgekehrt[k] = umkehren(code, l);
            laenge_von[k] = uint8_t(l);
        }
    }
    size_t frei_ab = voll;
    for (k = kurz; k < gesamt;) {
        const uint32_t slot = umgekehrt[k] & (voll - 1);
        unsigned ende = k + 1;
        while (ende < gesamt && (umgekehrt[ende] & (voll - 1)) == slot) ++ende;
        const unsigned sb = laenge_von[ende - 1] - tb;  // cppcheck-suppress uninitvar
        const size_t groesse = size_t(1) << sb;
        if (frei_ab + groesse > platz) return false;  // cannot happen, see kLPlatz
        uint32_t* unter = tab + frei_ab;
        if (luecken) std::fill(unter, unter + groesse, kFalsch | (kMaxBits - tb) << 8 | (kMaxBits - tb));
        tab[slot] = kZeiger | sb << 8 | tb | uint32_t(frei_ab) << 16;
        for (; k < ende; ++k) {
            const unsigned lk = laenge_von[k] - tb;
            const uint32_t ek = vorlage[folge[k]] + (lk << 8 | lk);
            for (uint32_t i = umgekehrt[k] >> tb; i < groesse; i += 1u << lk) unter[i] = ek;
        }
        frei_ab += groesse;
    }
    return true;
}

// Looks up the code at the low bits of `b`; `bits` gets the whole length the
// code takes (15 for a code the table does not have).
inline uint32_t suche(const uint32_t* tab, unsigned tb, uint64_t b, unsigned& bits) {
    uint32_t e = tab[b & ((1u << tb) - 1)];
    bits = 0;
    if (e & kZeiger) {
        bits = tb;
        e = tab[(e >> 16) + ((b >> tb) & ((1u << ((e >> 8) & 15)) - 1))];
    }
    bits += (e >> 8) & 15;
    return e;
}

struct FesteTabellen {
    uint32_t laenge[kLPlatz];
    uint32_t abstand[kAPlatz];
    FesteTabellen() {
        uint8_t l[288 + 30];
        std::fill(l, l + 144, 8);
        std::fill(l + 144, l + 256, 9);
        std::fill(l + 256, l + 280, 7);
        std::fill(l + 280, l + 288, 8);
        std::fill(l + 288, l + 318, 5);
        baue(laenge, kLPlatz, kLBits, kVorlagen.laenge, l, 288);
        baue(abstand, kAPlatz, kABits, kVorlagen.abstand, l + 288, 30);
    }
};

const FesteTabellen& feste() {
    static const FesteTabellen t;
    return t;
}

// A match of `len` bytes from `ab` back, with room for kKopierRand bytes from o.
inline unsigned char* kopiere(unsigned char* o, size_t ab, size_t len) {
    unsigned char* const ende = o + len;
    const unsigned char* s = o - ab;
    if (ab >= 8) {
        // Most matches are short: two words without a test.
        kopier8(o, s);
        kopier8(o + 8, s + 8);
        if (len > 16) {
            o += 16;
            s += 16;
            do {
                kopier8(o, s);
                o += 8;
                s += 8;
            } while (o < ende);
        }
    } else if (ab == 1) {
        const uint64_t v = 0x0101010101010101ull * s[0];
        do {
            std::memcpy(o, &v, 8);
            o += 8;
        } while (o < ende);
    } else {
        // The first word is the ab bytes before o repeated (the word loaded
        // there runs into bytes not written yet, which the mask drops); after
        // it the pattern repeats at a multiple of its period of at least 8,
        // which word copies can use.
        const unsigned periode = unsigned(ab) * 8;
        const uint64_t muster = lade64(s) & ((uint64_t(1) << periode) - 1);
        // Copies of the pattern every `periode` bits; they do not overlap, so
        // a product places them all.
        static constexpr uint64_t kWiederhol[8] = {0,
                                                  0,
                                                  0x0001000100010001ull,
                                                  0x0001000001000001ull,
                                                  0x0000000100000001ull,
                                                  0x0000010000000001ull,
                                                  0x0001000000000001ull,
                                                  0x0100000000000001ull};
        speichere64(o, muster * kWiederhol[ab]);
        static constexpr uint8_t kSchritt[8] = {0, 0, 8, 9, 8, 10, 12, 14};
        const size_t schritt = kSchritt[ab];
        for (o += 8; o < ende; o += 8) kopier8(o, o - schritt);
    }
    return ende;
}

class Inflater {
public:
    // The code tables are filled by each block before they are read.
    // cppcheck-suppress uninitMemberVar
    Inflater(const unsigned char* q, size_t n, unsigned char* z, size_t kap) : q_(q), n_(n), z_(z), kap_(kap) {}

    int64_t lauf() {
        for (;;) {
            const uint32_t letzter = bits(1);
            const uint32_t typ = bits(2);
            bool ok = false;
            if (typ == 0) ok = gespeichert();
            else if (typ == 1) ok = codes(feste().laenge, feste().abstand);
            else if (typ == 2) ok = dynamisch();
            if (!ok) return -1;
            // A full buffer or data that ran out ends the strip; the caller
            // judges a short one.
            if (o_ == kap_ || leer_ || letzter) return int64_t(o_);
        }
    }

private:
    const unsigned char* q_;
    size_t n_, i_ = 0;
    // Outside the fast loop the bits above `anzahl_` are zero, so a lookup
    // near the end sees zeros past the data, as a bitwise reader would.
    uint64_t puffer_ = 0;
    unsigned anzahl_ = 0;
    bool leer_ = false;  // a read went past the end of the data
    unsigned char* z_;
    size_t kap_, o_ = 0;
    uint32_t laenge_[kLPlatz];
    uint32_t abstand_[kAPlatz];

    void fuellen() {
        if (n_ - i_ >= 8) {
            puffer_ |= lade64(q_ + i_) << anzahl_;
            i_ += (63 - anzahl_) >> 3;
            anzahl_ |= 56;
            puffer_ &= (uint64_t(1) << anzahl_) - 1;
        } else {
            for (; anzahl_ < 56 && i_ < n_; anzahl_ += 8) puffer_ |= uint64_t(q_[i_++]) << anzahl_;
        }
    }

    // The next k bits; 0 when fewer remain, which are left unread.
    uint32_t bits(unsigned k) {
        if (anzahl_ < k) fuellen();
        if (anzahl_ < k) {
            leer_ = true;
            return 0;
        }
        const uint32_t v = uint32_t(puffer_ & ((1u << k) - 1));
        puffer_ >>= k;
        anzahl_ -= k;
        return v;
    }

    void weg(unsigned k) {
        puffer_ >>= k;
        anzahl_ -= k;
    }

    bool gespeichert() {
        // To the next byte boundary; whole bytes still in the buffer go back.
        i_ -= anzahl_ >> 3;
        puffer_ = 0;
        anzahl_ = 0;
        if (n_ - i_ < 4) {
            leer_ = true;
            return true;
        }
        const unsigned char* p = q_ + i_;
        const size_t len = le16(p);
        if ((len ^ le16(p + 2)) != 0xFFFF) return false;
        i_ += 4;
        const size_t da = std::min(len, n_ - i_);
        const size_t anzahl = std::min(da, kap_ - o_);
        if (anzahl) std::memcpy(z_ + o_, q_ + i_, anzahl);  // z_ may be null when kap is 0
        o_ += anzahl;
        i_ += da;
        if (da < len) leer_ = true;
        return true;
    }

    bool dynamisch() {
        const unsigned nlaenge = bits(5) + 257, nabstand = bits(5) + 1, ncode = bits(4) + 4;
        if (nlaenge > 286 || nabstand > 30) return false;
        uint8_t l[320] = {};
        for (unsigned k = 0; k < ncode; ++k) l[kReihenfolge[k]] = uint8_t(bits(3));
        uint32_t codecode[kCPlatz];
        if (!baue(codecode, kCPlatz, kCBits, kVorlagen.codelaenge, l, 19)) return false;
        const unsigned alle = nlaenge + nabstand;
        unsigned k = 0;
        while (k < alle) {
            if (anzahl_ < kMaxBits) fuellen();
            unsigned lang;
            const uint32_t e = suche(codecode, kCBits, puffer_, lang);
            // Data that ends inside the lengths leaves no usable table.
            if ((e & kFalsch) || lang > anzahl_ || leer_) return false;
            weg(lang);
            const unsigned sym = e >> 16;
            if (sym < 16) {
                l[k++] = uint8_t(sym);
                continue;
            }
            uint8_t wert = 0;
            unsigned wiederholt;
            if (sym == 16) {
                if (k == 0) return false;
                wert = l[k - 1];
                wiederholt = 3 + bits(2);
            } else if (sym == 17) {
                wiederholt = 3 + bits(3);
            } else {
                wiederholt = 11 + bits(7);
            }
            if (k + wiederholt > alle) return false;
            while (wiederholt--) l[k++] = wert;
        }
        if (l[256] == 0) return false;  // no end-of-block code
        return baue(laenge_, kLPlatz, kLBits, kVorlagen.laenge, l, nlaenge) &&
               baue(abstand_, kAPlatz, kABits, kVorlagen.abstand, l + nlaenge, nabstand) && codes(laenge_, abstand_);
    }

    enum class Halt { Rand, Blockende, Fehler };

    // Symbols while at least kEinRand input bytes and kKopierRand output bytes
    // remain (kAusRand near the end): one refill per round gives 56 bits or
    // more, and a match takes at most 15 + 5 + 15 + 13 of them, so nothing
    // inside checks the input, and only near the end does a match look at the
    // room left for it.
    template <bool kNahe>
    Halt schnell(const uint32_t* lt, const uint32_t* at) {
        const unsigned char* p = q_ + i_;
        const unsigned char* const q_rand = q_ + n_ - kEinRand;
        unsigned char* const anfang = z_;
        unsigned char* o = z_ + o_;
        unsigned char* const z_ende = z_ + kap_;
        unsigned char* const z_rand = z_ende - (kNahe ? kAusRand : kKopierRand);
        uint64_t b = puffer_;
        unsigned a = anzahl_;
        Halt halt = Halt::Rand;
        // After a refill all 64 bits of b are input, though only a >= 56 are
        // counted; a lookup may use the uncounted ones.
        const auto nachfuellen = [&b, &a, &p] {
            b |= lade64(p) << a;
            p += (63 - a) >> 3;
            a |= 56;
        };
        nachfuellen();
        uint32_t e = lt[b & kLMaske];
        // At the top of each round the buffer is full and e is the entry for
        // its low bits.
        while (p <= q_rand && o <= z_rand) {
            if (e & kLit) {
                // Four first-level literals take at most 44 bits, which leaves
                // 20 for the lookup after them.
                int k = 0;
                do {
                    b >>= e & 63;
                    a -= e & 63;
                    *o++ = uint8_t(e >> 16);
                    e = lt[b & kLMaske];
                } while (++k < 4 && (e & kLit));
                nachfuellen();
                continue;
            }
            // A match takes at most 15 + 5 + 15 + 13 bits, and one whose
            // length code fits the first level at most 44, which leaves the
            // bits for the next lookup; a longer code refills.
            if (e & kZeiger) {
                b >>= kLBits;
                a -= kLBits;
                nachfuellen();
                e = lt[(e >> 16) + (b & ((1u << ((e >> 8) & 15)) - 1))];
            }
            uint64_t vorher = b;
            b >>= e & 63;
            a -= e & 63;
            if (e & kLit) {
                *o++ = uint8_t(e >> 16);
                e = lt[b & kLMaske];
                nachfuellen();
                continue;
            }
            if (!(e & kLaenge)) {
                halt = (e & kEnde) ? Halt::Blockende : Halt::Fehler;
                break;
            }
            const size_t len = (e >> 16) + ((vorher & ((uint64_t(1) << (e & 63)) - 1)) >> ((e >> 8) & 15));
            uint32_t d = at[b & kAMaske];
            if (d & kZeiger) {
                b >>= kABits;
                a -= kABits;
                d = at[(d >> 16) + (b & ((1u << ((d >> 8) & 15)) - 1))];
            }
            if (d & kFalsch) {
                halt = Halt::Fehler;
                break;
            }
            vorher = b;
            b >>= d & 63;
            a -= d & 63;
            const size_t ab = (d >> 16) + ((vorher & ((uint64_t(1) << (d & 63)) - 1)) >> ((d >> 8) & 15));
            if (ab > size_t(o - anfang)) {
                halt = Halt::Fehler;
                break;
            }
            if (kNahe && size_t(z_ende - o) < kKopierRand) {
                // Near the end of the output, as the careful reader copies.
                const size_t m = std::min(len, size_t(z_ende - o));
                const unsigned char* const s = o - ab;
                for (size_t k = 0; k < m; ++k) o[k] = s[k];  // overlapping copies repeat
                o += m;
                if (o == z_ende) break;
            } else {
                o = kopiere(o, ab, len);
            }
            e = lt[b & kLMaske];
            nachfuellen();
        }
        // Back to the careful reader's state: no bits kept above the count.
        i_ = size_t(p - q_);
        o_ = size_t(o - anfang);
        puffer_ = b & ((uint64_t(1) << a) - 1);
        anzahl_ = a;
        return halt;
    }

    // Literal and length/distance symbols up to the end of the block.
    bool codes(const uint32_t* lt, const uint32_t* at) {
        if (leer_) return true;
        if (n_ - i_ >= kEinRand && kap_ - o_ >= kKopierRand) {
            const Halt h = schnell<false>(lt, at);
            if (h != Halt::Rand) return h == Halt::Blockende;
        }
        if (n_ - i_ >= kEinRand && kap_ - o_ >= kAusRand) {
            const Halt h = schnell<true>(lt, at);
            if (h != Halt::Rand) return h == Halt::Blockende;
        }
        // Near either end: each step checked, bits past the data read as zeros.
        while (o_ < kap_) {
            if (anzahl_ < 48) fuellen();
            unsigned lang;
            const uint32_t e = suche(lt, kLBits, puffer_, lang);
            if (lang > anzahl_) {
                leer_ = true;
                return true;
            }
            if (e & kFalsch) return false;
            weg(lang);
            if (e & kLit) {
                z_[o_++] = uint8_t(e >> 16);
                continue;
            }
            if (e & kEnde) return true;
            const size_t len = (e >> 16) + bits((e & 63) - ((e >> 8) & 15));
            if (anzahl_ < kMaxBits) fuellen();
            const uint32_t d = suche(at, kABits, puffer_, lang);
            if (d & kFalsch) return false;
            if (lang > anzahl_) leer_ = true;
            if (leer_) return true;
            weg(lang);
            const size_t ab = (d >> 16) + bits((d & 63) - ((d >> 8) & 15));
            if (leer_) return true;
            if (ab > o_) return false;
            if (kap_ - o_ >= kKopierRand) {
                o_ = size_t(kopiere(z_ + o_, ab, len) - z_);
            } else {
                const size_t ende = std::min(o_ + len, kap_);
                for (; o_ < ende; ++o_) z_[o_] = z_[o_ - ab];  // overlapping copies repeat
            }
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
