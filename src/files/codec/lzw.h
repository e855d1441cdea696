// TIFF's LZW decoder: compressed bytes of one strip or tile in, rows out.
#pragma once
#include <cstddef>
#include <cstdint>

namespace bild {

// Codes most significant bit first, 9 to 12 bits wide, the width growing one
// code early; 256 clears the table, 257 ends the data. Fills at most `kap`
// bytes of `ziel` from the `n` bytes of `quelle` and returns how many bytes it
// wrote; -1 when the data cannot be decoded at all (a string code right after
// a reset, a code not yet defined). Data that ends without the end code gives
// what its whole codes hold. Bytes of `ziel` past the count returned (but
// below kap) may have been scribbled on: strings are copied in whole words.
int64_t lzw_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap);

// The longest string a 12-bit table can hold is 3839 bytes (one more byte
// per entry from 258 to 4095), sent as one 12-bit code: 2560 bytes out for
// each byte in, rounded up.
constexpr uint64_t kLzwAusdehnung = 2560;

}  // namespace bild
