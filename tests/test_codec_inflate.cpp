// The inflater: hand-built streams for what no encoder writes and for exact edges; zlib's
// for the rest. Output goes to a buffer of exactly kap bytes, so AddressSanitizer sees any write beyond.
#include <gtest/gtest.h>

#include <tuple>

#include "bau.h"
#include "files/codec/inflate.h"

#ifdef BILD_TEST_ZLIB
#include <zlib.h>
#endif

namespace {

Bytes entpacke(const Bytes& q, size_t kap, int64_t* r) {
    std::unique_ptr<unsigned char[]> z(new unsigned char[kap]);
    *r = bild::inflate_entpacken(q.data(), q.size(), z.get(), kap);
    return Bytes(z.get(), z.get() + std::max<int64_t>(*r, 0));
}

Bytes zufall(size_t n, uint32_t saat) {
    Bytes b(n);
    for (auto& c : b) c = uint8_t((saat = saat * 1103515245u + 12345u) >> 16);
    return b;
}


TEST(Inflate, HandgebauteStroeme) {
    const Bytes hallo = {'h', 'a', 'l', 'l', 'o'};
    // The full window, the last match in the careful loop; one byte more, in the fast one.
    Bits fenster = Bits().gespeichert(false, zufall(40000, 7)).fest(true), kurz = Bits().gespeichert(false, Bytes(300));
    kurz.fest(true).match(3, 301);
    for (int i = 0; i < 40; ++i) fenster.match(258 - i, 32768 - i * 7).lit(i), kurz.lit(i);
    // The stream with `weg` bytes cut off its end, kap, and the result (-2: all of g.aus up to kap).
    const struct { const char* was; Bits g; size_t kap; int64_t r; size_t weg = 0; } faelle[] = {
        {"no header", Bits(Bytes()), 4, -1},
        {"a 256-byte window, no data: nothing out, the caller judges", Bits({0x08, 0x1D}), 4, 0},
        {"method 7", Bits({0x77, 0x85}), 4, -1},
        {"check bits", Bits({0x78, 0x02}), 4, -1},
        {"preset dictionary", Bits({0x78, 0x20}), 4, -1},
        {"block type 3", Bits().wert(7, 3), 4, -1},
        {"stored", Bits().gespeichert(true, hallo), 5, -2},
        {"stored, cut at kap", Bits().gespeichert(true, hallo), 3, -2},
        {"stored, NLEN not the complement", Bits().gespeichert(true, hallo, 1), 5, -1},
        {"stored, data cut", Bits().gespeichert(true, hallo), 5, 3, 2},
        {"stored after fixed, at a byte boundary", Bits().fest(false).lit('x').ende().gespeichert(true, hallo), 9, -2},
        {"fixed literals of each code length", Bits().fest(true).lit(0).lit(143).lit(144).lit(255).ende(), 9, -2},
        {"fixed symbol 286", Bits().fest(true).lit('a').sym(286), 9, -1},
        {"fixed distance code 30", Bits().fest(true).lit('a').sym(257).code(30, 5), 9, -1},
        {"overlapping match", Bits().fest(true).lit('a').lit('b').match(5, 2).ende(), 9, -2},
        {"distance one past the start", Bits().fest(true).lit('a').lit('b').match(3, 3).ende(), 9, -1},
        {"no end-of-block before the data ends", Bits().fest(false).lit('a').lit('b'), 9, -2},
        // Byte 0 in 1 bit, 255 zeros as repeats, end-of-block in 1 bit, one distance code.
        {"dynamic, repeats fill the lengths",
         Bits().dynamisch(257, 1, {{1, 0}, {18, 127}, {18, 106}, {1, 0}, {1, 0}}).code(1, 3).mit({0, 0}), 9, -2},
        {"dynamic, over-subscribed", Bits().dynamisch(257, 1, {{1, 0}, {1, 0}, {1, 0}}), 9, -1},
        {"dynamic, repeat past the end", Bits().dynamisch(257, 1, {{18, 127}, {18, 127}}), 9, -1},
        {"the full window", fenster.match(258, 32768).ende(), fenster.aus.size(), -2},
        {"one past the window's start", kurz.ende(), 1000, -1},
    };
    for (const auto& f : faelle) {
        const Bytes q = f.g.fertig();
        int64_t r = 0;
        const Bytes aus = entpacke(Bytes(q.begin(), q.end() - long(f.weg)), f.kap, &r);
        EXPECT_EQ(r, f.r == -2 ? int64_t(std::min(f.kap, f.g.aus.size())) : f.r) << f.was;
        EXPECT_EQ(aus, Bytes(f.g.aus.begin(), f.g.aus.begin() + std::max<int64_t>(r, 0))) << f.was;
    }
    const Bytes q = Bits().gespeichert(true, hallo).fertig();
    EXPECT_EQ(bild::inflate_entpacken(q.data(), q.size(), nullptr, 0), 0);  // no buffer for kap 0
}

// Short distances copy overlapping patterns a word at a time: cut at every kap, input cut or damaged at
// every byte, the bytes out are a prefix (damaged: within kap).
TEST(Inflate, UeberlappendAnJedemRand) {
    for (int ab : {1, 2, 3, 5, 7, 8, 9, 15}) {
        Bits g = Bits().fest(true);
        for (unsigned char c : zufall(20, uint32_t(ab))) g.lit(c);
        static constexpr int kLaengen[] = {258, 3, 257, 4, 255, 9, 10, 251, 17, 100, 5};
        for (size_t i = 0; g.aus.size() < 1500; ++i) g.match(kLaengen[i % 11], ab);
        const Bytes q = g.match(258, ab).ende().fertig();
        int64_t r = 0;
        for (size_t kap = 0; kap <= g.aus.size() + 1; ++kap)
            ASSERT_EQ(entpacke(q, kap, &r), Bytes(g.aus.begin(), g.aus.begin() + long(std::min(kap, g.aus.size()))));
        for (size_t m = 0; m < q.size(); ++m) {
            const Bytes aus = entpacke(Bytes(q.begin(), q.begin() + long(m)), g.aus.size(), &r);
            ASSERT_TRUE(r >= (m < 2 ? -1 : 0) && std::equal(aus.begin(), aus.end(), g.aus.begin())) << ab << " " << m;
            Bytes kaputt = q;
            kaputt[m] ^= uint8_t(0x81 >> (m % 8));
            ASSERT_LE(entpacke(kaputt, 600, &r).size(), 600u);
        }
    }
}

#ifdef BILD_TEST_ZLIB
// zlib's streams: stored, fixed, dynamic, windows of 512 bytes to 32 KiB, and Huffman codes of
// Fibonacci-weighted bytes, a tree 18 deep that zlib cuts to 15 bits. Cut at kap, cut short, damaged.
TEST(Inflate, WieZlibSieSchreibt) {
    Bytes text = zufall(5000, 4), fib, lang;
    for (int i = 0; text.size() < 70000; ++i)
        for (char c : "zeile " + std::to_string(i * 37 % 1000) + ": breite, hoehe; ") text.push_back(uint8_t(c));
    for (int i = 0, a = 1, b = 2; i < 18; ++i, b += a, a = b - a) fib.insert(fib.end(), size_t(a), uint8_t('a' + i));
    for (size_t j = 0; j < fib.size(); ++j) lang.push_back(fib[j * 7919 % fib.size()]);
    for (const auto& [d, stufe, fenster, strategie] :
         {std::tuple<const Bytes&, int, int, int>{text, 0, 15, 0}, {text, 1, 15, 0}, {text, 6, 15, 0},
          {text, 9, 15, Z_FIXED}, {text, 9, 9, 0}, {text, 6, 12, Z_RLE}, {lang, 9, 15, Z_HUFFMAN_ONLY}}) {
        z_stream s{};
        deflateInit2(&s, stufe, Z_DEFLATED, fenster, 8, strategie);
        Bytes q(deflateBound(&s, uLong(d.size())));
        s.next_in = const_cast<unsigned char*>(d.data()), s.avail_in = uInt(d.size());
        s.next_out = q.data(), s.avail_out = uInt(q.size());
        deflate(&s, Z_FINISH);
        q.resize(s.total_out);
        deflateEnd(&s);
        int64_t r = 0;
        for (size_t kap : {d.size() + 1000, size_t(1), size_t(777), d.size() - 1})
            EXPECT_EQ(entpacke(q, kap, &r), Bytes(d.begin(), d.begin() + long(std::min(kap, d.size())))) << stufe;
        for (size_t i = 2; i < q.size(); i += 1 + q.size() / 100) {
            Bytes m = q;
            m[i] ^= uint8_t(1 << (i % 8));
            ASSERT_TRUE(entpacke(m, 1000, &r).size() <= 1000 && r >= -1) << i;
        }
    }
}
#endif

}  // namespace
