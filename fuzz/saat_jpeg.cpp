// Seed of fuzz_jpeg: three bytes (width - 1, height - 1, channels and conversion), then a 32 x 32
// gray stream whose tables have one code each (DC difference 0, end of block): two bits a block.
#include "saat_codec.h"

static CodecSaat saat("jpeg", [] {
    Bytes s = {31, 31, 0, 0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
    s.resize(s.size() + 64, 1);
    for (int klasse : {0x00, 0x10})
        for (int b : {0xFF, 0xC4, 0, 20, klasse, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})
            s.push_back(uint8_t(b));
    for (int b : {0xFF, 0xC0, 0, 11, 8, 0, 32, 0, 32, 1, 1, 0x11, 0, 0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 63, 0, 0, 0, 0, 0,
                  0xFF, 0xD9})
        s.push_back(uint8_t(b));
    return std::vector<Bytes>{s};
});
