// The JPEG decoder on arbitrary bytes. The first four bytes choose the region
// (width and height 1..512), the channel count and the colour conversion;
// the rest is the stream. The output buffer is exactly the region, so
// AddressSanitizer sees any write beyond it.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "files/codec/jpeg.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    const uint32_t breite = 1 + (data[0] | uint32_t(data[2] & 1) << 8);
    const uint32_t hoehe = 1 + (data[1] | uint32_t(data[2] >> 1 & 1) << 8);
    const int kanaele = data[3] & 1 ? 3 : 1;
    const bool ycbcr = data[3] & 2;
    const size_t zeilenbytes = size_t(breite) * unsigned(kanaele);
    std::vector<unsigned char> ziel(zeilenbytes * hoehe);
    uint32_t fertig = 0;
    const int r = bild::jpeg_entpacken(nullptr, 0, data + 4, size - 4, ycbcr, ziel.data(), zeilenbytes, breite,
                                       hoehe, kanaele, &fertig);
    if (fertig > hoehe || (r == 0 && fertig != hoehe)) __builtin_trap();
    return 0;
}
