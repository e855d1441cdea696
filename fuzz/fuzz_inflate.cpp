// The inflater on arbitrary bytes; the first two give kap (top bit: times 8),
// and the output buffer is exactly kap bytes, so AddressSanitizer sees a write beyond.
#include <cstdlib>
#include <vector>

#include "files/codec/inflate.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const size_t v = size_t(data[0]) << 8 | data[1], kap = v & 0x8000 ? (v & 0x7FFF) * 8 : v;
    std::vector<unsigned char> ziel(kap);
    const int64_t r = bild::inflate_entpacken(data + 2, size - 2, ziel.data(), kap);
    if (r < -1 || r > int64_t(kap)) std::abort();
    return 0;
}
