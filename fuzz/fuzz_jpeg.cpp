// The JPEG decoder on arbitrary bytes after three: width and height 1..256, channels and colour
// conversion. The buffer is exactly the region, so AddressSanitizer sees any write beyond it.
#include <cstdlib>
#include <vector>

#include "files/codec/jpeg.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* d, size_t size) {
    if (size < 3) return 0;
    const uint32_t breite = 1u + d[0], hoehe = 1u + d[1], k = d[2] & 1 ? 3 : 1;
    std::vector<unsigned char> ziel(breite * hoehe * k);
    uint32_t fertig = 0;
    const int r = bild::jpeg_entpacken(nullptr, 0, d + 3, size - 3, d[2] & 2, ziel.data(), breite * k, breite, hoehe,
                                       int(k), &fertig);
    if (fertig > hoehe || (r == 0 && fertig != hoehe)) std::abort();
    return 0;
}
