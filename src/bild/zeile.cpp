#include "bild/zeile.h"

#include <cstddef>

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
            for (size_t i = 0; i < N; ++i) {
                dst[3 * i] = src[3 * i + 2];
                dst[3 * i + 1] = src[3 * i + 1];
                dst[3 * i + 2] = src[3 * i];
            }
            break;
        case 3:
        case 4:
            for (size_t i = 0; i < N; ++i) {
                dst[3 * i] = src[erste + i];
                dst[3 * i + 1] = src[N + i];
                dst[3 * i + 2] = src[dritte + i];
            }
            break;
        default:  // 1, 2 and every other value
            for (size_t i = 0; i < N; ++i) {
                dst[erste + i] = src[3 * i];
                dst[N + i] = src[3 * i + 1];
                dst[dritte + i] = src[3 * i + 2];
            }
            break;
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
        for (size_t i = 0; i < N; ++i) {
            dst[3 * i] = src[2 * N + i];
            dst[3 * i + 1] = src[N + i];
            dst[3 * i + 2] = src[i];
        }
    } else if (flag == 0) {
        for (size_t i = 0; i < N; ++i) {
            dst[3 * i] = src[4 * i + 2];
            dst[3 * i + 1] = src[4 * i + 1];
            dst[3 * i + 2] = src[4 * i];
        }
    } else {
        for (size_t i = 0; i < N; ++i) {
            dst[3 * i] = src[4 * i];
            dst[3 * i + 1] = src[4 * i + 1];
            dst[3 * i + 2] = src[4 * i + 2];
        }
    }
}
