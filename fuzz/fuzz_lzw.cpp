// libFuzzer target: the LZW decoder on arbitrary bytes. The first two bytes
// give kap (below 32768 as they are, above in steps of 8 up to 256 KiB), the
// rest is the data; the output goes to a heap buffer of exactly kap bytes,
// so AddressSanitizer sees a byte written beyond it.
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "files/codec/lzw.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const size_t v = size_t(data[0]) << 8 | data[1];
    const size_t kap = v & 0x8000 ? (v & 0x7FFF) * 8 : v;
    std::unique_ptr<unsigned char[]> ziel(new unsigned char[kap]);
    const int64_t r = bild::lzw_entpacken(data + 2, size - 2, ziel.get(), kap);
    if (r < -1 || r > int64_t(kap)) std::abort();
    return 0;
}
