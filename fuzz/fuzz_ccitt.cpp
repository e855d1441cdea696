// The CCITT decoder on arbitrary bytes after six: kind, options (bits 0, 2), width 1..5000, rows
// 1..300. The buffer is exactly the rows asked for; the rows after those done stay as they were.
#include <cstdlib>
#include <vector>

#include "files/codec/ccitt.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* d, size_t size) {
    if (size < 6) return 0;
    const uint32_t breite = 1 + uint32_t(d[2] | d[3] << 8) % 5000, zeilen = 1 + uint32_t(d[4] | d[5] << 8) % 300;
    const size_t zb = (breite + 7) / 8;
    std::vector<unsigned char> z(zeilen * zb, 0xA5);
    const int64_t n = bild::ccitt_entpacken(d + 6, size - 6, 2 + d[0] % 3, d[1] & 5u, breite, zeilen, z.data(), zb);
    if (n < 0 || n > int64_t(zeilen)) std::abort();
    for (size_t i = size_t(n) * zb; i < z.size(); ++i)
        if (z[i] != 0xA5) std::abort();
    return 0;
}
