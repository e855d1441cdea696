// LZW as TIFF uses it. Writes only inside [ziel, ziel+kap): a string that
// would go further is cut at the end of the buffer.
#include "files/codec/lzw.h"

#include <algorithm>
#include <cstring>

namespace bild {

int64_t lzw_entpacken(const unsigned char* quelle, size_t n, unsigned char* ziel, size_t kap) {
    constexpr int kLoeschen = 256, kEnde = 257, kErster = 258, kTabelle = 4096;
    // String of code c: the string of praefix[c] followed by letzter[c];
    // erster[c] is its first byte, laenge[c] its length.
    uint16_t praefix[kTabelle], laenge[kTabelle];
    unsigned char letzter[kTabelle], erster[kTabelle];
    for (int c = 0; c < 256; ++c) {
        praefix[c] = 0;
        laenge[c] = 1;
        letzter[c] = erster[c] = (unsigned char)c;
    }
    int frei = kErster, breite = 9, alt = -1;
    uint32_t bits = 0;
    int nbits = 0;
    size_t i = 0, o = 0;
    while (o < kap) {
        while (nbits < breite && i < n) {
            bits = (bits << 8) | quelle[i++];
            nbits += 8;
        }
        if (nbits < breite) break;  // data ended without an end code
        const int code = int((bits >> (nbits - breite)) & ((1u << breite) - 1));
        nbits -= breite;
        if (code == kEnde) break;
        if (code == kLoeschen) {
            frei = kErster;
            breite = 9;
            alt = -1;
            continue;
        }
        if (alt < 0) {  // first code after a reset: a single byte
            if (code > 255) return -1;
            ziel[o++] = (unsigned char)code;
            alt = code;
            continue;
        }
        if (code > frei) return -1;  // a code the encoder cannot have sent yet
        // New entry: the previous string plus the first byte of this one
        // (which, for the code being defined right now, is the previous
        // string's first byte).
        if (frei < kTabelle) {
            praefix[frei] = uint16_t(alt);
            letzter[frei] = code == frei ? erster[alt] : erster[code];
            erster[frei] = erster[alt];
            laenge[frei] = uint16_t(laenge[alt] + 1);
            ++frei;
        }
        // Write the string back to front, dropping what lies beyond kap.
        const size_t ende = o + laenge[code];
        int c = code;
        for (size_t p = ende; p-- > o;) {
            if (p < kap) ziel[p] = letzter[c];
            c = praefix[c];
        }
        o = std::min(ende, kap);
        alt = code;
        // The encoder widens its codes one entry before the table needs it.
        if (frei + 1 >= (1 << breite) && breite < 12) ++breite;
    }
    return int64_t(o);
}

}  // namespace bild
