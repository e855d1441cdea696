// PackBits decoder: compressed bytes of one strip or tile in, rows out.
#pragma once
#include <cstddef>
#include <cstdint>

namespace bild {

// Fills at most `kap` bytes of `ziel` from the `n` bytes of `quelle`, whatever
// the data claims, and returns how many bytes it wrote. Output that stops
// short of `kap` is for the caller to judge (a strip that ended early); bytes
// of `ziel` past the count returned (but below kap) may have been scribbled
// on, as runs are moved in blocks of fixed size.
int64_t packbits_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap);

// One control byte and one data byte give at most 128 bytes.
constexpr uint64_t kPackBitsAusdehnung = 64;

}  // namespace bild
