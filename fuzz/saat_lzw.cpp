// Seeds of fuzz_lzw: kap in two bytes, then bau.h's LZW of 5000 bytes of 3 and 256 kinds (long
// strings, KwKwK, every code width, a reset).
#include "saat_codec.h"

static CodecSaat saat("lzw", [] {
    std::vector<Bytes> v;
    for (unsigned alphabet : {3u, 256u}) {
        Bytes d(5000), q = {5000 >> 8, 5000 & 255};
        for (size_t i = 0; i < d.size(); ++i) d[i] = uint8_t((i * i * 2654435761u >> 13) % alphabet);
        for (unsigned char c : lzw(d)) q.push_back(c);
        v.push_back(q);
    }
    return v;
});
