// Seeds of fuzz_lzw: kap in two bytes, then LZW data from tiff_bau.h's
// encoder: single bytes through every code width and a table reset, long
// strings and KwKwK codes, a strip cut short, kap below the whole.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "saat_codec.h"
#include "tiff_bau.h"

namespace {

Bytes mit_kap(size_t kap, const Bytes& q) {
    Bytes b(2 + q.size());
    b[0] = uint8_t(kap >> 8);
    b[1] = uint8_t(kap);
    std::copy(q.begin(), q.end(), b.begin() + 2);
    return b;
}

std::vector<Bytes> saaten() {
    std::vector<Bytes> v;
    uint32_t x = 5;
    for (size_t n : {size_t(40), size_t(1200), size_t(5000)})
        for (int alphabet : {2, 17, 256}) {
            Bytes d(n);
            for (auto& c : d) c = uint8_t(((x = x * 1103515245u + 12345u) >> 16) % uint32_t(alphabet));
            const Bytes q = lzw(d);
            v.push_back(mit_kap(n, q));
            v.push_back(mit_kap(n / 2, q));
            v.push_back(mit_kap(n, Bytes(q.begin(), q.begin() + long(q.size() / 2))));
        }
    v.push_back(mit_kap(3000, lzw(Bytes(3000, 'a'))));
    return v;
}

static CodecSaat saat("lzw", saaten);

}  // namespace
