// PackBits (Apple's byte-oriented run-length code, TIFF compression 32773).
// Writes only inside [ziel, ziel+kap): a run that would go further is cut at
// the end of the buffer.
#include "files/codec/packbits.h"

#include <algorithm>
#include <cstring>

namespace bild {
namespace {

// A run is at most 128 bytes. While a control byte and 128 more bytes of
// input, and 128 bytes of output, are left, every run is moved as one copy of
// fixed size, 16 bytes for short runs and 128 for the others, without asking
// where it ends: one fixed copy costs less than a loop whose end the
// processor cannot guess. The bytes written past a run are overwritten by the
// next one or lie beyond the count returned.
constexpr size_t kKurz = 16, kLang = 128, kReserve = kLang + 1;

}  // namespace

int64_t packbits_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap) {
    size_t i = 0, o = 0;
    while (n - i >= kReserve && kap - o >= kReserve) {
        const unsigned c = quelle[i++];
        if (c < 128) {  // c + 1 literal bytes
            if (c < kKurz) std::memcpy(ziel + o, quelle + i, kKurz);
            else std::memcpy(ziel + o, quelle + i, kLang);
            i += c + 1;
            o += c + 1;
        } else if (c != 128) {  // the next byte 257 - c times; 128 is a no-op
            if (257 - c <= kKurz) std::memset(ziel + o, quelle[i], kKurz);
            else std::memset(ziel + o, quelle[i], kLang);
            ++i;
            o += 257 - c;
        }
    }
    while (i < n && o < kap) {
        const unsigned c = quelle[i++];
        if (c < 128) {  // a run cut by the data's end gives what is there
            const size_t anzahl = std::min({size_t(c) + 1, n - i, kap - o});
            std::memcpy(ziel + o, quelle + i, anzahl);
            i += c + 1;
            o += anzahl;
        } else if (c != 128) {
            if (i >= n) break;
            const size_t anzahl = std::min(size_t(257 - c), kap - o);
            std::memset(ziel + o, quelle[i++], anzahl);
            o += anzahl;
        }
    }
    return int64_t(o);
}

}  // namespace bild
