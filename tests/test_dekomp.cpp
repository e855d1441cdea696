// The TIFF decoders on the cases that break decoders: PackBits runs of 128,
// LZW code width changes and table resets, Deflate stored/fixed/dynamic
// blocks, and damaged data that must never write past the buffer.
#include "files/tiff_dekomp.h"
#include "tiff_bau.h"

namespace {

Bytes zufall(size_t n, uint32_t saat, int alphabet = 256) {
    Bytes b(n);
    for (auto& c : b) {
        saat = saat * 1103515245u + 12345u;
        c = uint8_t((saat >> 16) % uint32_t(alphabet));
    }
    return b;
}

using Dekoder = int64_t (*)(const unsigned char*, size_t, unsigned char*, size_t);

Bytes entpacke(Dekoder f, const Bytes& q, size_t kap, int64_t* n = nullptr) {
    Bytes z(kap);  // exactly kap: AddressSanitizer sees any write beyond
    const int64_t r = f(q.data(), q.size(), z.data(), kap);
    if (n) *n = r;
    z.resize(size_t(std::max<int64_t>(r, 0)));
    return z;
}

// A zlib stream from Python's zlib: level 0 gives stored blocks, strategy
// Z_FIXED fixed ones, level 9 on varied data dynamic ones. Empty when no
// Python is at hand.
Bytes zlib(const std::string& pfad, const Bytes& d, int level, int strategie) {
    schreib_datei(pfad, d);
    const std::string py = "import zlib,sys; d=open(sys.argv[1],'rb').read(); c=zlib.compressobj(" +
                           std::to_string(level) + ",8,15,9," + std::to_string(strategie) +
                           "); sys.stdout.buffer.write(c.compress(d)+c.flush())";
    const std::string out = laufe("/usr/bin/python3 -c \"" + py + "\" '" + pfad + "' 2>/dev/null");
    return Bytes(out.begin(), out.end());
}

}  // namespace

TEST(Dekomp, PackBitsRunsOf128NoOpsAndCuts) {
    Bytes q = {0x81, 'a', 0x80, 0x7F};  // 128 x 'a', a no-op, 128 literal bytes
    const Bytes literal = zufall(128, 7);
    q.insert(q.end(), literal.begin(), literal.end());
    Bytes soll(128, 'a');
    soll.insert(soll.end(), literal.begin(), literal.end());
    EXPECT_EQ(entpacke(bild::packbits_entpacken, q, 256), soll);
    // Cut by the buffer inside a run and inside a literal; nothing beyond.
    EXPECT_EQ(entpacke(bild::packbits_entpacken, q, 100), Bytes(100, 'a'));
    EXPECT_EQ(entpacke(bild::packbits_entpacken, q, 130), Bytes(soll.begin(), soll.begin() + 130));
    // Data ending inside a literal or before a run's byte gives what is there.
    EXPECT_EQ(entpacke(bild::packbits_entpacken, Bytes{0x03, 1, 2}, 8), (Bytes{1, 2}));
    EXPECT_EQ(entpacke(bild::packbits_entpacken, Bytes{0x02, 9, 9, 9, 0xFE}, 8), (Bytes{9, 9, 9}));
}

TEST(Dekomp, LzwAcrossEveryCodeWidthAndTableReset) {
    // 9 to 12 bits and several resets: random bytes make about one entry
    // per code; a small alphabet makes long strings (the KwKwK case).
    for (size_t n : {size_t(1), size_t(2), size_t(600), size_t(1500), size_t(3500), size_t(30000)}) {
        for (int alphabet : {2, 256}) {
            const Bytes d = zufall(n, uint32_t(n) + uint32_t(alphabet), alphabet);
            const Bytes q = lzw(d);
            int64_t r = 0;
            EXPECT_EQ(entpacke(bild::lzw_entpacken, q, n, &r), d) << n << " " << alphabet;
            // A buffer one byte short gets exactly its bytes.
            EXPECT_EQ(entpacke(bild::lzw_entpacken, q, n - 1), Bytes(d.begin(), d.end() - 1));
        }
    }
    // A code not yet defined, or a string code right after Clear: undecodable.
    Bytes z(8);
    EXPECT_EQ(bild::lzw_entpacken(Bytes{0x80, 0x4B, 0x00}.data(), 3, z.data(), 8), -1);        // 256, 300
    EXPECT_EQ(bild::lzw_entpacken(Bytes{0x80, 0x10, 0x60, 0x60}.data(), 4, z.data(), 8), -1);  // 256, 'A', 259
}

TEST(Dekomp, InflateStoredBlockByHand) {
    const Bytes q = {0x78, 0x01, 0x01, 5, 0, 0xFA, 0xFF, 'h', 'a', 'l', 'l', 'o'};
    EXPECT_EQ(entpacke(bild::inflate_entpacken, q, 5), (Bytes{'h', 'a', 'l', 'l', 'o'}));
    EXPECT_EQ(entpacke(bild::inflate_entpacken, q, 3), (Bytes{'h', 'a', 'l'}));
    int64_t r = 0;
    Bytes falsch = q;
    falsch[5] = 0;  // NLEN is not the complement of LEN
    entpacke(bild::inflate_entpacken, falsch, 5, &r);
    EXPECT_EQ(r, -1);
    falsch = q;
    falsch[0] = 0x79;  // not method 8 / header check fails
    entpacke(bild::inflate_entpacken, falsch, 5, &r);
    EXPECT_EQ(r, -1);
}

class DekompZlib : public Ordner {};

TEST_F(DekompZlib, InflateStoredFixedAndDynamicBlocks) {
    // Text-like data with repeats (long matches, far distances) and noise.
    Bytes d = zufall(70000, 3, 12);
    const Bytes rauschen = zufall(5000, 4);
    d.insert(d.begin() + 1000, rauschen.begin(), rauschen.end());
    for (size_t i = 40000; i < 41000; ++i) d[i] = d[i - 33000];
    struct Fall { int level, strategie; };
    for (Fall f : {Fall{0, 0}, Fall{9, 4}, Fall{9, 0}, Fall{1, 0}}) {
        const Bytes q = zlib(pfad("d"), d, f.level, f.strategie);
        if (q.empty()) GTEST_SKIP() << "/usr/bin/python3 not available";
        EXPECT_EQ(entpacke(bild::inflate_entpacken, q, d.size()), d) << f.level << " " << f.strategie;
        EXPECT_EQ(entpacke(bild::inflate_entpacken, q, 777), Bytes(d.begin(), d.begin() + 777));
        // Truncated data: a short result, never more than was there.
        int64_t r = 0;
        entpacke(bild::inflate_entpacken, Bytes(q.begin(), q.begin() + long(q.size() / 2)), d.size(), &r);
        EXPECT_LT(r, int64_t(d.size()));
    }
}

TEST_F(DekompZlib, DamagedDataStaysInsideTheBuffer) {
    const Bytes d = zufall(3000, 9, 20);
    std::vector<std::pair<Dekoder, Bytes>> stroeme = {{bild::lzw_entpacken, lzw(d)},
                                                       {bild::packbits_entpacken, zufall(600, 5)}};
    const Bytes z = zlib(pfad("d"), d, 9, 0);
    if (!z.empty()) stroeme.push_back({bild::inflate_entpacken, z});
    uint32_t saat = 1;
    for (auto& [f, q] : stroeme) {
        for (int runde = 0; runde < 400; ++runde) {
            Bytes m = q;
            for (int k = 0; k < 1 + runde % 4; ++k) {
                saat = saat * 1103515245u + 12345u;
                m[(saat >> 8) % m.size()] ^= uint8_t(1 + (saat >> 24) % 255);
            }
            for (size_t kap : {size_t(0), size_t(1), size_t(1000), d.size()}) {
                int64_t r = 0;
                entpacke(f, m, kap, &r);
                EXPECT_LE(r, int64_t(kap));
            }
        }
    }
}
