// PackBits and LZW on the cases that break them: runs of 128, code width
// changes and table resets, output cut at the buffer's end, damaged data.
#include "files/codec/lzw.h"
#include "files/codec/packbits.h"
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

}  // namespace

TEST(Dekomp, PackBitsRunsLiteralsAndCuts) {
    Bytes q = {0x81, 'a', 0x80, 0x7F};  // 128 x 'a', a no-op, 128 literal bytes
    const Bytes literal = zufall(128, 7);
    q.insert(q.end(), literal.begin(), literal.end());
    Bytes soll(256, 'a');
    std::copy(literal.begin(), literal.end(), soll.begin() + 128);
    EXPECT_EQ(entpacke(bild::packbits_entpacken, q, 256), soll);
    EXPECT_EQ(entpacke(bild::packbits_entpacken, q, 130), Bytes(soll.begin(), soll.begin() + 130));  // cut
    EXPECT_EQ(entpacke(bild::packbits_entpacken, Bytes{0x03, 1, 2}, 8), (Bytes{1, 2}));  // data ends early
}

TEST(Dekomp, LzwAcrossEveryCodeWidthAndTableReset) {
    // Random bytes make about one entry per code (9 to 12 bits, resets);
    // two letters make long strings and the code being defined (KwKwK).
    for (size_t n : {size_t(1), size_t(600), size_t(1500), size_t(3500), size_t(30000)})
        for (int alphabet : {2, 256}) {
            const Bytes d = zufall(n, uint32_t(n) + uint32_t(alphabet), alphabet);
            EXPECT_EQ(entpacke(bild::lzw_entpacken, lzw(d), n), d) << n << " " << alphabet;
            EXPECT_EQ(entpacke(bild::lzw_entpacken, lzw(d), n - 1), Bytes(d.begin(), d.end() - 1));
        }
    Bytes z(8);  // a string code right after Clear; a code not yet defined
    EXPECT_EQ(bild::lzw_entpacken(Bytes{0x80, 0x4B, 0x00}.data(), 3, z.data(), 8), -1);        // 256, 300
    EXPECT_EQ(bild::lzw_entpacken(Bytes{0x80, 0x10, 0x60, 0x60}.data(), 4, z.data(), 8), -1);  // 256, 'A', 259
}
