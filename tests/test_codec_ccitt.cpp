// CCITT decoding: tiffcp's pages of every kind and width; hand-built codes for the modes at the
// row's edges, EOLs and fill, makeup codes, damage and truncation at every row of a page.
#include <string>

#include "files/codec/ccitt.h"
#include "hilfe.h"

namespace {

using bild::kCcittG3;
using bild::kCcittG4;
using bild::kCcittMh;

// The codes the hand-built rows use: white and black runs 0..8, modes, EOL.
const std::string W[] = {"00110101", "000111", "0111", "1000", "1011", "1100", "1110", "1111", "10011"},
                  S[] = {"0000110111", "010", "11", "10", "011", "0011", "0010", "00011", "000101"},
                  EOL = "000000000001", P = "0001", H = "001", V0 = "1", VR1 = "011", VR3 = "0000011", VL2 = "000010",
                  VL3 = "0000010";

// Rows as text ('X' black) or pixels (1 black), packed; rows not given stay 0xA5.
template <typename Zeile>
Bytes packe(const std::vector<Zeile>& s, size_t zb, size_t zeilen) {
    Bytes b(zeilen * zb, 0xA5);
    for (size_t y = 0; y < s.size(); ++y) {
        std::fill(b.begin() + long(y * zb), b.begin() + long((y + 1) * zb), 0);
        for (size_t x = 0; x < s[y].size(); ++x)
            if (s[y][x] == 1 || s[y][x] == 'X') b[y * zb + x / 8] |= uint8_t(0x80 >> (x % 8));
    }
    return b;
}

Bytes bytes(const std::string& bits) {
    Bytes b((bits.size() + 7) / 8);
    for (size_t i = 0; i < bits.size(); ++i) b[i / 8] |= uint8_t((bits[i] == '1') << (7 - i % 8));
    return b;
}

// `zeilen` rows into a buffer of exactly that size, 0xA5 first; the result in *n.
Bytes entpacke(const Bytes& q, int art, uint32_t optionen, uint32_t breite, uint32_t zeilen, int64_t* n) {
    const size_t zb = (breite + 7) / 8 + breite % 2;  // odd widths: a whole padding byte too
    Bytes z(zeilen * zb, 0xA5);
    *n = bild::ccitt_entpacken(q.data(), q.size(), art, optionen, breite, zeilen, z.data(), zb);
    return z;
}

TEST(Ccitt, HandgebauteCodes) {
    // Group 4 rows over a reference: "XX......", "...XX...", "....X...".
    const std::string xx = H + W[0] + S[2] + V0, mitte = H + W[3] + S[2] + V0, eins = H + W[4] + S[1] + V0;
    const std::string W128 = "10010", W1728 = "010011011", X1792 = "00000001000", X2560 = "000000011111";
    // Kind, options, width, the codes, the rows that must come out, the rows asked for.
    const struct { const char* was; int art; uint32_t optionen, breite; std::string bits;
                   std::vector<std::string> zeilen; uint32_t gefragt; } faelle[] = {
        {"VL3 onto pixel 0", kCcittG4, 0, 8, mitte + VL3 + V0 + V0, {"...XX...", "XXXXX..."}, 2},
        {"VR3 onto the last pixel", kCcittG4, 0, 8, eins + VR3 + V0, {"....X...", ".......X"}, 2},
        {"pass to the end", kCcittG4, 0, 8, xx + P + P, {"XX......", "........"}, 2},
        {"width 1", kCcittG4, 0, 1, H + W[0] + S[1] + V0 + V0 + VR1 + P, {"X", "X", ".", "."}, 4},
        {"1-D run past the end", kCcittMh, 0, 8, W[5] + S[4], {}, 1},
        {"makeup without terminating code", kCcittG3, 0, 128, EOL + W128 + EOL + W128 + W[0], {}, 1},
        {"makeup codes, width 1728", kCcittG3, 0, 1728, EOL + W1728 + W[0] + EOL + W[0] + "0000001100101" + S[0],
         {std::string(1728, '.'), std::string(1728, 'X')}, 2},
        {"makeups summed", kCcittG3, 0, 5121, EOL + X2560 + X2560 + W[1], {std::string(5121, '.')}, 1},
        {"extended makeup in black", kCcittG3, 0, 1800, EOL + W[0] + X1792 + S[8], {std::string(1800, 'X')}, 1},
        {"first EOL missing", kCcittG3, 0, 4, W[4] + EOL + W[1] + S[3], {"....", ".XXX"}, 2},
        {"later EOL missing", kCcittG3, 0, 4, EOL + W[4] + W[1] + S[3], {"...."}, 2},
        {"long zero fill", kCcittG3, 4, 4, std::string(30, '0') + EOL + W[2] + S[2], {"..XX"}, 1},
        {"EOL inside a row", kCcittG3, 0, 8, EOL + W[2] + EOL + W[8], {}, 1},
        {"2-D: first row 2-D", kCcittG3, 1, 8, EOL + "0" + H + W[2] + S[6] + EOL + "1" + W[8],
         {"..XXXXXX", "........"}, 2},
        {"2-D: data ends after the tag bit", kCcittG3, 1, 8, EOL + "1" + W[8] + EOL + "0", {"........"}, 2},
    };
    for (const auto& f : faelle) {
        int64_t n = 0;
        const Bytes z = entpacke(bytes(f.bits), f.art, f.optionen, f.breite, f.gefragt, &n);
        EXPECT_EQ(n, int64_t(f.zeilen.size())) << f.was;
        EXPECT_TRUE(z == packe(f.zeilen, (f.breite + 7) / 8 + f.breite % 2, f.gefragt)) << f.was;
    }
    // Refused, nothing written: uncompressed mode, row bytes too few, no such kind, width 0.
    unsigned char q = 0xFF, z[2] = {0xA5, 0xA5};
    for (auto [art, opt, breite] : {std::tuple{4, 2, 8}, {4, 0, 9}, {5, 0, 8}, {4, 0, 0}})
        EXPECT_TRUE(bild::ccitt_entpacken(&q, 1, art, uint32_t(opt), uint32_t(breite), 1, z, 1) == 0 && z[0] == 0xA5);
}

// 12 rows, 8 wide, of every kind: pairs of a white run then black, the second the same (2-D: V0 V0).
// Zeros where row k's codes start: exactly k rows, the rest untouched. Cut anywhere: the rows kept whole.
TEST(Ccitt, SchadenUndEndeAnJederZeile) {
    const struct { int art; uint32_t optionen; } arten[] = {{2, 0}, {3, 0}, {3, 4}, {3, 1}, {3, 5}, {4, 0}};
    for (const auto& a : arten) {
        std::string bits;
        std::vector<size_t> anfang, ende;
        std::vector<std::string> seite;
        const bool zweid = a.art == kCcittG4 || (a.optionen & 1);
        for (size_t y = 0; y < 12; ++y) {
            const size_t w = y / 2 * 3 % 8;
            seite.push_back(std::string(w, '.') + std::string(8 - w, 'X'));
            while (a.art == kCcittG3 && (a.optionen & 4) && (bits.size() + 12) % 8) bits += '0';
            if (a.art == kCcittG3) bits += EOL + (zweid ? (y % 2 ? "0" : "1") : "");
            anfang.push_back(bits.size());
            bits += zweid && y % 2 ? V0 + V0 : (a.art == kCcittG4 ? H : "") + W[w] + S[8 - w];
            ende.push_back(bits.size());
            while (a.art == kCcittMh && bits.size() % 8) bits += '0';
        }
        auto pruefe = [&](const Bytes& q, size_t k, size_t wo) {
            int64_t n = 0;
            const Bytes z = entpacke(q, a.art, a.optionen, 8, 12, &n);
            const std::vector<std::string> soll(seite.begin(), seite.begin() + long(k));
            EXPECT_TRUE(n == int64_t(k) && z == packe(soll, 1, 12)) << a.art << " " << a.optionen << " " << wo;
        };
        for (size_t k = 0; k < 12; ++k) pruefe(bytes(std::string(bits).insert(anfang[k], 13, '0')), k, k);
        const Bytes alle = bytes(bits);
        for (size_t l = 0, ganz = 0; l <= alle.size(); ++l) {
            while (ganz < 12 && ende[ganz] <= 8 * l) ++ganz;
            pruefe(Bytes(alle.begin(), alle.begin() + long(l)), ganz, l);
        }
    }
}

class CcittTiffcp : public Ordner {};

// Long and short runs, edges that drift from row to row (vertical and pass modes), noise.
TEST_F(CcittTiffcp, WieLibtiffSieSchreibt) {
    if (!existiert("/usr/bin/tiffcp")) GTEST_SKIP() << "tiffcp missing";
    for (uint32_t breite : {1u, 9u, 37u, 1728u, 2600u}) {
        std::vector<Bytes> s(40, Bytes(breite, 0));
        uint32_t r = breite;
        for (uint32_t y = 0; y < 40; ++y)
            for (uint32_t x = 0; x < breite; ++x, r = r * 1103515245u + 12345u)
                s[y][x] = y % 9 == 8 || (y % 4 == 3 ? r >> 16 & 1 : (x + y * (x / 300 % 3)) / (1 + x / 97 % 7) % 5 > 2);
        schreib_datei(pfad("ein.tif"), TiffBau::bild(breite, 40, 1, 1, 0, packe(s, (breite + 7) / 8, 40)).bau());
        for (const std::string c : {"g3", "g3:fill", "g3:2d", "g3:2d:fill", "g4"}) {
            SCOPED_TRACE(::testing::Message() << breite << " " << c);
            laufe("cd '" + dir + "' && /usr/bin/tiffcp -c " + c + " -r 100000 ein.tif aus.tif 2>&1");
            const Bytes b = lies_datei(pfad("aus.tif"));
            ASSERT_GT(b.size(), 8u);
            std::map<uint32_t, uint32_t> t;  // tag -> first value, of a little-endian file
            for (size_t e = get32(b, 4) + 2, i = get16(b, e - 2); i > 0 && e + 12 <= b.size(); --i, e += 12)
                t[get16(b, e)] = get16(b, e + 2) == 3 ? get16(b, e + 8) : get32(b, e + 8);
            ASSERT_LE(uint64_t(t[273]) + t[279], b.size());
            int64_t n = 0;
            const int art = int(t[259]);
            const Bytes z = entpacke(Bytes(b.begin() + t[273], b.begin() + t[273] + t[279]), art,
                                     art == 3 ? t[292] : t[293], breite, 40, &n);
            EXPECT_TRUE(n == 40 && z == packe(s, (breite + 7) / 8 + breite % 2, 40)) << n;
        }
    }
}

}  // namespace
