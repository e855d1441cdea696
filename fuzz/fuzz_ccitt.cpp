// The CCITT decoder on raw data. The first six bytes choose the kind
// (MH, Group 3, Group 4), the options (T4Options bits 0 and 2; bits 4-5 add
// up to three padding bytes per row), the width (1..5000, little-endian) and
// the rows (1..300); the rest is the compressed data. The output buffer is
// exactly the rows asked for, so AddressSanitizer sees any write past it,
// and what the decoder promises is checked: rows decoded whole have zero
// padding, and the rows after them are left as they were.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "files/codec/ccitt.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 6) return 0;
    const int art = bild::kCcittMh + data[0] % 3;
    const uint32_t optionen = data[1] & 5u;  // bit 1 (uncompressed) never reaches the decoder
    const uint32_t breite = 1 + uint32_t(data[2] | data[3] << 8) % 5000;
    const uint32_t zeilen = 1 + uint32_t(data[4] | data[5] << 8) % 300;
    const size_t zeilenbytes = (breite + 7) / 8 + ((data[1] >> 4) & 3u);
    const size_t groesse = size_t(zeilen) * zeilenbytes;
    std::unique_ptr<unsigned char[]> ziel(new unsigned char[groesse]);
    std::memset(ziel.get(), 0xA5, groesse);
    const int64_t n = bild::ccitt_entpacken(data + 6, size - 6, art, optionen, breite, zeilen, ziel.get(), zeilenbytes);
    if (n < 0 || n > int64_t(zeilen)) std::abort();
    for (uint32_t y = 0; y < zeilen; ++y) {
        const unsigned char* z = ziel.get() + size_t(y) * zeilenbytes;
        if (int64_t(y) < n) {
            if (breite % 8 && (z[breite / 8] & (0xFFu >> (breite % 8)))) std::abort();
            for (size_t i = (breite + 7) / 8; i < zeilenbytes; ++i)
                if (z[i]) std::abort();
        } else {
            for (size_t i = 0; i < zeilenbytes; ++i)
                if (z[i] != 0xA5) std::abort();
        }
    }
    return 0;
}
