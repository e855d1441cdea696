// Throughput of the row kernels in bytes per second, on one core. The row
// kernels work on one 8000-pixel row (the width of the converter benchmark's
// images), which stays in cache; the bytes counted are those of the row in
// its three-sample layout (3 x 8000 samples). multaddwert works in place on a
// whole 4000 x 3000 image and counts its bytes.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "bildlib.h"

namespace {

constexpr int kPixel = 8000;

template <typename T>
std::vector<T> zufall(size_t n) {
    std::vector<T> v(n);
    uint32_t x = 12345;
    for (T& e : v) {
        x = x * 1103515245u + 12345u;
        e = T(x >> 13);
    }
    return v;
}

template <typename T>
void bytes(benchmark::State& state) {
    state.SetBytesProcessed(int64_t(state.iterations()) * 3 * kPixel * int64_t(sizeof(T)));
}

// Argument: the mode (0 swap, 1 and 2 to planar, 3 and 4 from planar).
void BM_wandelzeile8(benchmark::State& state) {
    auto src = zufall<unsigned char>(3 * kPixel);
    std::vector<unsigned char> dst(3 * kPixel);
    const int mode = int(state.range(0));
    for (auto _ : state) {
        wandelzeile8(mode, src.data(), kPixel, dst.data());
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    bytes<unsigned char>(state);
}
BENCHMARK(BM_wandelzeile8)->ArgName("mode")->DenseRange(0, 4);

void BM_wandelzeile16(benchmark::State& state) {
    auto src = zufall<unsigned short>(3 * kPixel);
    std::vector<unsigned short> dst(3 * kPixel);
    const int mode = int(state.range(0));
    for (auto _ : state) {
        wandelzeile16(mode, src.data(), kPixel, dst.data());
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    bytes<unsigned short>(state);
}
BENCHMARK(BM_wandelzeile16)->ArgName("mode")->DenseRange(0, 4);

// Argument: the source flag word (0 and 4: 4-byte pixels, 1: planar row).
void BM_wandelzeile8b(benchmark::State& state) {
    auto src = zufall<unsigned char>(4 * kPixel);
    std::vector<unsigned char> dst(3 * kPixel);
    const int flag = int(state.range(0));
    for (auto _ : state) {
        wandelzeile8b(flag, src.data(), kPixel, dst.data());
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    bytes<unsigned char>(state);
}
BENCHMARK(BM_wandelzeile8b)->ArgName("flag")->Arg(0)->Arg(1)->Arg(4);

// The TIFF writer's row reordering for 3- and 6-byte images: flag 0 swaps the
// first and third sample, a planar row (flag 1) is interleaved third plane
// first, both through the kernels the writer calls.
template <typename T>
void tiff_zeile(benchmark::State& state) {
    auto src = zufall<T>(3 * kPixel);
    std::vector<T> dst(3 * kPixel);
    const bool planar = state.range(0) != 0;
    for (auto _ : state) {
        if (planar)
            ebenen_verschachteln(src.data(), size_t(kPixel), size_t(kPixel), true, dst.data());
        else if (sizeof(T) == 1)
            wandelzeile8(0, reinterpret_cast<unsigned char*>(src.data()), kPixel, dst.data());
        else
            wandelzeile16(0, reinterpret_cast<unsigned short*>(src.data()), kPixel, dst.data());
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    bytes<T>(state);
}
void BM_tiff_zeile24(benchmark::State& state) { tiff_zeile<unsigned char>(state); }
void BM_tiff_zeile48(benchmark::State& state) { tiff_zeile<unsigned short>(state); }
BENCHMARK(BM_tiff_zeile24)->ArgName("planar")->Arg(0)->Arg(1);
BENCHMARK(BM_tiff_zeile48)->ArgName("planar")->Arg(0)->Arg(1);

// The BMP reader's 32-bit unpack with the default masks.
void BM_wandel32(benchmark::State& state) {
    auto src = zufall<unsigned int>(kPixel);
    std::vector<unsigned char> dst(3 * kPixel);
    CBmp bmp;
    for (auto _ : state) {
        bmp.wandel32(src.data(), kPixel, dst.data());
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    bytes<unsigned char>(state);
}
BENCHMARK(BM_wandel32);

// Argument: bytes per pixel (1 and 3 use the 256-entry table, 2 and 6 the
// 65536-entry one). The table is built on every call, as callers see it.
void BM_multaddwert(benchmark::State& state) {
    CBILD b;
    b.speicher(4000, 3000, int(state.range(0)));
    uint32_t x = 12345;
    for (unsigned i = 0; i < b.puffergroesse; ++i) {
        x = x * 1103515245u + 12345u;
        b.puffer[i] = (unsigned char)(x >> 16);
    }
    for (auto _ : state) {
        b.multaddwert(0.9, 7.0);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(b.puffergroesse));
}
BENCHMARK(BM_multaddwert)->ArgName("bpp")->Arg(1)->Arg(2)->Arg(3)->Arg(6)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
