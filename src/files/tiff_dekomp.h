// Decoders of the compressions the TIFF reader takes: PackBits, LZW and
// Deflate (zlib stream). Each fills at most `kap` bytes of `ziel` from the
// `n` bytes of `quelle`, whatever the data claims, and returns how many bytes
// it wrote; -1 when the data cannot be decoded at all. Output that stops
// short of `kap` is for the caller to judge (a strip that ended early).
#pragma once
#include <cstddef>
#include <cstdint>

namespace bild {

int64_t packbits_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap);
// TIFF's LZW: codes most significant bit first, 9 to 12 bits wide, the width
// growing one code early; 256 clears the table, 257 ends the data.
int64_t lzw_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap);
// A zlib stream (2-byte header, deflate blocks); the Adler-32 trailer is not
// checked: a strip is judged by whether it fills its rows.
int64_t inflate_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap);

// No codec above expands one input byte into more output bytes than this
// (Deflate stays below 1032, LZW below 2800, PackBits at 64): a strip that
// claims more is damaged, and the claim is refused before any allocation.
constexpr uint64_t kMaxAusdehnung = 4096;

}  // namespace bild
