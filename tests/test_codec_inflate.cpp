// The inflater on the cases that break it: stored, fixed and dynamic blocks,
// far distances, output cut at the buffer's end, damaged data.
#include "files/codec/inflate.h"
#include "hilfe.h"
#include "tiff_bau.h"

namespace {

Bytes zufall(size_t n, uint32_t saat, int alphabet = 256) {
    Bytes b(n);
    for (auto& c : b) c = uint8_t(((saat = saat * 1103515245u + 12345u) >> 16) % uint32_t(alphabet));
    return b;
}

using Dekoder = int64_t (*)(const unsigned char*, size_t, unsigned char*, size_t);

// Into a buffer of exactly kap bytes, so AddressSanitizer sees any write
// beyond; the result code is returned in *n.
Bytes entpacke(Dekoder f, const Bytes& q, size_t kap, int64_t* n = nullptr) {
    Bytes z(kap);
    const int64_t r = f(q.data(), q.size(), z.data(), kap);
    if (n) *n = r;
    z.resize(size_t(std::max<int64_t>(r, 0)));
    return z;
}

using DekompZlib = Ordner;

}  // namespace

TEST(Dekomp, StoredDeflateByHand) {
    const Bytes z = {0x78, 0x01, 0x01, 5, 0, 0xFA, 0xFF, 'h', 'a', 'l', 'l', 'o'};
    EXPECT_EQ(entpacke(bild::inflate_entpacken, z, 5), (Bytes{'h', 'a', 'l', 'l', 'o'}));
    EXPECT_EQ(entpacke(bild::inflate_entpacken, z, 3), (Bytes{'h', 'a', 'l'}));
    for (size_t stelle : {0, 5}) {  // header check, NLEN not the complement of LEN
        Bytes falsch = z;
        falsch[stelle] ^= 1;
        int64_t r = 0;
        entpacke(bild::inflate_entpacken, falsch, 5, &r);
        EXPECT_EQ(r, -1) << stelle;
    }
}

TEST_F(DekompZlib, InflateStoredFixedDynamicLongDistancesTruncated) {
    // Repeats (long matches, far distances) and noise.
    Bytes d = zufall(70000, 3, 12);
    const Bytes rauschen = zufall(5000, 4);
    d.insert(d.begin() + 1000, rauschen.begin(), rauschen.end());
    for (size_t i = 40000; i < 41000; ++i) d[i] = d[i - 33000];
    schreib_datei(pfad("d"), d);
    // Python's zlib: level 0 gives stored blocks, strategy 4 (Z_FIXED) fixed
    // ones, other levels dynamic ones. Nothing without Python.
    for (const char* art : {"0,8,15,9,0", "9,8,15,9,4", "9,8,15,9,0", "1,8,15,9,0"}) {
        const std::string s = laufe("/usr/bin/python3 -c \"import zlib,sys; c=zlib.compressobj(" + std::string(art) +
                                    "); sys.stdout.buffer.write(c.compress(open(sys.argv[1],'rb').read())+c.flush())\" '" +
                                    pfad("d") + "' 2>/dev/null");
        if (s.empty()) continue;
        const Bytes q(s.begin(), s.end());
        EXPECT_EQ(entpacke(bild::inflate_entpacken, q, d.size()), d) << art;
        EXPECT_EQ(entpacke(bild::inflate_entpacken, q, 777), Bytes(d.begin(), d.begin() + 777));
        int64_t r = 0;
        entpacke(bild::inflate_entpacken, Bytes(q.begin(), q.begin() + long(q.size() / 2)), d.size(), &r);
        EXPECT_LT(r, int64_t(d.size()));  // truncated data: short, never more than was there
        for (size_t i = 0; i < q.size(); i += 97) {  // one damaged byte: a result, never a write past the buffer
            Bytes m = q;
            m[i] ^= 0x5A;
            EXPECT_LE(entpacke(bild::inflate_entpacken, m, 1000).size(), 1000u);
        }
    }
}
