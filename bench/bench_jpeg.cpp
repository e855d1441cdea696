// JPEG decoding of a 6000 x 4000 photo-like picture (gradients, soft shapes,
// film grain) that Pillow writes at quality 75 with 4:2:0 and with 4:4:4
// sampling, in megapixels per second on one core; and the same picture's top
// 16 rows as a TIFF strip would hold them (tables split out, given on every
// call), decoded 250 times over, which is the per-strip cost of a
// rows-per-strip-16 file. The streams are made through python3 into a
// temporary folder; without python3 and Pillow the benchmarks are skipped.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "files/codec/jpeg.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr uint32_t kBreite = 6000, kHoehe = 4000, kStreifen = 16;

const char* kBildPy = R"(
import random, sys
from PIL import Image, ImageDraw, ImageFilter
w, h, d = 6000, 4000, sys.argv[1]
random.seed(1)
flach = Image.merge('RGB', [Image.effect_noise((w // 24, h // 24), 90).resize((w, h), Image.BICUBIC) for _ in range(3)])
verlauf = Image.merge('RGB', (Image.linear_gradient('L').resize((w, h)), Image.radial_gradient('L').resize((w, h)),
                              Image.linear_gradient('L').rotate(90).resize((w, h))))
im = Image.blend(flach, verlauf, 0.5)
z = ImageDraw.Draw(im)
for i in range(4000):
    x, y, r = random.randrange(w), random.randrange(h), random.randrange(4, 120)
    farbe = tuple(random.randrange(256) for _ in range(3))
    (z.ellipse if i % 2 else z.rectangle)([x, y, x + r, y + r * random.randrange(1, 3)], fill=farbe)
im = im.filter(ImageFilter.GaussianBlur(1.0))
im = Image.blend(im, Image.merge('RGB', [Image.effect_noise((w, h), 40) for _ in range(3)]), 0.2)
im.save(d + '/p420.jpg', quality=75, subsampling=2)
im.save(d + '/p444.jpg', quality=75, subsampling=0)
im.crop((0, 0, w, 16)).save(d + '/streifen.jpg', quality=75, subsampling=2)
)";

struct Stroeme {
    Bytes p420, p444, streifen;
    bool da = false;
};

// The temporary folder, once made; removed at exit.
std::string ordner;
struct Aufraeumen {
    ~Aufraeumen() {
        if (!ordner.empty()) std::system(("rm -rf '" + ordner + "'").c_str());
    }
} aufraeumen;

Bytes lies(const std::string& pfad) {
    std::ifstream f(pfad, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(f), {});
}

// Made once for all benchmarks. BENCH_JPEG_BEHALTEN=1 keeps the folder (its
// path is printed) for a djpeg or Pillow run on the same files.
const Stroeme& stroeme() {
    static Stroeme s = [] {
        Stroeme r;
        char muster[] = "/tmp/bench_jpeg_XXXXXX";
        if (!mkdtemp(muster)) return r;
        const std::string d = muster;
        if (!std::getenv("BENCH_JPEG_BEHALTEN")) ordner = d;
        std::ofstream(d + "/bild.py") << kBildPy;
        if (std::system(("/usr/bin/python3 " + d + "/bild.py " + d + " 2>/dev/null").c_str()) != 0) return r;
        r.p420 = lies(d + "/p420.jpg");
        r.p444 = lies(d + "/p444.jpg");
        r.streifen = lies(d + "/streifen.jpg");
        r.da = !r.p420.empty() && !r.p444.empty() && !r.streifen.empty();
        std::fprintf(stderr, "bench_jpeg: streams in %s\n", d.c_str());
        return r;
    }();
    return s;
}

void megapixel(benchmark::State& state, double pixel) {
    state.counters["MP/s"] = benchmark::Counter(pixel * double(state.iterations()) / 1e6, benchmark::Counter::kIsRate);
}

void ganz(benchmark::State& state, const Bytes Stroeme::*welcher) {
    const Stroeme& s = stroeme();
    if (!s.da) {
        state.SkipWithError("python3 with Pillow missing");
        return;
    }
    const Bytes& q = s.*welcher;
    Bytes ziel(size_t(kBreite) * kHoehe * 3);
    int r = 0;
    for (auto _ : state) {
        r = bild::jpeg_entpacken(nullptr, 0, q.data(), q.size(), true, ziel.data(), size_t(kBreite) * 3, kBreite,
                                 kHoehe, 3, nullptr);
        benchmark::DoNotOptimize(ziel.data());
        benchmark::ClobberMemory();
    }
    if (r != 0) state.SkipWithError("stream not decoded");
    megapixel(state, double(kBreite) * kHoehe);
}

void BM_jpeg_420(benchmark::State& state) { ganz(state, &Stroeme::p420); }
void BM_jpeg_444(benchmark::State& state) { ganz(state, &Stroeme::p444); }

// The DQT and DHT segments into their own abbreviated stream, as TIFF's
// JPEGTables holds them; the rest is the strip.
void teilen(const Bytes& jpg, Bytes& tabellen, Bytes& rest) {
    tabellen = {0xFF, 0xD8};
    rest = {0xFF, 0xD8};
    size_t i = 2;
    while (i + 4 <= jpg.size() && jpg[i] == 0xFF && jpg[i + 1] != 0xDA) {
        const size_t l = 2 + size_t(jpg[i + 2] << 8 | jpg[i + 3]);
        Bytes& ziel = jpg[i + 1] == 0xDB || jpg[i + 1] == 0xC4 ? tabellen : rest;
        ziel.insert(ziel.end(), jpg.begin() + long(i), jpg.begin() + long(i + l));
        i += l;
    }
    rest.insert(rest.end(), jpg.begin() + long(i), jpg.end());
    tabellen.insert(tabellen.end(), {0xFF, 0xD9});
}

void BM_jpeg_streifen(benchmark::State& state) {
    const Stroeme& s = stroeme();
    if (!s.da) {
        state.SkipWithError("python3 with Pillow missing");
        return;
    }
    Bytes tabellen, rest;
    teilen(s.streifen, tabellen, rest);
    Bytes ziel(size_t(kBreite) * kStreifen * 3);
    int r = 0;
    for (auto _ : state) {
        for (uint32_t n = 0; n < kHoehe / kStreifen; ++n)
            r |= bild::jpeg_entpacken(tabellen.data(), tabellen.size(), rest.data(), rest.size(), true, ziel.data(),
                                      size_t(kBreite) * 3, kBreite, kStreifen, 3, nullptr);
        benchmark::DoNotOptimize(ziel.data());
        benchmark::ClobberMemory();
    }
    if (r != 0) state.SkipWithError("strip not decoded");
    megapixel(state, double(kBreite) * kHoehe);
}

BENCHMARK(BM_jpeg_420)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_jpeg_444)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_jpeg_streifen)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
