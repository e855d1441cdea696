// Photo-like 8-bit RGB rows for the decoder benchmarks: a quiet sky over the
// upper third, busier ground below it, two crossing ramps and a bright disc.
#pragma once
#include <cstdint>
#include <vector>

inline std::vector<unsigned char> foto(uint32_t breite, uint32_t hoehe, int mitte_x, int mitte_y, int radius) {
    std::vector<unsigned char> b(size_t(breite) * 3 * hoehe);
    uint32_t x = 12345;
    for (uint32_t y = 0; y < hoehe; ++y)
        for (uint32_t s = 0; s < breite; ++s)
            for (uint32_t k = 0; k < 3; ++k) {
                x = x * 1103515245u + 12345u;
                const uint32_t z = (x >> 16) % 16;
                const int rauschen = y < hoehe / 3 ? (z == 0) - (z == 1) : int(z % 5) - 2;
                const int dx = int(s) - mitte_x, dy = int(y) - mitte_y;
                int v = int((s * (k + 1) / 16 + y * (3 - k) / 12) % 200) + (dx * dx + dy * dy < radius * radius ? 50 : 0);
                v += rauschen;
                b[(size_t(y) * breite + s) * 3 + k] = uint8_t(v < 0 ? 0 : v > 255 ? 255 : v);
            }
    return b;
}
