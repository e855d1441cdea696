// CCITT bilevel decoding, Modified Huffman, Group 3 (T.4) and Group 4 (T.6).
//
// A row is decoded into the list of its changing elements (the positions
// where the colour differs from the pixel before, the first against an
// imaginary white pixel) before any pixel is written: 2-D modes then work on
// positions only, a damaged row leaves the output untouched, and the row is
// painted from the list with whole-byte fills. The list of the row before is
// the reference of the next. Every code is resolved by one lookup of the next
// 7, 12 or 13 bits in a table built once from the code lists below.
#include "files/codec/ccitt.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "bild/bytes.h"

namespace bild {
namespace {

// Run-length codes as T.4 lists them: terminating codes for runs 0..63,
// makeup codes for 64..1728 in steps of 64, and the makeup codes for
// 1792..2560 that both colours share.
constexpr const char* kWeissEnde[64] = {
    "00110101", "000111",   "0111",     "1000",     "1011",     "1100",     "1110",     "1111",
    "10011",    "10100",    "00111",    "01000",    "001000",   "000011",   "110100",   "110101",
    "101010",   "101011",   "0100111",  "0001100",  "0001000",  "0010111",  "0000011",  "0000100",
    "0101000",  "0101011",  "0010011",  "0100100",  "0011000",  "00000010", "00000011", "00011010",
    "00011011", "00010010", "00010011", "00010100", "00010101", "00010110", "00010111", "00101000",
    "00101001", "00101010", "00101011", "00101100", "00101101", "00000100", "00000101", "00001010",
    "00001011", "01010010", "01010011", "01010100", "01010101", "00100100", "00100101", "01011000",
    "01011001", "01011010", "01011011", "01001010", "01001011", "00110010", "00110011", "00110100"};
constexpr const char* kWeissAufbau[27] = {
    "11011",     "10010",     "010111",    "0110111",   "00110110",  "00110111",  "01100100",
    "01100101",  "01101000",  "01100111",  "011001100", "011001101", "011010010", "011010011",
    "011010100", "011010101", "011010110", "011010111", "011011000", "011011001", "011011010",
    "011011011", "010011000", "010011001", "010011010", "011000",    "010011011"};
constexpr const char* kSchwarzEnde[64] = {
    "0000110111",   "010",          "11",           "10",           "011",          "0011",
    "0010",         "00011",        "000101",       "000100",       "0000100",      "0000101",
    "0000111",      "00000100",     "00000111",     "000011000",    "0000010111",   "0000011000",
    "0000001000",   "00001100111",  "00001101000",  "00001101100",  "00000110111",  "00000101000",
    "00000010111",  "00000011000",  "000011001010", "000011001011", "000011001100", "000011001101",
    "000001101000", "000001101001", "000001101010", "000001101011", "000011010010", "000011010011",
    "000011010100", "000011010101", "000011010110", "000011010111", "000001101100", "000001101101",
    "000011011010", "000011011011", "000001010100", "000001010101", "000001010110", "000001010111",
    "000001100100", "000001100101", "000001010010", "000001010011", "000000100100", "000000110111",
    "000000111000", "000000100111", "000000101000", "000001011000", "000001011001", "000000101011",
    "000000101100", "000001011010", "000001100110", "000001100111"};
constexpr const char* kSchwarzAufbau[27] = {
    "0000001111",    "000011001000",  "000011001001",  "000001011011",  "000000110011",  "000000110100",
    "000000110101",  "0000001101100", "0000001101101", "0000001001010", "0000001001011", "0000001001100",
    "0000001001101", "0000001110010", "0000001110011", "0000001110100", "0000001110101", "0000001110110",
    "0000001110111", "0000001010010", "0000001010011", "0000001010100", "0000001010101", "0000001011010",
    "0000001011011", "0000001100100", "0000001100101"};
constexpr const char* kErweitert[13] = {"00000001000",  "00000001100",  "00000001101",  "000000010010", "000000010011",
                                        "000000010100", "000000010101", "000000010110", "000000010111", "000000011100",
                                        "000000011101", "000000011110", "000000011111"};

// 2-D mode codes; vertical modes carry a1 - b1.
enum Modus : uint8_t { kKeinModus, kPass, kHorizontal, kVertikal };
struct ModusCode {
    const char* code;
    Modus modus;
    int8_t d;
};
constexpr ModusCode kModi[9] = {{"0001", kPass, 0},     {"001", kHorizontal, 0}, {"1", kVertikal, 0},
                                {"011", kVertikal, 1},  {"000011", kVertikal, 2}, {"0000011", kVertikal, 3},
                                {"010", kVertikal, -1}, {"000010", kVertikal, -2}, {"0000010", kVertikal, -3}};

// Codes longer than the lookup cannot be, so one lookup decides: white codes
// reach 12 bits, black ones 13, mode codes 7. EOL, the extension codes and
// anything else not listed find an empty entry (bits 0) and stop the strip.
constexpr int kWeissBits = 12, kSchwarzBits = 13, kModusBits = 7;

enum Art : uint8_t { kLeer, kEnde, kAufbau };
struct Lauf {
    uint16_t laenge;  // pixels of the run or makeup part
    uint8_t bits;     // length of the code
    uint8_t art;
};
struct Modus2 {
    uint8_t bits;
    uint8_t modus;
    int8_t d;
    uint8_t frei;  // four bytes load as one word
};

struct Tabellen {
    Lauf weiss[1 << kWeissBits] = {};
    Lauf schwarz[1 << kSchwarzBits] = {};
    Modus2 modi[1 << kModusBits] = {};

    // Every index whose first bits are `code` gets the entry.
    template <typename E>
    static void setze(E* tab, int tbits, const char* code, E e) {
        const int bits = int(std::strlen(code));
        uint32_t wert = 0;
        for (int i = 0; i < bits; ++i) wert = wert << 1 | uint32_t(code[i] == '1');
        e.bits = uint8_t(bits);
        const uint32_t von = wert << (tbits - bits), anzahl = 1u << (tbits - bits);
        for (uint32_t j = 0; j < anzahl; ++j) tab[von + j] = e;
    }

    Tabellen() {
        for (int i = 0; i < 64; ++i) {
            setze(weiss, kWeissBits, kWeissEnde[i], Lauf{uint16_t(i), 0, kEnde});
            setze(schwarz, kSchwarzBits, kSchwarzEnde[i], Lauf{uint16_t(i), 0, kEnde});
        }
        for (int i = 0; i < 27; ++i) {
            setze(weiss, kWeissBits, kWeissAufbau[i], Lauf{uint16_t(64 * (i + 1)), 0, kAufbau});
            setze(schwarz, kSchwarzBits, kSchwarzAufbau[i], Lauf{uint16_t(64 * (i + 1)), 0, kAufbau});
        }
        for (int i = 0; i < 13; ++i) {
            setze(weiss, kWeissBits, kErweitert[i], Lauf{uint16_t(1792 + 64 * i), 0, kAufbau});
            setze(schwarz, kSchwarzBits, kErweitert[i], Lauf{uint16_t(1792 + 64 * i), 0, kAufbau});
        }
        for (const ModusCode& m : kModi) setze(modi, kModusBits, m.code, Modus2{0, m.modus, m.d, 0});
    }
};

const Tabellen& tabellen() {
    static const Tabellen t;
    return t;
}

// The input, most significant bit first, in the top `anzahl` bits of a
// 64-bit word. Below them may lie the bits that follow (a word read ahead),
// never anything else, so a later refill may OR the same bits in again.
// Past the end of the input zeros are read and `anzahl` goes negative: the
// code just taken ran off the data.
struct Leser {
    const unsigned char* q;
    size_t n, i = 0;
    uint64_t puffer = 0;
    int anzahl = 0;

    // Afterwards at least 16 bits are there unless the input is used up.
    void fuellen() {
        if (n - i >= 8) {
            puffer |= be64(q + i) >> anzahl;
            i += size_t(63 - anzahl) >> 3;
            anzahl |= 56;
            return;
        }
        while (anzahl <= 56 && i < n) {
            puffer |= uint64_t(q[i++]) << (56 - anzahl);
            anzahl += 8;
        }
    }
    uint32_t sehen(int k) {
        if (anzahl < 16) fuellen();
        return uint32_t(puffer >> (64 - k));
    }
    void weg(int k) {
        puffer <<= k;
        anzahl -= k;
    }
    bool aus() const { return anzahl < 0; }

    // Zero fill, then the 1 that ends an EOL. 1: an EOL was read; 0: the next
    // bits are no EOL and nothing was taken; -1: the data ends in the fill.
    int eol() {
        if (sehen(11) != 0) return 0;
        for (;;) {
            if (anzahl < 16) fuellen();
            if (anzahl <= 0) return -1;
            const int nullen = puffer ? __builtin_clzll(puffer) : 64;
            if (nullen < anzahl) {
                weg(nullen + 1);
                return 1;
            }
            weg(anzahl);
        }
    }
    // Modified Huffman rows start on a byte boundary.
    void ausrichten() { weg(anzahl & 7); }
};

// One run: any number of makeup codes, then a terminating code, of at most
// `rest` pixels. -1 when the run is longer or a code is unknown. Whether the
// data ran out is asked once per row: past the end only zeros are read, and
// no code is all zeros, so decoding stops at the next code at the latest.
inline int64_t lauf(Leser& b, const Lauf* tab, int tbits, uint32_t rest) {
    uint64_t summe = 0;
    for (;;) {
        const Lauf e = tab[b.sehen(tbits)];
        if (e.art == kLeer) return -1;
        b.weg(e.bits);
        summe += e.laenge;
        if (summe > rest) return -1;
        if (e.art == kEnde) return int64_t(summe);
    }
}

// Changing elements are strictly increasing positions below the width. A
// zero-length run (a run of 0 between two others, or a horizontal mode's
// first run) would add its position twice: the two changes cancel.
struct Wechsel {
    uint32_t* c;
    uint32_t m = 0;
    void neu(uint32_t x) {
        if (m > 0 && c[m - 1] == x)
            --m;
        else
            c[m++] = x;
    }
};

// A 1-D row: runs of alternating colour, white first, up to the width.
// Returns the number of changing elements or -1 for damage.
int64_t zeile_1d(Leser& b, const Tabellen& t, uint32_t breite, uint32_t* ziel) {
    Wechsel w{ziel};
    uint32_t a0 = 0;
    bool schwarz = false;
    while (a0 < breite) {
        const int64_t r = schwarz ? lauf(b, t.schwarz, kSchwarzBits, breite - a0)
                                  : lauf(b, t.weiss, kWeissBits, breite - a0);
        if (r < 0) return -1;
        a0 += uint32_t(r);
        if (a0 < breite) w.neu(a0);
        schwarz = !schwarz;
    }
    return b.aus() ? -1 : int64_t(w.m);
}

// A 2-D row against the reference `ref`, whose changing elements are
// followed by four entries equal to the width (the imaginary changing
// elements at the row's end, as b1 of either colour and b2 after it).
int64_t zeile_2d(Leser& b, const Tabellen& t, uint32_t breite, const uint32_t* ref, uint32_t* ziel) {
    Wechsel w{ziel};
    // a0 starts on an imaginary white pixel before the row: b1 and a1 may
    // then lie on pixel 0. `grenze` is the position they must exceed.
    int64_t grenze = -1;
    uint32_t a0 = 0, k = 0, farbe = 0;
    while (a0 < breite) {
        const Modus2 m = t.modi[b.sehen(kModusBits)];
        if (m.modus == kKeinModus) return -1;
        b.weg(m.bits);
        // b1: the first changing element to the right of a0 whose colour is
        // not a0's. Element k turns the colour to black when k is even.
        k += (k ^ farbe) & 1;
        while (int64_t(ref[k]) <= grenze) k += 2;
        const uint32_t b1 = ref[k];
        if (m.modus == kPass) {
            // An encoder passes only to b2 < a1 <= width, but a pass to the
            // row's end is read as libtiff reads it: the row ends in a0's colour.
            a0 = ref[k + 1];
            k += 2;
        } else if (m.modus == kVertikal) {
            const int64_t a1 = int64_t(b1) + m.d;
            if (a1 <= grenze || a1 > int64_t(breite)) return -1;
            // a1 lies right of every change so far: no zero-length run here.
            a0 = uint32_t(a1);
            if (a0 < breite) w.c[w.m++] = a0;
            farbe ^= 1;
            // The next b1 has the other colour and may be the element
            // before this one (a1 left of b1).
            if (k > 0) --k;
        } else {
            const int64_t r1 = farbe ? lauf(b, t.schwarz, kSchwarzBits, breite - a0)
                                     : lauf(b, t.weiss, kWeissBits, breite - a0);
            if (r1 < 0) return -1;
            const uint32_t a1 = a0 + uint32_t(r1);
            const int64_t r2 = farbe ? lauf(b, t.weiss, kWeissBits, breite - a1)
                                     : lauf(b, t.schwarz, kSchwarzBits, breite - a1);
            if (r2 < 0) return -1;
            const uint32_t a2 = a1 + uint32_t(r2);
            if (a1 < breite) w.neu(a1);
            if (a2 < breite) w.neu(a2);
            a0 = a2;
        }
        grenze = a0;
    }
    return b.aus() ? -1 : int64_t(w.m);
}

// Paints a row from its changing elements, every byte of it up to
// `zeilenbytes`. Each element flips the colour from its pixel to the end of
// its word; a word starts in the colour the one before ended in. Pixels are
// gathered 64 at a time and each word is stored once, so neighbouring short
// runs never store to the same bytes. `c[m]` must be the width: a row that
// ends black flips back there, which keeps the padding white.
class Maler {
public:
    Maler(unsigned char* z, size_t zeilenbytes) : z_(z), bytes_(zeilenbytes), voll_(zeilenbytes / 8) {}

    void malen(const uint32_t* c, int64_t m) {
        size_t w = 0;  // the word being gathered
        uint64_t wort = 0;
        const int64_t ende = m + (m & 1);
        for (int64_t i = 0; i < ende; ++i) {
            const size_t wc = c[i] >> 6;
            for (; w < wc; ++w) {
                schreiben(w, wort);
                wort = uint64_t(0) - (wort & 1);
            }
            wort ^= ~uint64_t(0) >> (c[i] & 63);
        }
        for (; w < (bytes_ + 7) / 8; ++w) {
            schreiben(w, wort);
            wort = 0;
        }
    }

private:
    // Word j of the row, most significant byte first; the last one may be
    // cut by the row's end.
    void schreiben(size_t j, uint64_t v) {
        unsigned char* p = z_ + 8 * j;
        if (j < voll_) {
            put_be32(p, uint32_t(v >> 32));
            put_be32(p + 4, uint32_t(v));
            return;
        }
        for (size_t i = 0; i < bytes_ - 8 * j; ++i) p[i] = uint8_t(v >> (56 - 8 * i));
    }

    unsigned char* z_;
    size_t bytes_, voll_;
};

}  // namespace

int64_t ccitt_entpacken(const unsigned char* quelle, size_t n, int art, uint32_t optionen, uint32_t breite,
                        uint32_t zeilen, unsigned char* ziel, size_t zeilenbytes) {
    if (breite == 0 || zeilenbytes < (uint64_t(breite) + 7) / 8 || (optionen & 2) != 0) return 0;
    if (art != kCcittMh && art != kCcittG3 && art != kCcittG4) return 0;
    if (quelle == nullptr) n = 0;
    // Each changing element of a row costs at least one bit of that row (a
    // V0 code), and there are fewer than the width: both lists stay small
    // for a wide row from little data.
    const uint64_t bits = n > (uint64_t(1) << 60) ? uint64_t(1) << 63 : uint64_t(n) * 8;
    const uint64_t kap = std::min<uint64_t>(breite, bits) + 5;
    std::unique_ptr<uint32_t[]> speicher(new (std::nothrow) uint32_t[2 * kap]);
    if (!speicher) return 0;
    uint32_t* ref = speicher.get();
    uint32_t* neu = ref + kap;
    std::fill(ref, ref + 4, breite);  // the first reference row is white

    const Tabellen& t = tabellen();
    const bool zweid = art == kCcittG4 || (art == kCcittG3 && (optionen & 1) != 0);
    Leser b{quelle, n};
    uint32_t y = 0;
    for (; y < zeilen; ++y) {
        bool zeile2d = art == kCcittG4;
        if (art == kCcittG3) {
            const int e = b.eol();
            if (e < 0 || (e == 0 && y > 0)) break;
            if (e == 1 && zweid) {
                const uint32_t tag = b.sehen(1);
                b.weg(1);
                if (b.aus()) break;
                zeile2d = tag == 0;
            }
        }
        const int64_t m = zeile2d ? zeile_2d(b, t, breite, ref, neu) : zeile_1d(b, t, breite, neu);
        if (m < 0) break;
        std::fill(neu + m, neu + m + 4, breite);
        Maler(ziel + size_t(y) * zeilenbytes, zeilenbytes).malen(neu, m);
        std::swap(ref, neu);
        if (art == kCcittMh) b.ausrichten();
    }
    return y;
}

}  // namespace bild
