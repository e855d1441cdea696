// Row and column sums of a 4000 x 3000 16-bit image, in megapixels per second.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "bildlib.h"

namespace {

constexpr int kBreite = 4000;
constexpr int kHoehe = 3000;

CBILD& bild16() {
    static CBILD b = [] {
        CBILD neu;
        neu.speicher(kBreite, kHoehe, 2);
        uint32_t saat = 1;
        for (uint32_t i = 0; i < neu.puffergroesse; ++i) {
            saat = saat * 1103515245u + 12345u;
            neu.puffer[i] = (unsigned char)(saat >> 16);
        }
        return neu;
    }();
    return b;
}

void rate(benchmark::State& state) {
    state.counters["MP/s"] = benchmark::Counter(double(state.iterations()) * kBreite * kHoehe / 1e6,
                                                benchmark::Counter::kIsRate);
}

void BM_Zeilensumme(benchmark::State& state) {
    CKurve k;
    for (auto _ : state) {
        zeilensumme(&bild16(), &k);
        benchmark::DoNotOptimize(k.y);
    }
    rate(state);
}

void BM_Spaltensumme(benchmark::State& state) {
    CKurve k;
    for (auto _ : state) {
        spaltensumme(&bild16(), &k);
        benchmark::DoNotOptimize(k.y);
    }
    rate(state);
}

// Both profiles from one walk over the pixels.
void BM_Profilsummen(benchmark::State& state) {
    CKurve zeilen, spalten;
    for (auto _ : state) {
        profilsummen(&bild16(), &zeilen, &spalten);
        benchmark::DoNotOptimize(zeilen.y);
        benchmark::DoNotOptimize(spalten.y);
    }
    rate(state);
}

}  // namespace

BENCHMARK(BM_Zeilensumme)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Spaltensumme)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Profilsummen)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
