// Colour line conversion: one row of three-sample pixels between interleaved
// (either order) and planar layouts. Never allocates, never fails; nothing
// happens for n below 1.
#pragma once
#include <cstddef>

// mode 0: interleaved, first and third sample swapped
// mode 3: planar -> interleaved          mode 4: planar -> interleaved, reversed
// mode 1: interleaved -> planar          mode 2 (and any other): -> planar, reversed
void wandelzeile8(int mode, unsigned char* src, int n, void* dst);
void wandelzeile16(int mode, unsigned short* src, int n, void* dst);

// 4-byte pixels (or, with flag 1, a planar row) to 3n interleaved bytes.
// flag 0 and 1 come out reversed, any other flag (4 among them) as stored.
void wandelzeile8b(int flag, unsigned char* src, int n, unsigned char* dst);

// A planar row (three planes `ebene` samples apart, as in an image whose
// region starts inside the row) to n interleaved pixels: the planes in their
// order, or with the third plane first when `rueckwaerts`.
template <typename T>
void ebenen_verschachteln(const T* __restrict src, size_t ebene, size_t n, bool rueckwaerts, T* __restrict dst) {
    const T* erste = rueckwaerts ? src + 2 * ebene : src;
    const T* dritte = rueckwaerts ? src : src + 2 * ebene;
    for (size_t i = 0; i < n; ++i) {
        dst[3 * i] = erste[i];
        dst[3 * i + 1] = src[ebene + i];
        dst[3 * i + 2] = dritte[i];
    }
}
// 8-bit samples: the same, four pixels per step through 32-bit words.
void ebenen_verschachteln(const unsigned char* __restrict src, size_t ebene, size_t n, bool rueckwaerts,
                          unsigned char* __restrict dst);
