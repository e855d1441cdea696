// Seeds of fuzz_packbits: kap in two bytes, then PackBits data: literal and
// repeat runs of every length up to 128, no-ops, runs cut by kap and by the
// data's end.
#include <cstddef>
#include <cstdint>

#include "saat_codec.h"

namespace {

std::vector<Bytes> saaten() {
    Bytes q;
    size_t voll = 0;
    for (int n = 1; n <= 128; n += 9) {
        q.push_back(uint8_t(n - 1));  // n literal bytes
        for (int i = 0; i < n; ++i) q.push_back(uint8_t(i * 7 + n));
        q.push_back(uint8_t(257 - (n + 1)));  // n + 1 times one byte
        q.push_back(uint8_t(n));
        q.push_back(0x80);
        voll += size_t(2 * n + 1);
    }
    std::vector<Bytes> v;
    for (size_t kap : {voll, voll / 3, voll + 10}) {
        Bytes b = {uint8_t(kap >> 8), uint8_t(kap)};
        b.insert(b.end(), q.begin(), q.end());
        v.push_back(b);
    }
    v.push_back(Bytes(v[0].begin(), v[0].begin() + long(v[0].size() / 2)));
    return v;
}

static CodecSaat saat("packbits", saaten);

}  // namespace
