// LZW and PackBits: hand-built codes for what no encoder sends, widths that change one code early,
// KwKwK, output cut at every kap and data cut at every byte, into buffers of exactly kap bytes.
#include <gtest/gtest.h>

#include "bau.h"
#include "files/codec/lzw.h"
#include "files/codec/packbits.h"

namespace {

using Dekoder = int64_t (*)(const unsigned char*, size_t, unsigned char*, size_t);

int64_t r = 0;  // the result of the last call

Bytes entpacke(Dekoder f, const Bytes& q, size_t kap) {
    std::unique_ptr<unsigned char[]> z(new unsigned char[kap]);
    r = f(q.data(), q.size(), z.get(), kap);
    return Bytes(z.get(), z.get() + std::max<int64_t>(r, 0));
}

Bytes vorne(const Bytes& b, size_t n) { return Bytes(b.begin(), b.begin() + long(std::min(n, b.size()))); }

Bytes zufall(size_t n, unsigned alphabet) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = uint8_t((i * i * 2654435761u >> 13) % alphabet);
    return b;
}

// LZW codes as an encoder sends them: 9 bits after a Clear, one more once the next entry would be
// 511, 1023 or 2047. Every code but the first after a Clear makes an entry until the table is full.
struct Codes {
    Bytes b;
    uint64_t acc = 0;
    int nacc = 0, breite = 9, frei = 258;
    bool erster = true;
    Codes& operator<<(int c) {
        for (acc = acc << breite | uint64_t(c), nacc += breite; nacc >= 8; nacc -= 8)
            b.push_back(uint8_t(acc >> (nacc - 8)));
        if (c == 256) breite = 9, frei = 258, erster = true;
        if (c == 256 || c == 257) return *this;
        frei += !erster && frei < 4096, erster = false;
        breite += frei == (1 << breite) - 1 && breite < 12;
        return *this;
    }
    Bytes fertig() const {
        Bytes r = b;
        if (nacc) r.push_back(uint8_t(acc << (8 - nacc)));
        return r;
    }
};

Bytes codes(std::initializer_list<int> l) {
    Codes c;
    for (int x : l) c << x;
    return c.fertig();
}

// Bytes whose pairs never repeat: one code each, and one new entry per byte.
Bytes ohne_paare(size_t n) {
    Bytes d;
    for (int schritt = 1; d.size() < n; schritt += 2)
        for (int x = 0; x < 256 && d.size() < n; ++x) d.push_back(uint8_t(x * schritt));
    return d;
}

TEST(Lzw, HandgebauteCodes) {
    const struct { const char* was; Bytes q; size_t kap; int64_t r; Bytes soll; } faelle[] = {
        {"plain", codes({256, 'a', 'b', 'c', 257}), 3, 3, {'a', 'b', 'c'}},
        {"KwKwK", codes({256, 'a', 258, 259, 257}), 6, 6, {'a', 'a', 'a', 'a', 'a', 'a'}},
        {"reset forgets", codes({256, 'a', 'b', 258, 256, 'c', 258, 257}), 7, 7, {'a', 'b', 'a', 'b', 'c', 'c', 'c'}},
        {"End right after Clear", codes({256, 257}), 5, 0, {}},
        {"no End code", codes({256, 'a', 'b', 258}), 9, 4, {'a', 'b', 'a', 'b'}},
        {"last code half there", vorne(codes({256, 'a', 'b', 258}), 4), 9, 2, {'a', 'b'}},
        {"kap 0 reads nothing", codes({256, 300}), 0, 0, {}},
        {"string after Clear", codes({256, 258}), 4, -1, {}},
        {"string after the second Clear", codes({256, 'a', 'b', 256, 258}), 4, -1, {}},
        {"beyond the next free", codes({256, 'a', 259}), 4, -1, {}},
        {"beyond the next free, later", codes({256, 'a', 'b', 'c', 262, 257}), 9, -1, {}},
        {"bad code after kap is full", codes({256, 'a', 'b', 511}), 2, 2, {'a', 'b'}},
        {"KwKwK cut at kap", codes({256, 'a', 'b', 258, 260}), 5, 5, {'a', 'b', 'a', 'b', 'a'}},
    };
    for (const auto& f : faelle) EXPECT_TRUE(entpacke(bild::lzw_entpacken, f.q, f.kap) == f.soll && r == f.r) << f.was;
}

// n single-byte codes put End and the last codes right at each widening. Then a full table: 3839
// codes fill entries 258..4095, and codes keep coming at 12 bits without adding any.
TEST(Lzw, CodebreitenUndVolleTabelle) {
    for (size_t grenze : {size_t(253), size_t(765), size_t(1789), size_t(3836)})
        for (size_t n = grenze - 2; n <= grenze + 2; ++n) {
            const Bytes d = ohne_paare(n), q = lzw(d);
            EXPECT_EQ(entpacke(bild::lzw_entpacken, q, n + 1), d) << n;
            EXPECT_EQ(entpacke(bild::lzw_entpacken, q, n), d) << n;
        }
    const Bytes d = ohne_paare(3839);
    Codes c;
    c << 256;
    for (unsigned char x : d) c << x;
    c << 300 << 4095 << 'z' << 4095 << 257;
    Bytes soll = d;
    for (size_t i : {42, 43, 3837, 3838}) soll.push_back(d[i]);
    soll.push_back('z'), soll.push_back(d[3837]), soll.push_back(d[3838]);
    EXPECT_EQ(entpacke(bild::lzw_entpacken, c.fertig(), soll.size() + 1), soll);
}

// Random bytes reset the table; two letters make KwKwK codes; a run the longest strings. Cut at every kap.
TEST(Lzw, RundreiseUndSchnitte) {
    Bytes lauf(3000, 'q');
    lauf[1000] = 'r';
    for (const Bytes& d : {zufall(30000, 256), zufall(3000, 2), zufall(3000, 7), lauf}) {
        const Bytes q = lzw(d);
        EXPECT_EQ(entpacke(bild::lzw_entpacken, q, d.size() + 100), d);
        for (size_t kap = 0; kap < d.size() && d.size() <= 3000; ++kap)
            ASSERT_EQ(entpacke(bild::lzw_entpacken, q, kap), vorne(d, kap));
    }
}

// PackBits from runs (n > 0: n literal bytes, n < 0: one byte -n times, 0: the no-op -128). Cut at every
// kap (a run cut at a row's end) and every byte of the data: what each prefix carries.
TEST(PackBits, LaeufeUndSchnitte) {
    for (const auto& laeufe : {std::vector<int>{128, -128, 128}, {1, -2, 1, -2}, {0, 3, 0, 0, -5, 0},
                               {128, -128, 5, -3, 17, -17, 16, -16, 15, -15, 31, -33, 64, 0, 1, -2, 127, -127, 2,
                                -128, 100, -100, 9}}) {
        Bytes q, soll;
        std::vector<size_t> bis = {0};  // the bytes out of each prefix of q
        uint8_t c = 1;
        auto schieb = [&](int b) { q.push_back(uint8_t(b)), bis.push_back(soll.size()); };
        for (int n : laeufe) {
            schieb(n > 0 ? n - 1 : n < 0 ? 257 + n : 128);
            for (int i = 0; i < n; ++i) soll.push_back(c = uint8_t(c * 37 + 11)), schieb(c);
            if (n < 0) soll.insert(soll.end(), size_t(-n), ++c), schieb(c);
        }
        EXPECT_EQ(entpacke(bild::packbits_entpacken, q, soll.size() + 300), soll);
        for (size_t kap = 0; kap <= soll.size(); ++kap)
            ASSERT_EQ(entpacke(bild::packbits_entpacken, q, kap), vorne(soll, kap)) << kap;
        for (size_t t = 0; t < q.size(); ++t)
            ASSERT_EQ(entpacke(bild::packbits_entpacken, vorne(q, t), soll.size()), vorne(soll, bis[t])) << t;
    }
    EXPECT_EQ(entpacke(bild::packbits_entpacken, Bytes(200, 0x80), 10), Bytes());  // only no-ops
}

}  // namespace
