// Seed of fuzz_packbits: kap in two bytes (a third of the whole), then literal and repeat runs of 1 to
// 128 bytes and no-ops.
#include "saat_codec.h"

static CodecSaat saat("packbits", [] {
    Bytes q = {0, 200};
    for (int n = 1; n <= 128; n += 9) {
        q.push_back(uint8_t(n - 1));  // n literal bytes, then one byte n + 1 times, then a no-op
        for (int i = 0; i < n; ++i) q.push_back(uint8_t(i * 7 + n));
        for (int b : {256 - n, n, 0x80}) q.push_back(uint8_t(b));
    }
    return std::vector<Bytes>{q};
});
