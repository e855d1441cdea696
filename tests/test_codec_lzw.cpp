// PackBits and LZW on the cases that break them: runs of 128, code width
// changes one code early, table resets, a full table, KwKwK, output cut at
// every position of the buffer's end, data that ends early, damaged data.
// Every result is decoded into a buffer of exactly kap bytes, so
// AddressSanitizer sees any write beyond.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "files/codec/lzw.h"
#include "files/codec/packbits.h"
#include "tiff_bau.h"

namespace {

Bytes zufall(size_t n, uint32_t saat, int alphabet = 256) {
    Bytes b(n);
    for (auto& c : b) c = uint8_t(((saat = saat * 1103515245u + 12345u) >> 16) % uint32_t(alphabet));
    return b;
}

using Dekoder = int64_t (*)(const unsigned char*, size_t, unsigned char*, size_t);

// The bytes written; the result code in *n.
Bytes entpacke(Dekoder f, const Bytes& q, size_t kap, int64_t* n = nullptr) {
    std::unique_ptr<unsigned char[]> z(new unsigned char[kap]);
    const int64_t r = f(q.data(), q.size(), z.get(), kap);
    if (n) *n = r;
    return Bytes(z.get(), z.get() + std::max<int64_t>(std::min<int64_t>(r, int64_t(kap)), 0));
}

int64_t ergebnis(Dekoder f, const Bytes& q, size_t kap) {
    int64_t r = 0;
    entpacke(f, q, kap, &r);
    return r;
}

// LZW codes as an encoder sends them, most significant bit first: 9 bits
// after a Clear, one more once the next entry would be 511, 1023 or 2047
// (the encoder widens one code early), never more than 12. Every code but
// the first after a Clear makes an entry until the table holds 4096.
struct Codes {
    Bytes b;
    uint64_t acc = 0;
    int nacc = 0, breite = 9, frei = 258;
    bool erster = true;

    Codes& operator<<(int c) {
        acc = (acc << breite) | uint64_t(c);
        for (nacc += breite; nacc >= 8; nacc -= 8) b.push_back(uint8_t(acc >> (nacc - 8)));
        if (c == 256) {
            breite = 9, frei = 258, erster = true;
        } else if (c != 257) {
            if (!erster && frei < 4096) ++frei;
            erster = false;
            if (frei == (1 << breite) - 1 && breite < 12) ++breite;
        }
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

Bytes vorne(const Bytes& b, size_t n) { return Bytes(b.begin(), b.begin() + long(std::min(n, b.size()))); }

// Bytes whose neighbouring pairs never repeat, so an encoder sends each one
// as a code of its own and the table grows by one entry per byte.
Bytes ohne_paare(size_t n) {
    Bytes d;
    for (int schritt = 1; d.size() < n; schritt += 2)  // odd steps: every pair (x, x+s) once per step
        for (int x = 0; x < 256 && d.size() < n; ++x) d.push_back(uint8_t(x * schritt));
    return d;
}

}  // namespace

// ---- LZW -------------------------------------------------------------------

TEST(Lzw, HandWrittenCodes) {
    struct Fall {
        const char* was;
        Bytes q;
        size_t kap;
        int64_t r;
        Bytes soll;
    };
    const Fall faelle[] = {
        {"plain", codes({256, 'a', 'b', 'c', 257}), 3, 3, {'a', 'b', 'c'}},
        {"no leading Clear", codes({'a', 'b', 258, 257}), 4, 4, {'a', 'b', 'a', 'b'}},
        {"entries used", codes({256, 'a', 'b', 258, 259, 257}), 6, 6, {'a', 'b', 'a', 'b', 'b', 'a'}},
        {"KwKwK", codes({256, 'a', 258, 259, 257}), 6, 6, {'a', 'a', 'a', 'a', 'a', 'a'}},
        {"KwKwK of a string", codes({256, 'a', 'b', 258, 260, 257}), 7, 7, {'a', 'b', 'a', 'b', 'a', 'b', 'a'}},
        {"reset forgets", codes({256, 'a', 'b', 258, 256, 'c', 258, 257}), 7, 7, {'a', 'b', 'a', 'b', 'c', 'c', 'c'}},
        {"two Clears", codes({256, 256, 'x', 257}), 1, 1, {'x'}},
        {"End right after Clear", codes({256, 257}), 5, 0, {}},
        {"no End code", codes({256, 'a', 'b', 258}), 9, 4, {'a', 'b', 'a', 'b'}},
        {"last code half there", vorne(codes({256, 'a', 'b', 258}), 4), 9, 2, {'a', 'b'}},
        {"empty data", {}, 4, 0, {}},
        {"kap 0 reads nothing", codes({256, 300}), 0, 0, {}},
        {"string after Clear", codes({256, 258}), 4, -1, {}},
        {"string at the start", codes({300}), 4, -1, {}},
        {"string after second Clear", codes({256, 'a', 'b', 256, 258}), 4, -1, {}},
        {"beyond next free", codes({256, 'a', 259}), 4, -1, {}},
        {"beyond next free, later", codes({256, 'a', 'b', 'c', 262, 257}), 9, -1, {}},
        {"bad code after kap is full", codes({256, 'a', 'b', 511}), 2, 2, {'a', 'b'}},
        {"string cut at kap", codes({256, 'a', 'b', 258, 257}), 3, 3, {'a', 'b', 'a'}},
        {"KwKwK cut at kap", codes({256, 'a', 'b', 258, 260}), 5, 5, {'a', 'b', 'a', 'b', 'a'}},
    };
    for (const Fall& f : faelle) {
        int64_t r = 0;
        const Bytes z = entpacke(bild::lzw_entpacken, f.q, f.kap, &r);
        EXPECT_EQ(r, f.r) << f.was;
        EXPECT_EQ(z, f.soll) << f.was;
    }
}

TEST(Lzw, EveryCodeWidthChangeOneCodeEarly) {
    // n single-byte codes then End: the table holds 257 + n entries when End
    // is read, so End and the last codes sit right at each widening (frei + 1
    // reaching 512, 1024, 2048), and lzw() clears at 4094. A decoder that
    // widens one code late or early misreads what follows.
    for (size_t grenze : {size_t(253), size_t(765), size_t(1789), size_t(3836)})
        for (size_t n = grenze - 2; n <= grenze + 2; ++n) {
            const Bytes d = ohne_paare(n), q = lzw(d);
            EXPECT_EQ(entpacke(bild::lzw_entpacken, q, n + 1), d) << n;  // End read, not kap
            EXPECT_EQ(entpacke(bild::lzw_entpacken, q, n), d) << n;
        }
}

TEST(Lzw, FullTableStaysAt12BitsWithoutClear) {
    // 3839 single-byte codes fill entries 258..4095; entry 258 + j is byte
    // j and byte j + 1. Then codes keep coming at 12 bits and add nothing.
    const Bytes d = ohne_paare(3839);
    for (bool kwkwk : {false, true}) {
        Codes c;
        c << 256;
        Bytes soll;
        for (size_t j = 0; j + 1 < d.size(); ++j) c << d[j], soll.push_back(d[j]);
        // Entry 4095, the last: the previous byte and the next string's
        // first, or, sent as the code being defined, that byte twice.
        const Bytes e4095 = {d[3837], kwkwk ? d[3837] : d[3838]};
        if (kwkwk) {
            c << 4095;
            soll.insert(soll.end(), {d[3837], d[3837]});
        } else {
            c << d[3838];
            soll.push_back(d[3838]);
        }
        // Full now: old entries still decode, at 12 bits, and none changes.
        c << 300 << 4094 << 'z' << 258 << 4095 << 4095 << 257;
        soll.insert(soll.end(), {d[42], d[43], d[3836], d[3837], 'z', d[0], d[1]});
        soll.insert(soll.end(), e4095.begin(), e4095.end());
        soll.insert(soll.end(), e4095.begin(), e4095.end());
        EXPECT_EQ(entpacke(bild::lzw_entpacken, c.fertig(), soll.size() + 1), soll) << kwkwk;
    }
}

TEST(Lzw, RoundTripsResetsAndCutsAtEveryPosition) {
    // Random bytes make about one entry per code (9 to 12 bits, resets);
    // two letters make long strings and many KwKwK codes; runs of one byte
    // make the longest strings.
    Bytes lauf(9000, 'q');
    lauf[4000] = 'r';
    const std::vector<Bytes> daten = {zufall(1, 1), zufall(30000, 2), zufall(30000, 3, 2), zufall(3000, 4, 2),
                                      zufall(3000, 5, 7), lauf};
    for (const Bytes& d : daten) {
        const Bytes q = lzw(d);
        EXPECT_EQ(entpacke(bild::lzw_entpacken, q, d.size()), d) << d.size();
        EXPECT_EQ(entpacke(bild::lzw_entpacken, q, d.size() + 100), d) << d.size();  // the End code stops it
    }
    // kap at every byte: the cut falls inside strings, KwKwK strings and
    // single bytes alike, and near the end of the buffer where copies slow.
    for (const Bytes& d : {daten[3], daten[4], Bytes(lauf.begin() + 3000, lauf.begin() + 6000)}) {
        const Bytes q = lzw(d);
        for (size_t kap = 0; kap <= d.size(); ++kap)
            ASSERT_EQ(entpacke(bild::lzw_entpacken, q, kap), vorne(d, kap)) << kap;
    }
}

TEST(Lzw, DataEndingEarlyGivesAPrefix) {
    // Cut at every byte: the codes that are whole decode, nothing else, and
    // never more than the whole.
    const Bytes d = zufall(2500, 9, 3), q = lzw(d);
    int64_t vorher = 0;
    for (size_t t = 0; t <= q.size(); ++t) {
        int64_t r = 0;
        const Bytes z = entpacke(bild::lzw_entpacken, vorne(q, t), d.size(), &r);
        ASSERT_GE(r, vorher) << t;
        ASSERT_EQ(z, vorne(d, size_t(r))) << t;
        vorher = r;
    }
    EXPECT_EQ(vorher, int64_t(d.size()));
}

// ---- PackBits ----------------------------------------------------------------

namespace {

// PackBits data from a list of runs (n > 0: n literal bytes, n < 0: one byte
// -n times, 0: the no-op), with the output it stands for and, for every
// prefix of the data, how much of that output the prefix carries.
struct Laeufe {
    Bytes q, soll;
    std::vector<size_t> bis = {0};
    uint32_t saat = 1;

    Laeufe(std::initializer_list<int> l) {
        for (int n : l) *this << n;
    }
    Laeufe& operator<<(int n) {
        if (n > 0) {
            schieb(uint8_t(n - 1), 0);
            for (unsigned char c : zufall(size_t(n), saat++)) schieb(c, 1), soll.push_back(c);
        } else if (n < 0) {
            const uint8_t c = uint8_t(saat++ * 37);
            schieb(uint8_t(257 + n), 0);
            schieb(c, size_t(-n));
            soll.insert(soll.end(), size_t(-n), c);
        } else {
            schieb(0x80, 0);
        }
        return *this;
    }
    void schieb(uint8_t b, size_t mehr) {
        q.push_back(b);
        bis.push_back(bis.back() + mehr);
    }
};

}  // namespace

TEST(PackBits, RunsAndTheirCuts) {
    struct Fall {
        const char* was;
        Laeufe l;
    };
    const Fall faelle[] = {
        {"longest runs", {128, -128, 128}},
        {"shortest runs", {1, -2, 1, -2}},
        {"no-ops", {0, 3, 0, 0, -5, 0}},
        // Long enough for the block copies, every length once.
        {"mixed", {128, -128, 5, -3, 17, -17, 16, -16, 15, -15, 31, -33, 64, 0, 1, -2, 127, -127, 2, -128, 100,
                   -100, 33, -31, 128, -128, 9}},
    };
    for (const Fall& f : faelle) {
        const Laeufe& l = f.l;
        EXPECT_EQ(entpacke(bild::packbits_entpacken, l.q, l.soll.size()), l.soll) << f.was;
        // A larger buffer than the data fills: all of it, no more.
        EXPECT_EQ(entpacke(bild::packbits_entpacken, l.q, l.soll.size() + 300), l.soll) << f.was;
        // kap at every byte: runs cut at a row's end.
        for (size_t kap = 0; kap < l.soll.size(); ++kap)
            ASSERT_EQ(entpacke(bild::packbits_entpacken, l.q, kap), vorne(l.soll, kap))
                << f.was << " " << kap;
        // Data cut at every byte: a literal run gives what is there, a
        // repeat without its byte gives nothing.
        for (size_t t = 0; t < l.q.size(); ++t)
            ASSERT_EQ(entpacke(bild::packbits_entpacken, vorne(l.q, t), l.soll.size()),
                      vorne(l.soll, l.bis[t]))
                << f.was << " " << t;
    }
}

TEST(PackBits, NothingInNothingOut) {
    EXPECT_EQ(ergebnis(bild::packbits_entpacken, {}, 10), 0);
    EXPECT_EQ(ergebnis(bild::packbits_entpacken, Bytes(200, 0x80), 10), 0);  // only no-ops
    EXPECT_EQ(ergebnis(bild::packbits_entpacken, Bytes{0x05, 1, 2}, 0), 0);
}
