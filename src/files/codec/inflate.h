// Deflate decoder (RFC 1951) inside a zlib stream (RFC 1950): compressed
// bytes of one strip or tile in, rows out.
#pragma once
#include <cstddef>
#include <cstdint>

namespace bild {

// Fills at most `kap` bytes of `ziel` from the `n` bytes of `quelle` and
// returns how many bytes it wrote; -1 when the data cannot be decoded at all.
// It stops as soon as kap bytes are out, without looking at what follows;
// data that ends early gives what was decoded up to there. The Adler-32
// trailer is not checked: a strip is judged by whether it fills its rows.
// `ziel` may be null when kap is 0; nothing is read past quelle + n or
// written past ziel + kap. Bytes past the returned count may have been
// written (matches are copied a word at a time).
int64_t inflate_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap);

// A length code of one bit with a distance code of one bit copies 258 bytes:
// no stream expands one input byte into more than 1032 output bytes.
constexpr uint64_t kInflateAusdehnung = 1032;

}  // namespace bild
