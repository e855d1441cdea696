// PackBits (Apple's byte-oriented run-length code, TIFF compression 32773).
// Writes only inside [ziel, ziel+kap): a run that would go further is cut at
// the end of the buffer.
#include "files/codec/packbits.h"

#include <algorithm>
#include <cstring>

namespace bild {

int64_t packbits_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap) {
    size_t i = 0, o = 0;
    while (i < n && o < kap) {
        const int c = quelle[i] < 128 ? quelle[i] : quelle[i] - 256;
        ++i;
        if (c >= 0) {  // c + 1 literal bytes; a run cut by the data's end gives what is there
            const size_t anzahl = std::min({size_t(c) + 1, n - i, kap - o});
            std::memcpy(ziel + o, quelle + i, anzahl);
            i += size_t(c) + 1;
            o += anzahl;
        } else if (c != -128) {  // the next byte 1 - c times; -128 is a no-op
            if (i >= n) break;
            const size_t anzahl = std::min(size_t(1 - c), kap - o);
            std::memset(ziel + o, quelle[i++], anzahl);
            o += anzahl;
        }
    }
    return int64_t(o);
}

}  // namespace bild
