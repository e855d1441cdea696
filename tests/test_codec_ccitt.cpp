// CCITT decoding (MH, Group 3 1-D and 2-D, Group 4): pages of every width
// that breaks row ends and run codes through a small T.4 encoder of the
// test's own, hand-built codes for the modes at the row's edges, damage and
// truncation at every row, and the strips libtiff's tiffcp writes.
#include <string>

#include "files/codec/ccitt.h"
#include "hilfe.h"
#include "tiff_bau.h"

namespace {

using bild::ccitt_entpacken;
using bild::kCcittG3;
using bild::kCcittG4;
using bild::kCcittMh;

// A page: one byte per pixel, 1 = black.
using Seite = std::vector<Bytes>;

// ---- The encoder: codes as T.4 lists them, as bit strings. ----

// Splits a list of codes written one after the other, a space after each.
std::vector<std::string> teile(const char* text) {
    std::vector<std::string> v(1);
    for (; *text; ++text)
        if (*text == ' ') v.emplace_back();
        else v.back() += *text;
    v.pop_back();
    return v;
}

const std::vector<std::string> kWeiss = teile(
    "00110101 000111 0111 1000 1011 1100 1110 1111 10011 10100 00111 01000 001000 000011 110100 110101 "
    "101010 101011 0100111 0001100 0001000 0010111 0000011 0000100 0101000 0101011 0010011 0100100 "
    "0011000 00000010 00000011 00011010 00011011 00010010 00010011 00010100 00010101 00010110 00010111 "
    "00101000 00101001 00101010 00101011 00101100 00101101 00000100 00000101 00001010 00001011 01010010 "
    "01010011 01010100 01010101 00100100 00100101 01011000 01011001 01011010 01011011 01001010 01001011 "
    "00110010 00110011 00110100 ");
const std::vector<std::string> kWeissAuf = teile(
    "11011 10010 010111 0110111 00110110 00110111 01100100 01100101 01101000 01100111 011001100 "
    "011001101 011010010 011010011 011010100 011010101 011010110 011010111 011011000 011011001 011011010 "
    "011011011 010011000 010011001 010011010 011000 010011011 ");
const std::vector<std::string> kSchwarz = teile(
    "0000110111 010 11 10 011 0011 0010 00011 000101 000100 0000100 0000101 0000111 00000100 00000111 "
    "000011000 0000010111 0000011000 0000001000 00001100111 00001101000 00001101100 00000110111 "
    "00000101000 00000010111 00000011000 000011001010 000011001011 000011001100 000011001101 "
    "000001101000 000001101001 000001101010 000001101011 000011010010 000011010011 000011010100 "
    "000011010101 000011010110 000011010111 000001101100 000001101101 000011011010 000011011011 "
    "000001010100 000001010101 000001010110 000001010111 000001100100 000001100101 000001010010 "
    "000001010011 000000100100 000000110111 000000111000 000000100111 000000101000 000001011000 "
    "000001011001 000000101011 000000101100 000001011010 000001100110 000001100111 ");
const std::vector<std::string> kSchwarzAuf = teile(
    "0000001111 000011001000 000011001001 000001011011 000000110011 000000110100 000000110101 "
    "0000001101100 0000001101101 0000001001010 0000001001011 0000001001100 0000001001101 0000001110010 "
    "0000001110011 0000001110100 0000001110101 0000001110110 0000001110111 0000001010010 0000001010011 "
    "0000001010100 0000001010101 0000001011010 0000001011011 0000001100100 0000001100101 ");
const std::vector<std::string> kBeide = teile(
    "00000001000 00000001100 00000001101 000000010010 000000010011 000000010100 000000010101 "
    "000000010110 000000010111 000000011100 000000011101 000000011110 000000011111 ");
const std::string EOL = "000000000001", P = "0001", H = "001", V0 = "1", VR1 = "011", VR2 = "000011",
                  VR3 = "0000011", VL1 = "010", VL2 = "000010", VL3 = "0000010";

// A run as makeup codes (2560 as often as needed, then one more) and a terminating code.
std::string lauf(bool schwarz, uint32_t r) {
    std::string s;
    for (; r >= 2560 + 64; r -= 2560) s += kBeide[12];
    const std::vector<std::string>& aufbau = schwarz ? kSchwarzAuf : kWeissAuf;
    const std::vector<std::string>& ende = schwarz ? kSchwarz : kWeiss;
    if (r >= 1792) s += kBeide[r / 64 - 28];
    else if (r >= 64) s += aufbau[r / 64 - 1];
    return s + ende[r % 64];
}
std::string W(uint32_t r) { return lauf(false, r); }
std::string S(uint32_t r) { return lauf(true, r); }

// Changing elements of a row, then the width three times (the imaginary ones at the end).
std::vector<uint32_t> wechsel(const Bytes& z) {
    std::vector<uint32_t> c;
    for (uint32_t x = 0; x < z.size(); ++x)
        if (z[x] != (x ? z[x - 1] : 0)) c.push_back(x);
    c.insert(c.end(), 3, uint32_t(z.size()));
    return c;
}

std::string zeile_1d(const Bytes& z) {
    std::string s;
    uint32_t a0 = 0;
    bool schwarz = false;
    for (uint32_t a1 : wechsel(z)) {
        if (a0 == z.size()) break;
        s += lauf(schwarz, a1 - a0);
        a0 = a1;
        schwarz = !schwarz;
    }
    return s;
}

// T.4's coding procedure: pass when b2 lies left of a1, vertical when
// |a1 - b1| <= 3, horizontal otherwise.
std::string zeile_2d(const Bytes& z, const Bytes& ref) {
    const std::vector<uint32_t> a = wechsel(z), b = wechsel(ref);
    const int64_t breite = int64_t(z.size());
    std::string s;
    int64_t a0 = -1;
    int farbe = 0;
    while (a0 < breite) {
        size_t i = 0, k = 0;
        while (a[i] <= a0) ++i;  // a1: the next change after a0 on this row
        while (b[k] <= a0 || int(k & 1) != farbe) ++k;
        const int64_t a1 = a[i], b1 = b[k], b2 = b[k + 1];
        if (b2 < a1) {
            s += P;
            a0 = b2;
        } else if (std::abs(a1 - b1) <= 3) {
            s += std::vector<std::string>{VL3, VL2, VL1, V0, VR1, VR2, VR3}[size_t(a1 - b1 + 3)];
            a0 = a1;
            farbe ^= 1;
        } else {
            const int64_t start = std::max<int64_t>(a0, 0), a2 = a[i + 1];
            s += H + lauf(farbe, uint32_t(a1 - start)) + lauf(!farbe, uint32_t(a2 - a1));
            a0 = a2;
        }
    }
    return s;
}

// The coded page as a bit string, with the bit positions where each row's
// first code starts (after its EOL and tag) and where it ends.
struct Kodiert {
    std::string bits;
    std::vector<size_t> anfang, ende;
    Bytes bytes() const {
        Bytes b((bits.size() + 7) / 8);
        for (size_t i = 0; i < bits.size(); ++i)
            if (bits[i] == '1') b[i / 8] |= uint8_t(0x80 >> (i % 8));
        return b;
    }
};

// Group 3 2-D codes every `k1d`-th row in 1-D; fill (option bit 2) puts
// each EOL's end on a byte boundary. RTC or EOFB end the data.
Kodiert kodiere(const Seite& s, int art, uint32_t optionen, size_t k1d = 3) {
    Kodiert k;
    Bytes weiss(s.empty() ? 0 : s[0].size(), 0);
    for (size_t y = 0; y < s.size(); ++y) {
        const bool zweid = art == kCcittG4 || (art == kCcittG3 && (optionen & 1) && y % k1d != 0);
        if (art == kCcittG3) {
            if (optionen & 4)
                while ((k.bits.size() + 12) % 8) k.bits += '0';
            k.bits += EOL;
            if (optionen & 1) k.bits += zweid ? "0" : "1";
        }
        k.anfang.push_back(k.bits.size());
        k.bits += zweid ? zeile_2d(s[y], y ? s[y - 1] : weiss) : zeile_1d(s[y]);
        k.ende.push_back(k.bits.size());
        if (art == kCcittMh)
            while (k.bits.size() % 8) k.bits += '0';
    }
    for (int i = 0; art == kCcittG3 && i < 6; ++i) k.bits += EOL + ((optionen & 1) ? "1" : "");
    if (art == kCcittG4) k.bits += EOL + EOL;
    return k;
}

// ---- Pages and decoding ----

uint32_t zufall(uint32_t& saat) { return (saat = saat * 1103515245u + 12345u) >> 16; }

// Kinds of page: white, black, noise, text-like lines of glyphs (edges that
// move a pixel or three from row to row), single pixels at both edges.
Seite seite(uint32_t breite, uint32_t hoehe, int muster, uint32_t saat = 1) {
    Seite s(hoehe, Bytes(breite, 0));
    for (uint32_t y = 0; y < hoehe; ++y) {
        Bytes& z = s[y];
        if (muster == 1) std::fill(z.begin(), z.end(), 1);
        if (muster == 2)
            for (auto& p : z) p = zufall(saat) % 3 == 0;
        if (muster == 3 && y % 12 < 9) {
            uint32_t x = zufall(saat) % 7;
            for (uint32_t g = 0; x < breite; ++g) {
                const uint32_t l = 1 + (g * 7 + y * (g % 3)) % 9;
                for (uint32_t i = x; i < std::min(breite, x + l); ++i) z[i] = 1;
                x += l + 1 + (g * 5 + y) % 6;
            }
        }
        if (muster == 4) {
            z[(y / 2) % breite] = 1;
            z[breite - 1 - (y % breite)] ^= 1;
        }
    }
    return s;
}

Bytes packe(const Seite& s, size_t zeilenbytes) {
    Bytes b(s.size() * zeilenbytes, 0);
    for (size_t y = 0; y < s.size(); ++y)
        for (size_t x = 0; x < s[y].size(); ++x)
            if (s[y][x]) b[y * zeilenbytes + x / 8] |= uint8_t(0x80 >> (x % 8));
    return b;
}

// Decodes into a buffer of exactly the rows asked for, filled with 0xA5 so
// rows left alone show; returns the decoder's result in *n.
Bytes entpacke(const Bytes& q, int art, uint32_t optionen, uint32_t breite, uint32_t zeilen, int64_t* n,
               size_t extra = 0) {
    const size_t zb = (breite + 7) / 8 + extra;
    Bytes z(zeilen * zb, 0xA5);
    *n = ccitt_entpacken(q.data(), q.size(), art, optionen, breite, zeilen, z.data(), zb);
    return z;
}

// The first `k` rows of `s` packed, the rest of the buffer untouched.
Bytes erwartet(const Seite& s, size_t k, uint32_t zeilen, size_t zeilenbytes) {
    Bytes b = packe(Seite(s.begin(), s.begin() + long(k)), zeilenbytes);
    b.resize(zeilen * zeilenbytes, 0xA5);
    return b;
}

struct Verfahren {
    int art;
    uint32_t optionen;
};
const Verfahren kVerfahren[] = {{kCcittMh, 0}, {kCcittG3, 0}, {kCcittG3, 4}, {kCcittG3, 1}, {kCcittG3, 5}, {kCcittG4, 0}};

}  // namespace

// Every kind x widths around byte and code boundaries (1728 is a makeup
// code, 2560 the longest, 6000 needs several) x every page kind.
TEST(Ccitt, RoundTripMatrix) {
    for (uint32_t breite : {1u, 2u, 7u, 8u, 9u, 63u, 64u, 65u, 1728u, 1792u, 2550u, 2561u, 2624u, 6000u})
        for (int muster = 0; muster < 5; ++muster)
            for (const Verfahren& v : kVerfahren) {
                SCOPED_TRACE(::testing::Message() << breite << " muster " << muster << " art " << v.art << " opt "
                                                  << v.optionen);
                const uint32_t hoehe = breite > 2000 ? 8 : 26;
                const Seite s = seite(breite, hoehe, muster, breite);
                const size_t extra = breite % 2;  // whole padding bytes must come out 0 too
                int64_t n = 0;
                const Bytes z = entpacke(kodiere(s, v.art, v.optionen).bytes(), v.art, v.optionen, breite, hoehe, &n,
                                         extra);
                EXPECT_EQ(n, hoehe);
                EXPECT_TRUE(z == packe(s, (breite + 7) / 8 + extra));
            }
}

// Hand-built codes: 2-D modes at the row's edges, zero runs, EOLs and fill,
// and one kind of damage per case with the exact count of rows before it.
TEST(Ccitt, HandBuiltCodes) {
    // Group 4 rows over a reference: "XX......", "...XX...", "..XX....", "....X...", white.
    const std::string xx = H + W(0) + S(2) + V0, mitte = H + W(3) + S(2) + V0, links = H + W(2) + S(2) + V0,
                      eins = H + W(4) + S(1) + V0;
    struct Fall {
        const char* name;
        int art;
        uint32_t optionen, breite;
        std::string bits;
        std::vector<std::string> zeilen;  // the rows that must come out
        uint32_t gefragt;                 // rows asked for
    };
    const Fall faelle[] = {
        {"VL3 onto pixel 0", kCcittG4, 0, 8, mitte + VL3 + V0 + V0, {"...XX...", "XXXXX..."}, 2},
        {"VL3 before pixel 0", kCcittG4, 0, 8, links + VL3 + V0 + V0, {"..XX...."}, 2},
        {"VR3 onto the last pixel", kCcittG4, 0, 8, eins + VR3 + V0, {"....X...", ".......X"}, 2},
        {"VR1 past the end", kCcittG4, 0, 8, V0 + VR1 + V0, {"........"}, 2},
        {"VL2 at the end", kCcittG4, 0, 8, V0 + VL2 + V0, {"........", "......XX"}, 2},
        {"pass at the start", kCcittG4, 0, 8, xx + P + V0, {"XX......", "........"}, 2},
        {"pass to the end", kCcittG4, 0, 8, xx + P + P, {"XX......", "........"}, 2},
        {"pass then VR1", kCcittG4, 0, 9, H + W(0) + S(2) + H + W(3) + S(2) + V0 + P + VR1 + V0 + V0,
         {"XX...XX..", "......X.."}, 2},
        {"horizontal to the end", kCcittG4, 0, 8, H + W(4) + S(4), {"....XXXX"}, 1},
        {"horizontal, black run 0 at the end", kCcittG4, 0, 8, H + W(8) + S(0), {"........"}, 1},
        {"horizontal, white run 0 first", kCcittG4, 0, 8, H + W(0) + S(8), {"XXXXXXXX"}, 1},
        {"horizontal past the end", kCcittG4, 0, 8, V0 + H + W(7) + S(2), {"........"}, 2},
        {"extension code", kCcittG4, 0, 8, V0 + "0000001111" + V0, {"........"}, 2},
        {"EOFB ends the page", kCcittG4, 0, 8, V0 + V0 + EOL + EOL, {"........", "........"}, 5},
        {"width 1", kCcittG4, 0, 1, H + W(0) + S(1) + V0 + V0 + VR1 + P, {"X", "X", ".", "."}, 4},
        {"1-D zero runs", kCcittMh, 0, 8, W(3) + S(0) + W(2) + S(3), {".....XXX"}, 1},
        {"1-D black code where white is due", kCcittMh, 0, 2, S(2), {}, 1},
        {"1-D run past the end", kCcittMh, 0, 8, W(5) + S(4), {}, 1},
        {"MH rows on byte boundaries", kCcittMh, 0, 3, W(0) + S(3) + "000000" + W(1) + S(1) + W(1) + "0" + W(3),
         {"XXX", ".X.", "..."}, 3},
        {"makeup without terminating code", kCcittG3, 0, 128, EOL + kWeissAuf[0] + EOL + W(128), {}, 1},
        {"makeups summed", kCcittG3, 0, 5121, EOL + kBeide[12] + kBeide[12] + W(1), {std::string(5121, '.')}, 1},
        {"extended makeup in black", kCcittG3, 0, 1800, EOL + W(0) + kBeide[0] + S(8), {std::string(1800, 'X')}, 1},
        {"first EOL missing", kCcittG3, 0, 4, W(4) + EOL + W(1) + S(3), {"....", ".XXX"}, 2},
        {"later EOL missing", kCcittG3, 0, 4, EOL + W(4) + W(1) + S(3), {"...."}, 2},
        {"long zero fill", kCcittG3, 0, 4, std::string(30, '0') + EOL + W(2) + S(2), {"..XX"}, 1},
        {"EOL inside a row", kCcittG3, 0, 8, EOL + W(2) + EOL + W(8), {}, 1},
        {"RTC ends the page", kCcittG3, 0, 4, EOL + W(4) + EOL + EOL + EOL + EOL + EOL + EOL, {"...."}, 3},
        {"2-D: first row 2-D", kCcittG3, 1, 8, EOL + "0" + H + W(2) + S(6) + EOL + "1" + W(8), {"..XXXXXX", "........"}, 2},
        {"2-D: tag bit then 2-D", kCcittG3, 1, 8, EOL + "1" + W(1) + S(7) + EOL + "0" + VL1 + H + S(1) + W(7),
         {".XXXXXXX", "X......."}, 2},
        {"2-D: first EOL missing, no tag bit", kCcittG3, 1, 8, W(2) + S(6) + EOL + "1" + W(8),
         {"..XXXXXX", "........"}, 2},
        {"2-D: data ends after the tag bit", kCcittG3, 1, 8, EOL + "1" + W(8) + EOL + "0", {"........"}, 2},
    };
    for (const Fall& f : faelle) {
        SCOPED_TRACE(f.name);
        Kodiert k;
        k.bits = f.bits;
        Seite s;
        for (const std::string& z : f.zeilen) {
            s.emplace_back();
            for (char c : z) s.back().push_back(c == 'X');
        }
        int64_t n = 0;
        const Bytes z = entpacke(k.bytes(), f.art, f.optionen, f.breite, f.gefragt, &n);
        EXPECT_EQ(n, int64_t(s.size()));
        EXPECT_TRUE(z == erwartet(s, s.size(), f.gefragt, (f.breite + 7) / 8));
    }
}

// Zeros put where row k's first code starts form no code: exactly k rows,
// and the rows from k on are left as they were. Cut after any byte, the rows
// whose codes lie in the kept bytes come out.
TEST(Ccitt, DamageAndTruncationAtEveryRow) {
    const uint32_t breite = 37, hoehe = 12;
    const Seite s = seite(breite, hoehe, 3, 5);
    for (const Verfahren& v : kVerfahren) {
        SCOPED_TRACE(::testing::Message() << "art " << v.art << " opt " << v.optionen);
        const Kodiert k = kodiere(s, v.art, v.optionen);
        int64_t n = 0;
        for (size_t zeile = 0; zeile < hoehe; ++zeile) {
            Kodiert kaputt = k;
            kaputt.bits.insert(k.anfang[zeile], 13, '0');
            const Bytes z = entpacke(kaputt.bytes(), v.art, v.optionen, breite, hoehe, &n);
            EXPECT_EQ(n, int64_t(zeile));
            EXPECT_TRUE(z == erwartet(s, zeile, hoehe, 5)) << zeile;
        }
        const Bytes alle = k.bytes();
        for (size_t l = 0; l <= alle.size(); ++l) {
            size_t ganz = 0;
            while (ganz < hoehe && k.ende[ganz] <= 8 * l) ++ganz;
            const Bytes z = entpacke(Bytes(alle.begin(), alle.begin() + long(l)), v.art, v.optionen, breite, hoehe, &n);
            EXPECT_EQ(n, int64_t(ganz)) << l;
            EXPECT_TRUE(z == erwartet(s, ganz, hoehe, 5)) << l;
        }
    }
}

TEST(Ccitt, RefusedArguments) {
    const Bytes q = kodiere(seite(8, 1, 1), kCcittG4, 0).bytes();
    Bytes z(4, 0xA5);
    EXPECT_EQ(ccitt_entpacken(q.data(), q.size(), kCcittG4, 2, 8, 1, z.data(), 1), 0);  // uncompressed mode
    EXPECT_EQ(ccitt_entpacken(q.data(), q.size(), kCcittG4, 0, 9, 1, z.data(), 1), 0);  // row bytes too few
    EXPECT_EQ(ccitt_entpacken(q.data(), q.size(), 5, 0, 8, 1, z.data(), 1), 0);
    EXPECT_EQ(ccitt_entpacken(q.data(), q.size(), kCcittG4, 0, 0, 1, z.data(), 1), 0);
    EXPECT_EQ(z, Bytes(4, 0xA5));
}

// ---- libtiff's encoder ----

namespace {

// Tag values of the first IFD of a little-endian TIFF (one value each).
std::map<uint16_t, uint32_t> ifd(const Bytes& b) {
    std::map<uint16_t, uint32_t> t;
    if (b.size() < 8 || b[0] != 'I') return t;
    const size_t o = get32(b, 4);
    if (o + 2 > b.size()) return t;
    const size_t n = get16(b, o);
    for (size_t i = 0; i < n && o + 14 + 12 * i <= b.size(); ++i) {
        const size_t e = o + 2 + 12 * i;
        t[uint16_t(get16(b, e))] = get16(b, e + 2) == 3 ? get16(b, e + 8) : get32(b, e + 8);
    }
    return t;
}

class CcittTiffcp : public Ordner {};

}  // namespace

// tiffcp's Group 3 (1-D, 2-D, with fill) and Group 4 strips of text-like and
// noise pages decode to the pixels it was given.
TEST_F(CcittTiffcp, StripsOfLibtiff) {
    if (!existiert("/usr/bin/tiffcp")) GTEST_SKIP() << "tiffcp missing";
    struct Seitenart {
        uint32_t breite, hoehe;
        int muster;
    };
    for (const Seitenart& a : {Seitenart{1728, 120, 3}, Seitenart{2550, 40, 2}, Seitenart{9, 30, 2},
                               Seitenart{37, 30, 4}, Seitenart{2600, 5, 1}})
        for (const char* c : {"g3", "g3:fill", "g3:2d", "g3:2d:fill", "g4"}) {
            SCOPED_TRACE(::testing::Message() << a.breite << " " << c);
            const Seite s = seite(a.breite, a.hoehe, a.muster, 3);
            const size_t zb = (a.breite + 7) / 8;
            schreib_datei(pfad("ein.tif"), TiffBau::bild(a.breite, a.hoehe, 1, 1, 0, packe(s, zb)).bau());
            laufe("/usr/bin/tiffcp -c " + std::string(c) + " -r 100000 '" + pfad("ein.tif") + "' '" +
                  pfad("aus.tif") + "' 2>&1");
            const Bytes b = lies_datei(pfad("aus.tif"));
            auto t = ifd(b);
            ASSERT_TRUE(t.count(273) && t.count(279) && t.count(259));
            ASSERT_LE(uint64_t(t[273]) + t[279], b.size());
            const Bytes strip(b.begin() + t[273], b.begin() + t[273] + t[279]);
            const int art = int(t[259]);
            int64_t n = 0;
            const Bytes z = entpacke(strip, art, art == 3 ? t[292] : t[293], a.breite, a.hoehe, &n);
            EXPECT_EQ(n, a.hoehe);
            EXPECT_TRUE(z == packe(s, zb));
        }
}
