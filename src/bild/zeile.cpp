#include "bild/zeile.h"

#include <cstddef>
#include <cstdint>

#include "bild/bytes.h"

namespace {

// Mode 0: dst[k] = src[k + 2], src[k], src[k - 2] for k mod 3 = 0, 1, 2.
// Over a block of three vectors (48 bytes, a whole number of pixels) that is
// three shifted loads under fixed masks, which the compiler turns into
// plain SSE2 loads, ands and ors: no byte shuffles needed. The first pixel
// and the tail, where a shifted load would leave the row, go one by one.
template <typename T>
void tausche_aussen(const T* __restrict src, size_t n, T* __restrict dst) {
    constexpr size_t kBlock = 48 / sizeof(T);
    static_assert(kBlock % 3 == 0, "a block holds whole pixels");
    struct Masken {
        T vor[kBlock], mitte[kBlock], zurueck[kBlock];
    };
    static constexpr Masken m = [] {
        Masken r{};
        for (size_t j = 0; j < kBlock; ++j) {
            r.vor[j] = j % 3 == 0 ? T(~T(0)) : T(0);
            r.mitte[j] = j % 3 == 1 ? T(~T(0)) : T(0);
            r.zurueck[j] = j % 3 == 2 ? T(~T(0)) : T(0);
        }
        return r;
    }();
    auto pixel = [&](size_t i) {
        dst[3 * i] = src[3 * i + 2];
        dst[3 * i + 1] = src[3 * i + 1];
        dst[3 * i + 2] = src[3 * i];
    };
    if (n == 0) return;
    pixel(0);
    size_t k = 3;  // element index, on a pixel boundary
    for (; k + kBlock + 2 <= 3 * n; k += kBlock) {
        const T* s = src + k;
        const T* z = src + k - 2;  // k >= 3: the samples two back (no index below 0)
        T* d = dst + k;
        for (size_t j = 0; j < kBlock; ++j)
            d[j] = T((s[j + 2] & m.vor[j]) | (s[j] & m.mitte[j]) | (z[j] & m.zurueck[j]));
    }
    for (size_t i = k / 3; i < n; ++i) pixel(i);
}

// Interleaved 8-bit samples to three planes, four pixels per step: the 12
// bytes come in as three 32-bit words and leave as one word per plane, so a
// step is three loads and three stores instead of twelve of each. The
// number of pixels done; the caller finishes the rest. Wider samples are
// left to the caller's loop, which the compiler handles well for them.
template <typename T>
size_t ebenen_aus_worten(const T*, size_t, T*, T*, T*) {
    return 0;
}
template <>
size_t ebenen_aus_worten(const unsigned char* __restrict src, size_t n, unsigned char* __restrict a,
                         unsigned char* __restrict b, unsigned char* __restrict c) {
    size_t i = 0;
    for (; i + 4 <= n; i += 4, src += 12) {
        const uint32_t w0 = bild::le32(src), w1 = bild::le32(src + 4), w2 = bild::le32(src + 8);
        // w0 = a0 b0 c0 a1, w1 = b1 c1 a2 b2, w2 = c2 a3 b3 c3 (lowest byte first)
        bild::put_le32(a + i, (w0 & 0xFF) | (w0 >> 24) << 8 | (w1 >> 16 & 0xFF) << 16 | (w2 >> 8 & 0xFF) << 24);
        bild::put_le32(b + i, (w0 >> 8 & 0xFF) | (w1 & 0xFF) << 8 | (w1 >> 24) << 16 | (w2 >> 16 & 0xFF) << 24);
        bild::put_le32(c + i, (w0 >> 16 & 0xFF) | (w1 >> 8 & 0xFF) << 8 | (w2 & 0xFF) << 16 | (w2 >> 24) << 24);
    }
    return i;
}

}  // namespace

void ebenen_verschachteln(const unsigned char* __restrict src, size_t ebene, size_t n, bool rueckwaerts,
                          unsigned char* __restrict dst) {
    const unsigned char* a = rueckwaerts ? src + 2 * ebene : src;
    const unsigned char* b = src + ebene;
    const unsigned char* c = rueckwaerts ? src : src + 2 * ebene;
    size_t i = 0;
    for (; i + 4 <= n; i += 4, dst += 12) {
        const uint32_t pa = bild::le32(a + i), pb = bild::le32(b + i), pc = bild::le32(c + i);
        // out: a0 b0 c0 a1 | b1 c1 a2 b2 | c2 a3 b3 c3 (lowest byte first)
        bild::put_le32(dst, (pa & 0xFF) | (pb & 0xFF) << 8 | (pc & 0xFF) << 16 | (pa >> 8 & 0xFF) << 24);
        bild::put_le32(dst + 4, (pb >> 8 & 0xFF) | (pc >> 8 & 0xFF) << 8 | (pa >> 16 & 0xFF) << 16 | (pb >> 16 & 0xFF) << 24);
        bild::put_le32(dst + 8, (pc >> 16 & 0xFF) | (pa >> 24) << 8 | (pb >> 24) << 16 | (pc >> 24) << 24);
    }
    for (; i < n; ++i, dst += 3) {
        dst[0] = a[i];
        dst[1] = b[i];
        dst[2] = c[i];
    }
}

namespace {

template <typename T>
void wandelzeile(int mode, const T* __restrict src, int n, T* __restrict dst) {
    if (n < 1) return;
    const size_t N = size_t(n);
    // Planes: first at 0 and third at 2n for modes 1 and 3, swapped for the
    // other non-zero modes; the second plane is always at n.
    const size_t erste = (mode == 1 || mode == 3) ? 0 : 2 * N;
    const size_t dritte = (mode == 1 || mode == 3) ? 2 * N : 0;
    switch (mode) {
        case 0:
            tausche_aussen(src, N, dst);
            break;
        case 3:
        case 4:
            ebenen_verschachteln(src, N, N, mode == 4, dst);
            break;
        default: {  // 1, 2 and every other value
            size_t i = 0;
            if (sizeof(T) == 1) i = ebenen_aus_worten(src, N, dst + erste, dst + N, dst + dritte);
            for (; i < N; ++i) {
                dst[erste + i] = src[3 * i];
                dst[N + i] = src[3 * i + 1];
                dst[dritte + i] = src[3 * i + 2];
            }
            break;
        }
    }
}

}  // namespace

void wandelzeile8(int mode, unsigned char* src, int n, void* dst) {
    wandelzeile<unsigned char>(mode, src, n, static_cast<unsigned char*>(dst));
}

void wandelzeile16(int mode, unsigned short* src, int n, void* dst) {
    wandelzeile<unsigned short>(mode, src, n, static_cast<unsigned short*>(dst));
}

void wandelzeile8b(int flag, unsigned char* __restrict src, int n, unsigned char* __restrict dst) {
    if (n < 1) return;
    const size_t N = size_t(n);
    if (flag == 1) {
        ebenen_verschachteln(src, N, N, true, dst);
        return;
    }
    // Four pixels per step, four 32-bit loads and three stores; flag 0
    // reverses the first three bytes on the way (a byte swap of the whole
    // pixel, shifted down by the fourth byte).
    const bool umkehren = flag == 0;
    size_t i = 0;
    for (; i + 4 <= N; i += 4) {
        uint32_t t[4];
        for (size_t k = 0; k < 4; ++k) {
            const uint32_t p = bild::le32(src + 4 * (i + k));
            t[k] = umkehren ? __builtin_bswap32(p) >> 8 : p & 0xFFFFFF;
        }
        bild::put_le24x4(dst + 3 * i, t);
    }
    for (; i < N; ++i) {
        dst[3 * i] = src[4 * i + (umkehren ? 2 : 0)];
        dst[3 * i + 1] = src[4 * i + 1];
        dst[3 * i + 2] = src[4 * i + (umkehren ? 0 : 2)];
    }
}
