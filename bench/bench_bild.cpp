// Throughput of the image model's row kernels on a 4000 x 3000 image, in
// megapixels per second.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "bildlib.h"

namespace {

constexpr int kBreite = 4000, kHoehe = 3000;
constexpr double kMegapixel = double(kBreite) * kHoehe / 1e6;

void bild_fuellen(CBILD& b, int bpp, int flag = 0, int farbe32 = 0) {
    b.speicher(kBreite, kHoehe, bpp);
    b.flag = flag;
    b.farbe32 = farbe32;
    uint32_t x = 12345;
    for (unsigned i = 0; i < b.puffergroesse; ++i) {
        x = x * 1103515245u + 12345u;
        b.puffer[i] = (unsigned char)(x >> 16);
    }
}

void rate(benchmark::State& state) {
    state.counters["MP/s"] = benchmark::Counter(double(state.iterations()) * kMegapixel, benchmark::Counter::kIsRate);
}

void BM_multaddwert(benchmark::State& state) {
    CBILD b(0, 0);
    bild_fuellen(b, int(state.range(0)));
    for (auto _ : state) {
        b.multaddwert(0.9, 7.0);
        benchmark::ClobberMemory();
    }
    rate(state);
}
BENCHMARK(BM_multaddwert)->ArgName("bpp")->Arg(1)->Arg(2)->Arg(3)->Arg(6)->Unit(benchmark::kMillisecond);

void BM_set32_16_teil(benchmark::State& state) {
    CBILD src(0, 0), d(0, 0);
    bild_fuellen(src, 4);
    for (auto _ : state) d.set32_16_teil(&src, nullptr, 12);
    rate(state);
}
BENCHMARK(BM_set32_16_teil)->Unit(benchmark::kMillisecond);

void BM_set32_8_teil(benchmark::State& state) {
    CBILD src(0, 0), d(0, 0);
    bild_fuellen(src, 4);
    for (auto _ : state) d.set32_8_teil(&src, nullptr, 20);
    rate(state);
}
BENCHMARK(BM_set32_8_teil)->Unit(benchmark::kMillisecond);

// 16 -> 32 -> 16 in place; the second step scans for the maximum first.
void BM_bildwandel16_32_und_zurueck(benchmark::State& state) {
    CBILD b(0, 0);
    bild_fuellen(b, 2);
    for (auto _ : state) {
        b.bildwandel16_32(8);
        b.bildwandel32_16();
    }
    rate(state);
}
BENCHMARK(BM_bildwandel16_32_und_zurueck)->Unit(benchmark::kMillisecond);

void BM_getminmax32(benchmark::State& state) {
    CBILD b(0, 0);
    bild_fuellen(b, 4);
    unsigned lo = 0, hi = 0;
    for (auto _ : state) {
        b.getminmax(&lo, &hi);
        benchmark::DoNotOptimize(hi);
    }
    rate(state);
}
BENCHMARK(BM_getminmax32)->Unit(benchmark::kMillisecond);

void BM_setzen_ohne_alpha(benchmark::State& state) {
    CBILD src(0, 0), d(0, 0);
    bild_fuellen(src, 4, 0, 256);
    for (auto _ : state) d.setzen_ohne_alpha(&src);
    rate(state);
}
BENCHMARK(BM_setzen_ohne_alpha)->Unit(benchmark::kMillisecond);

// Every row of the image to a display row. Arguments: bytes per pixel, flag
// word (1: planar), output channels.
void BM_anzeigezeile(benchmark::State& state) {
    const int bpp = int(state.range(0)), flag = int(state.range(1)), kanaele = int(state.range(2));
    CBILD b(0, 0);
    bild_fuellen(b, bpp, flag);
    std::vector<unsigned char> zeile(size_t(kBreite) * 3);
    const unsigned shift = b.anzeigeschiebung();
    for (auto _ : state) {
        for (int y = 0; y < kHoehe; ++y) b.anzeigezeile(y, zeile.data(), kanaele, shift);
        benchmark::DoNotOptimize(zeile.data());
    }
    rate(state);
}
BENCHMARK(BM_anzeigezeile)
    ->ArgNames({"bpp", "flag", "kanaele"})
    ->Args({1, 0, 1})
    ->Args({2, 0, 1})
    ->Args({4, 0, 1})
    ->Args({2, 0, 3})
    ->Args({3, 0, 3})
    ->Args({3, 0, 1})
    ->Args({3, 1, 3})
    ->Args({6, 4, 3})
    ->Args({6, 4, 1})
    ->Unit(benchmark::kMillisecond);

void BM_setzgrau(benchmark::State& state) {
    CBILD src(0, 0), d(0, 0);
    bild_fuellen(src, int(state.range(0)));
    for (auto _ : state) d.setzgrau(&src);
    rate(state);
}
BENCHMARK(BM_setzgrau)->ArgName("bpp")->Arg(3)->Arg(6)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
