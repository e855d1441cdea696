// The inflater on the cases that break it: the zlib header, stored blocks,
// fixed and dynamic codes up to 15 bits, bad code sets, the full window,
// short overlapping matches across the fast loop's margins, output cut at
// every position, input cut at every position, damaged bytes. Streams are
// built bit by bit here where zlib cannot make the case. Every result is
// decoded into a buffer of exactly kap bytes, so AddressSanitizer sees any
// access beyond.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "bau.h"
#include "files/codec/inflate.h"

#ifdef BILD_TEST_ZLIB
#include <zlib.h>
#endif

namespace {

Bytes zufall(size_t n, uint32_t saat, int alphabet = 256) {
    Bytes b(n);
    for (auto& c : b) c = uint8_t(((saat = saat * 1103515245u + 12345u) >> 16) % uint32_t(alphabet));
    return b;
}

// The bytes written; the result code in *r.
Bytes entpacke(const Bytes& q, size_t kap, int64_t* r = nullptr) {
    std::unique_ptr<unsigned char[]> z(new unsigned char[kap]);
    const int64_t n = bild::inflate_entpacken(q.data(), q.size(), z.get(), kap);
    if (r) *r = n;
    return Bytes(z.get(), z.get() + std::max<int64_t>(std::min<int64_t>(n, int64_t(kap)), 0));
}

int64_t ergebnis(const Bytes& q, size_t kap) {
    int64_t r = 0;
    entpacke(q, kap, &r);
    return r;
}

constexpr uint16_t kLaengeBasis[29] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                       31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr uint16_t kAbstandBasis[30] = {1,   2,   3,   4,   5,   7,    9,    13,   17,   25,
                                        33,  49,  65,  97,  129, 193,  257,  385,  513,  769,
                                        1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
int extra_laenge(int s) { return s < 8 || s == 28 ? 0 : (s - 4) / 4; }
int extra_abstand(int s) { return s < 4 ? 0 : (s - 2) / 2; }

// Canonical codes of a set of lengths (0: no code).
struct Code {
    std::vector<uint32_t> code;
    std::vector<uint8_t> laenge;
};
Code kanonisch(const std::vector<uint8_t>& l) {
    Code c{std::vector<uint32_t>(l.size()), l};
    uint32_t naechster = 0;
    for (uint8_t n = 1; n <= 15; ++n, naechster <<= 1)
        for (size_t s = 0; s < l.size(); ++s)
            if (l[s] == n) c.code[s] = naechster++;
    return c;
}
Code fest_ll() {
    std::vector<uint8_t> l(288, 8);
    std::fill(l.begin() + 144, l.begin() + 256, 9);
    std::fill(l.begin() + 256, l.begin() + 280, 7);
    return kanonisch(l);
}
const Code kFestLL = fest_ll(), kFestAB = kanonisch(std::vector<uint8_t>(32, 5));

// One symbol of a block: a literal, a match, a raw literal/length symbol or
// (after a length of 3) a raw distance symbol for codes with no meaning, or
// raw bits for codes that are not there.
struct Z {
    int sym = -1, len = 0, ab = 0, rohab = -1, rohbits = 0;
};
Z L(int c) { return Z{c}; }
Z M(int len, int ab) { return Z{-1, len, ab}; }
Z S(int sym) { return Z{sym}; }
Z D(int sym) { return Z{-1, 3, 0, sym}; }
Z R(int wert, int bits) { return Z{-1, wert, 0, -1, bits}; }

Bytes erwartet(const std::vector<Z>& z, Bytes vorher = {}) {
    for (const Z& t : z)
        if (t.sym >= 0) vorher.push_back(uint8_t(t.sym));
        else
            for (int i = 0; i < t.len; ++i) vorher.push_back(vorher[vorher.size() - size_t(t.ab)]);
    return vorher;
}

// A dynamic block's header as sent: HLIT/HDIST, the code-length code's
// lengths by symbol, and the code-length symbols with their repeat values.
struct Kopf {
    int nlaenge = 0, nabstand = 0;
    std::vector<uint8_t> cl = std::vector<uint8_t>(19, 5);
    std::vector<std::pair<int, int>> folge;
};

// Deflate bits after a zlib header: values first bit lowest, Huffman codes
// from their top bit.
struct Bits {
    Bytes b;
    uint64_t acc = 0;
    int n = 0;

    Bits() : b(2) {
        b[0] = 0x78;
        b[1] = 0x01;
    }

    Bits& wert(uint32_t v, int k) {
        acc |= uint64_t(v) << n;
        for (n += k; n >= 8; n -= 8, acc >>= 8) b.push_back(uint8_t(acc));
        return *this;
    }
    Bits& code(uint32_t c, int k) {
        for (int i = k - 1; i >= 0; --i) wert((c >> i) & 1, 1);
        return *this;
    }
    Bits& ausrichten() { return n ? wert(0, 8 - n) : *this; }
    Bytes fertig() const {
        Bytes r = b;
        if (n) r.push_back(uint8_t(acc));
        return r;
    }

    Bits& gespeichert(bool letzter, const Bytes& d, uint32_t nlen_fehler = 0) {
        wert(letzter, 1).wert(0, 2).ausrichten().wert(uint32_t(d.size()), 16);
        wert(uint32_t(~d.size() ^ nlen_fehler) & 0xFFFF, 16);
        for (unsigned char c : d) wert(c, 8);
        return *this;
    }
    Bits& symbole(const Code& ll, const Code& ab, const std::vector<Z>& z, bool ende) {
        for (const Z& t : z) {
            if (t.rohbits) {
                wert(uint32_t(t.len), t.rohbits);
                continue;
            }
            if (t.sym >= 0) {
                code(ll.code[size_t(t.sym)], ll.laenge[size_t(t.sym)]);
                continue;
            }
            int s = 28;
            while (kLaengeBasis[s] > t.len) --s;
            code(ll.code[size_t(257 + s)], ll.laenge[size_t(257 + s)]);
            wert(uint32_t(t.len - kLaengeBasis[s]), extra_laenge(s));
            if (t.rohab >= 0) {
                code(ab.code[size_t(t.rohab)], ab.laenge[size_t(t.rohab)]);
                continue;
            }
            int d = 29;
            while (kAbstandBasis[d] > t.ab) --d;
            code(ab.code[size_t(d)], ab.laenge[size_t(d)]).wert(uint32_t(t.ab - kAbstandBasis[d]), extra_abstand(d));
        }
        return ende ? code(ll.code[256], ll.laenge[256]) : *this;
    }
    Bits& fest(bool letzter, const std::vector<Z>& z, bool ende = true) {
        return wert(letzter, 1).wert(1, 2).symbole(kFestLL, kFestAB, z, ende);
    }
    // With `k.folge` empty the lengths go plainly, one symbol each.
    Bits& dynamisch(bool letzter, const std::vector<uint8_t>& ll, const std::vector<uint8_t>& ab,
                    const std::vector<Z>& z, Kopf k = {}) {
        static constexpr uint8_t kReihenfolge[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
        const int nl = k.nlaenge ? k.nlaenge : int(ll.size()), na = k.nabstand ? k.nabstand : int(ab.size());
        wert(letzter, 1).wert(2, 2).wert(uint32_t(nl - 257), 5).wert(uint32_t(na - 1), 5).wert(19 - 4, 4);
        for (uint8_t s : kReihenfolge) wert(k.cl[s], 3);
        const Code cl = kanonisch(k.cl);
        if (k.folge.empty()) {
            for (uint8_t l : ll) k.folge.push_back({l, 0});
            for (uint8_t l : ab) k.folge.push_back({l, 0});
        }
        for (auto [s, x] : k.folge) {
            code(cl.code[size_t(s)], cl.laenge[size_t(s)]);
            wert(uint32_t(x), s == 16 ? 2 : s == 17 ? 3 : s == 18 ? 7 : 0);
        }
        return symbole(kanonisch(ll), kanonisch(ab), z, true);
    }
};

// A literal/length code with every length from 1 to 15: 'A'.. get 1..13 bits,
// a length of 3 (257) 14, 'Z' and end-of-block 15. Distances likewise: 1 in
// one bit, up to code 15 (193..256) in 15.
std::vector<uint8_t> lang_ll() {
    std::vector<uint8_t> l(258, 0);
    for (int i = 0; i < 13; ++i) l[size_t('A' + i)] = uint8_t(i + 1);
    l[257] = 14;
    l['Z'] = l[256] = 15;
    return l;
}
std::vector<uint8_t> lang_ab() {
    std::vector<uint8_t> l(16);
    for (int i = 0; i < 14; ++i) l[size_t(i)] = uint8_t(i + 1);
    l[14] = l[15] = 15;
    return l;
}

TEST(Inflate, Kopf) {
    const struct {
        Bytes q;
        int64_t r;
    } faelle[] = {
        {{}, -1},           {{0x78}, -1},       {{0x78, 0x01}, 0},  // no data: nothing out, the caller judges
        {{0x08, 0x1D}, 0},  // a 256-byte window
        {{0x77, 0x85}, -1},  // method 7
        {{0x88, 0x1C}, -1},  // a 64 KiB window
        {{0x78, 0x02}, -1},  // check bits
        {{0x78, 0x20}, -1},  // preset dictionary
    };
    for (const auto& f : faelle) EXPECT_EQ(ergebnis(f.q, 4), f.r) << testing::PrintToString(f.q);
}

TEST(Inflate, GespeicherteBloecke) {
    const Bytes hallo = {'h', 'a', 'l', 'l', 'o'};
    Bytes abgeschnitten = Bits().gespeichert(true, hallo).fertig();
    abgeschnitten.resize(abgeschnitten.size() - 2);
    Bytes ohne_laenge = Bits().gespeichert(true, hallo).fertig();
    ohne_laenge.resize(5);
    const struct {
        const char* name;
        Bytes q;
        size_t kap;
        int64_t r;
        Bytes aus;
    } faelle[] = {
        {"empty", Bits().gespeichert(true, {}).fertig(), 0, 0, {}},
        {"empty, room left", Bits().gespeichert(true, {}).fertig(), 4, 0, {}},
        {"whole", Bits().gespeichert(true, hallo).fertig(), 5, 5, hallo},
        {"cut at kap", Bits().gespeichert(true, hallo).fertig(), 3, 3, {'h', 'a', 'l'}},
        {"NLEN not the complement", Bits().gespeichert(true, hallo, 1).fertig(), 5, -1, {}},
        {"data cut", abgeschnitten, 5, 3, {'h', 'a', 'l'}},
        {"LEN cut", ohne_laenge, 5, 0, {}},
        {"two blocks", Bits().gespeichert(false, hallo).gespeichert(true, {'!'}).fertig(), 6, 6,
         {'h', 'a', 'l', 'l', 'o', '!'}},
        {"after a fixed block, at a byte boundary", Bits().fest(false, {L('x')}).gespeichert(true, hallo).fertig(), 6,
         6,
         {'x', 'h', 'a', 'l', 'l', 'o'}},
        {"block type 3", Bits().wert(1, 1).wert(3, 2).fertig(), 5, -1, {}},
    };
    for (const auto& f : faelle) {
        int64_t r = 0;
        const Bytes aus = entpacke(f.q, f.kap, &r);
        EXPECT_EQ(r, f.r) << f.name;
        if (r >= 0) {
            EXPECT_EQ(aus, f.aus) << f.name;
        }
    }
}

TEST(Inflate, FesteUndDynamischeCodes) {
    std::vector<Z> lang;  // every code of lang_ll/lang_ab, the long ones often, past the fast loop's margins
    for (int i = 0; i < 300; ++i) lang.push_back(L('A' + i % 13));
    for (int i = 0; i < 60; ++i) {
        lang.push_back(L('Z'));
        lang.push_back(M(3, 1 + i % 14 * 2 % 193));
        lang.push_back(M(3, 193 + i));
    }
    std::vector<uint8_t> ohne_ende = lang_ll(), unvollstaendig(258, 0), ll_ueber = lang_ll(), ab_ueber = lang_ab();
    ohne_ende[256] = 0;
    unvollstaendig['a'] = unvollstaendig[256] = 2;  // half the codes unused
    ll_ueber['Y'] = 1;
    ab_ueber.push_back(3);  // a 17th code where 16 fill the space
    auto wdh = [](std::vector<std::pair<int, int>> v) {
        Kopf k;
        k.folge = std::move(v);
        return k;
    };
    Kopf nlaenge287, nabstand31, cl_ueber;
    nlaenge287.nlaenge = 287;
    nabstand31.nabstand = 31;
    cl_ueber.cl = std::vector<uint8_t>(19, 1);
    Bytes kopf_ab = Bits().dynamisch(true, lang_ll(), lang_ab(), {}).fertig();
    kopf_ab.resize(20);
    const std::vector<uint8_t> ab1 = {1};
    // 258 lengths of 9 as one, 42 repeats of six, one of three, two more; then the distance.
    std::vector<std::pair<int, int>> neun = {{9, 0}};
    for (int i = 0; i < 42; ++i) neun.push_back({16, 3});
    neun.insert(neun.end(), {{16, 0}, {9, 0}, {9, 0}, {1, 0}});
    const Kopf neunen = wdh(neun);
    const struct {
        const char* name;
        Bytes q;
        int64_t r;  // -2: all of erwartet
        Bytes aus;
    } faelle[] = {
        {"fixed literals at each code length", Bits().fest(true, {L(0), L(143), L(144), L(255)}).fertig(), -2,
         {0, 143, 144, 255}},
        {"fixed symbol 286", Bits().fest(true, {L('a'), S(286)}).fertig(), -1, {}},
        {"fixed symbol 287", Bits().fest(true, {L('a'), S(287)}).fertig(), -1, {}},
        {"fixed distance code 30", Bits().fest(true, {L('a'), D(30)}).fertig(), -1, {}},
        {"fixed distance code 31", Bits().fest(true, {L('a'), D(31)}).fertig(), -1, {}},
        {"overlapping match", Bits().fest(true, {L('a'), L('b'), M(5, 2)}).fertig(), -2,
         {'a', 'b', 'a', 'b', 'a', 'b', 'a'}},
        {"distance one past the start", Bits().fest(true, {L('a'), L('b'), M(3, 3)}).fertig(), -1, {}},
        {"distance at the start of nothing", Bits().fest(true, {M(3, 1)}).fertig(), -1, {}},
        {"no end-of-block before the data ends", Bits().fest(false, {L('a'), L('b')}, false).fertig(), 2, {'a', 'b'}},
        {"no last block before the data ends", Bits().fest(false, {L('a')}).fertig(), 1, {'a'}},
        {"15-bit codes", Bits().dynamisch(true, lang_ll(), lang_ab(), lang).fertig(), -2, erwartet(lang)},
        {"only one distance code", Bits().dynamisch(true, lang_ll(), ab1, {L('A'), M(3, 1)}).fertig(), -2,
         {'A', 'A', 'A', 'A'}},
        {"no distance code, no match", Bits().dynamisch(true, lang_ll(), {0}, {L('A')}).fertig(), -2, {'A'}},
        {"no distance code, a match", Bits().dynamisch(true, lang_ll(), {0}, {L('A'), D(0)}).fertig(), -1, {}},
        {"incomplete code, used codes", Bits().dynamisch(true, unvollstaendig, ab1, {L('a'), L('a')}).fertig(), -2,
         {'a', 'a'}},
        {"incomplete code, unused code met",
         Bits().dynamisch(true, unvollstaendig, ab1, {L('a'), R(0x7FFF, 15)}).fertig(), -1, {}},
        {"no end-of-block code", Bits().dynamisch(true, ohne_ende, lang_ab(), {}).fertig(), -1, {}},
        {"literal/length code over-subscribed", Bits().dynamisch(true, ll_ueber, lang_ab(), {}).fertig(), -1, {}},
        {"distance code over-subscribed", Bits().dynamisch(true, lang_ll(), ab_ueber, {}).fertig(), -1, {}},
        {"code-length code over-subscribed", Bits().dynamisch(true, lang_ll(), lang_ab(), {}, cl_ueber).fertig(), -1,
         {}},
        {"287 literal/length codes", Bits().dynamisch(true, lang_ll(), lang_ab(), {}, nlaenge287).fertig(), -1, {}},
        {"31 distance codes", Bits().dynamisch(true, lang_ll(), lang_ab(), {}, nabstand31).fertig(), -1, {}},
        {"repeat with nothing before", Bits().dynamisch(true, lang_ll(), ab1, {}, wdh({{16, 0}})).fertig(), -1, {}},
        {"repeat past the end",
         Bits().dynamisch(true, lang_ll(), ab1, {}, wdh({{18, 127}, {18, 127}, {1, 0}, {1, 0}, {18, 0}})).fertig(), -1,
         {}},
        {"repeats fill the lengths",
         Bits().dynamisch(true, std::vector<uint8_t>(258, 9), ab1, {L('q')}, neunen).fertig(), -2, {'q'}},
        {"header cut", kopf_ab, -1, {}},
    };
    for (const auto& f : faelle) {
        const size_t kap = f.r == -2 ? f.aus.size() : f.aus.size() + 10;
        int64_t r = 0;
        const Bytes aus = entpacke(f.q, kap, &r);
        EXPECT_EQ(r, f.r == -2 ? int64_t(kap) : f.r) << f.name;
        if (r >= 0) {
            EXPECT_EQ(aus, f.aus) << f.name;
        }
    }
}

// Matches that reach back the whole window, and one byte further, in the
// fast loop (literals after them) and in the careful one (nothing after).
TEST(Inflate, Fenster) {
    const Bytes vorher = zufall(40000, 7);
    std::vector<Z> z;
    for (int i = 0; i < 20; ++i) z.push_back(M(258 - i, 32768 - i * 7));
    const Bytes q = Bits().gespeichert(false, vorher).fest(true, z).fertig();
    EXPECT_EQ(entpacke(q, 40000 + 20 * 258), erwartet(z, vorher));
    const Bytes kurz(vorher.begin(), vorher.begin() + 300);
    for (int danach : {0, 40})
        for (int ueber : {0, 1}) {
            std::vector<Z> m = {M(3, 300 + ueber)};
            for (int i = 0; i < danach; ++i) m.push_back(L(i));
            const int64_t r = ergebnis(Bits().gespeichert(false, kurz).fest(true, m).fertig(), 1000);
            EXPECT_EQ(r, ueber ? -1 : 303 + danach) << danach;
        }
    EXPECT_EQ(ergebnis(Bits().fest(true, {M(3, 1), L(1), L(2), L(3), L(4), L(5), L(6), L(7), L(8), L(9), L(10),
                                           L(11), L(12), L(13), L(14), L(15), L(16), L(17), L(18), L(19), L(20)})
                           .fertig(),
                       1000),
              -1);
}

// Short distances copy overlapping patterns; word copies must not read what
// they have not written yet. Output cut at every kap and input cut at every
// length cover both ends of the fast loop.
TEST(Inflate, UeberlappendAnDenRaendern) {
    for (int ab : {1, 2, 3, 7, 8, 9, 15}) {
        std::vector<Z> z;
        const Bytes start = zufall(20, uint32_t(ab));
        for (unsigned char c : start) z.push_back(L(c));
        // The longest matches write most past their end; they come early
        // and again among the last input bytes.
        static constexpr int kLaengen[] = {258, 3, 257, 4, 255, 9, 10, 251, 17, 100, 5};
        for (size_t n = 20, i = 0; n < 3000; n += size_t(kLaengen[i++ % 11])) z.push_back(M(kLaengen[i % 11], ab));
        for (int i = 0; i < 3; ++i) z.push_back(M(258, ab));
        const Bytes voll = erwartet(z);
        const Bytes q = Bits().fest(true, z).fertig();
        for (size_t kap = 0; kap <= voll.size(); ++kap) {
            int64_t r = 0;
            const Bytes aus = entpacke(q, kap, &r);
            ASSERT_EQ(r, int64_t(kap)) << ab;
            ASSERT_TRUE(std::equal(aus.begin(), aus.end(), voll.begin())) << ab << " " << kap;
        }
        EXPECT_EQ(ergebnis(q, voll.size() + 300), int64_t(voll.size()));
        for (size_t m = 0; m < q.size(); ++m) {
            int64_t r = 0;
            const Bytes aus = entpacke(Bytes(q.begin(), q.begin() + long(m)), voll.size(), &r);
            ASSERT_GE(r, -1) << ab << " " << m;
            ASSERT_TRUE(std::equal(aus.begin(), aus.end(), voll.begin())) << ab << " " << m;
        }
    }
}

// Reference streams and data for the round trips and the damage test: zlib's
// where it is there, else the hand-built ones.
struct Fall {
    Bytes q, d;
};

std::vector<Fall> referenz() {
    Bytes d = zufall(70000, 3, 12);
    const Bytes rauschen = zufall(5000, 4);
    d.insert(d.begin() + 1000, rauschen.begin(), rauschen.end());
    for (size_t i = 40000; i < 41000; ++i) d[i] = d[i - 32768];
    std::vector<Fall> v;
#ifdef BILD_TEST_ZLIB
    // Levels 0 (stored), 1, 6, 9; fixed codes only, Huffman only, runs only;
    // windows of 256 bytes to 32 KiB.
    const int faelle[][4] = {{0, 15, 0, 0}, {1, 15, 0, 0}, {6, 15, 0, 0}, {9, 15, 0, 0}, {9, 15, 0, Z_FIXED},
                             {6, 15, 0, Z_HUFFMAN_ONLY}, {6, 15, 0, Z_RLE}, {9, 9, 0, 0}, {6, 12, 1, 0}};
    for (const auto& f : faelle) {
        z_stream s{};
        deflateInit2(&s, f[0], Z_DEFLATED, f[1], f[2] ? 1 : 8, f[3]);
        Bytes q(deflateBound(&s, uLong(d.size())));
        s.next_in = d.data();
        s.avail_in = uInt(d.size());
        s.next_out = q.data();
        s.avail_out = uInt(q.size());
        deflate(&s, Z_FINISH);
        q.resize(s.total_out);
        deflateEnd(&s);
        v.push_back({q, d});
    }
#else
    Bits g;  // stored blocks hold at most 65535 bytes
    for (size_t i = 0; i < d.size(); i += 65535) {
        const size_t ende = std::min(d.size(), i + 65535);
        g.gespeichert(ende == d.size(), Bytes(d.begin() + long(i), d.begin() + long(ende)));
    }
    v.push_back({g.fertig(), d});
#endif
    std::vector<Z> z;
    for (int i = 0; i < 2000; ++i) z.push_back(i < 600 || i % 5 ? L(i * 7 % 256) : M(3 + i % 250, 1 + i % 600));
    v.push_back({Bits().fest(true, z).fertig(), erwartet(z)});
    z.clear();
    for (int i = 0; i < 900; ++i) z.push_back(i < 300 || i % 3 ? L('A' + i % 13) : M(3, 1 + i % 256));
    v.push_back({Bits().dynamisch(true, lang_ll(), lang_ab(), z).fertig(), erwartet(z)});
    return v;
}

TEST(Inflate, ReferenzStroeme) {
    for (const Fall& f : referenz()) {
        EXPECT_EQ(entpacke(f.q, f.d.size()), f.d);
        for (size_t kap : {size_t(0), size_t(1), size_t(777), f.d.size() - 1})
            EXPECT_EQ(entpacke(f.q, kap), Bytes(f.d.begin(), f.d.begin() + long(kap)));
        int64_t r = 0;
        const Bytes halb = entpacke(Bytes(f.q.begin(), f.q.begin() + long(f.q.size() / 2)), f.d.size(), &r);
        EXPECT_LT(r, int64_t(f.d.size()));  // truncated: short or -1, never more than was there
        EXPECT_TRUE(std::equal(halb.begin(), halb.end(), f.d.begin()));
    }
}

// One damaged byte anywhere: a result in [-1, kap] and no access outside.
TEST(Inflate, BeschaedigtesByte) {
    for (const Fall& f : referenz()) {
        const size_t schritt = std::max<size_t>(1, f.q.size() / 150);
        for (size_t i = 0; i < f.q.size(); i += schritt)
            for (unsigned char x : {0x01, 0xFF}) {
                Bytes m = f.q;
                m[i] ^= x;
                for (size_t kap : {f.d.size(), size_t(1000)}) {
                    const int64_t r = ergebnis(m, kap);
                    ASSERT_GE(r, -1);
                    ASSERT_LE(r, int64_t(kap));
                }
            }
    }
}

}  // namespace
