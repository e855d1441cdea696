// CCITT decoding of one 2550 x 3300 page (US letter at 300 dpi) of
// text-like lines, in pages per second and output bytes per second. With
// libtiff (BILD_BENCH_TIFF) the page is written by libtiff as one strip in
// Group 4, Group 3 2-D and Group 3 1-D, our decoder runs on the raw strip
// (TIFFReadRawStrip) and libtiff's TIFFReadEncodedStrip on the same file is
// timed beside it. Without libtiff only a blank Group 4 page is timed.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "files/codec/ccitt.h"

#ifdef BILD_BENCH_TIFF
#include <tiffio.h>
#include <unistd.h>
#endif

namespace {

using Bytes = std::vector<unsigned char>;

constexpr uint32_t kBreite = 2550, kHoehe = 3300, kZeile = (kBreite + 7) / 8;

void zaehlen(benchmark::State& state) {
    state.SetBytesProcessed(int64_t(state.iterations()) * kZeile * kHoehe);
    state.SetItemsProcessed(int64_t(state.iterations()));
}

void ccitt(benchmark::State& state, const Bytes& roh, int art, uint32_t optionen) {
    Bytes ziel(size_t(kZeile) * kHoehe);
    int64_t n = 0;
    for (auto _ : state) {
        n = bild::ccitt_entpacken(roh.data(), roh.size(), art, optionen, kBreite, kHoehe, ziel.data(), kZeile);
        benchmark::DoNotOptimize(ziel.data());
        benchmark::ClobberMemory();
    }
    if (n != kHoehe) state.SkipWithError("page not decoded whole");
    zaehlen(state);
}

#ifdef BILD_BENCH_TIFF

// Lines of glyphs of 24 x 32 pixels made of strokes 3 pixels wide (stems,
// bars, bowls as diagonals), words of 2 to 9 glyphs, margins of an inch,
// a line pitch of 50 pixels, and a few specks of scanner dust.
Bytes seite() {
    Bytes b(size_t(kZeile) * kHoehe, 0);
    auto setze = [&](uint32_t x, uint32_t y) {
        if (x < kBreite && y < kHoehe) b[size_t(y) * kZeile + x / 8] |= uint8_t(0x80 >> (x % 8));
    };
    uint32_t z = 12345;
    auto zufall = [&](uint32_t n) { return ((z = z * 1103515245u + 12345u) >> 16) % n; };
    Bytes glyphen[40];
    for (Bytes& g : glyphen) {
        g.assign(24 * 32, 0);
        const uint32_t striche = 2 + zufall(3);
        for (uint32_t s = 0; s < striche; ++s) {
            const uint32_t art = zufall(4), p = zufall(18);
            for (uint32_t t = 0; t < 32; ++t)
                for (uint32_t d = 0; d < 3; ++d) {
                    uint32_t x = 0, y = 0;
                    if (art == 0) x = p + d, y = t;                      // stem
                    if (art == 1) x = t * 3 / 4, y = 2 + p + d;          // bar
                    if (art == 2) x = t * 2 / 3 + d, y = t;              // diagonal
                    if (art == 3) x = 21 - t * 2 / 3 + d - 2, y = t;     // the other diagonal
                    if (x < 24 && y < 32) g[y * 24 + x] = 1;
                }
        }
    }
    for (uint32_t zeile = 300; zeile + 32 < kHoehe - 300; zeile += 50) {
        uint32_t x = 300;
        while (x + 24 * 9 < kBreite - 300) {
            const uint32_t woerter = 2 + zufall(8);
            for (uint32_t w = 0; w < woerter; ++w, x += 26) {
                const Bytes& g = glyphen[zufall(40)];
                for (uint32_t y = 0; y < 32; ++y)
                    for (uint32_t i = 0; i < 24; ++i)
                        if (g[y * 24 + i]) setze(x + i, zeile + y);
            }
            x += 30;
        }
    }
    for (int i = 0; i < 400; ++i) {
        const uint32_t x = zufall(kBreite);
        setze(x, zufall(kHoehe));
    }
    return b;
}

struct Seite {
    Bytes roh;
    std::string datei;
    uint32_t optionen = 0;
};

struct Dateien {
    std::vector<std::string> namen;
    ~Dateien() {
        for (const std::string& d : namen) std::remove(d.c_str());
    }
} dateien;

Seite schreiben(uint16_t kompression, uint32_t optionen) {
    static const Bytes bild = seite();
    Seite s;
    s.optionen = optionen;
    const char* t = std::getenv("TMPDIR");
    s.datei = std::string(t && *t ? t : "/tmp") + "/bench_ccitt_" + std::to_string(::getpid()) + "_" +
              std::to_string(kompression) + "_" + std::to_string(optionen) + ".tif";
    TIFF* w = TIFFOpen(s.datei.c_str(), "w");
    if (!w) return s;
    dateien.namen.push_back(s.datei);
    TIFFSetField(w, TIFFTAG_IMAGEWIDTH, kBreite);
    TIFFSetField(w, TIFFTAG_IMAGELENGTH, kHoehe);
    TIFFSetField(w, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(w, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(w, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(w, TIFFTAG_ROWSPERSTRIP, kHoehe);
    TIFFSetField(w, TIFFTAG_COMPRESSION, kompression);
    if (kompression == COMPRESSION_CCITTFAX3) TIFFSetField(w, TIFFTAG_GROUP3OPTIONS, optionen);
    TIFFWriteEncodedStrip(w, 0, const_cast<unsigned char*>(bild.data()), tmsize_t(bild.size()));
    TIFFClose(w);
    TIFF* r = TIFFOpen(s.datei.c_str(), "r");
    if (!r) return s;
    s.roh.resize(TIFFGetStrileByteCount(r, 0));
    TIFFReadRawStrip(r, 0, s.roh.data(), tmsize_t(s.roh.size()));
    TIFFClose(r);
    // Our decoder must give libtiff's pixels, or the times compare nothing.
    Bytes ziel(bild.size());
    if (bild::ccitt_entpacken(s.roh.data(), s.roh.size(), kompression, optionen, kBreite, kHoehe, ziel.data(),
                              kZeile) != kHoehe ||
        ziel != bild)
        s.roh.clear();
    return s;
}

const Seite& g4() {
    static const Seite s = schreiben(COMPRESSION_CCITTFAX4, 0);
    return s;
}
const Seite& g3_2d() {
    static const Seite s = schreiben(COMPRESSION_CCITTFAX3, GROUP3OPT_2DENCODING);
    return s;
}
const Seite& g3_1d() {
    static const Seite s = schreiben(COMPRESSION_CCITTFAX3, 0);
    return s;
}

void libtiff(benchmark::State& state, const Seite& s) {
    TIFF* r = TIFFOpen(s.datei.c_str(), "r");
    if (!r) {
        state.SkipWithError("libtiff cannot open the page");
        return;
    }
    Bytes ziel(size_t(kZeile) * kHoehe);
    for (auto _ : state) {
        TIFFReadEncodedStrip(r, 0, ziel.data(), tmsize_t(ziel.size()));
        benchmark::DoNotOptimize(ziel.data());
        benchmark::ClobberMemory();
    }
    TIFFClose(r);
    zaehlen(state);
}

void unsere(benchmark::State& state, const Seite& s, int art) {
    if (s.roh.empty()) {
        state.SkipWithError("libtiff's page did not decode to its pixels");
        return;
    }
    state.counters["strip_bytes"] = double(s.roh.size());
    ccitt(state, s.roh, art, s.optionen);
}

void BM_ccitt_g4(benchmark::State& state) { unsere(state, g4(), bild::kCcittG4); }
void BM_libtiff_g4(benchmark::State& state) { libtiff(state, g4()); }
void BM_ccitt_g3_2d(benchmark::State& state) { unsere(state, g3_2d(), bild::kCcittG3); }
void BM_libtiff_g3_2d(benchmark::State& state) { libtiff(state, g3_2d()); }
void BM_ccitt_g3_1d(benchmark::State& state) { unsere(state, g3_1d(), bild::kCcittG3); }
void BM_libtiff_g3_1d(benchmark::State& state) { libtiff(state, g3_1d()); }
BENCHMARK(BM_ccitt_g4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_libtiff_g4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ccitt_g3_2d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_libtiff_g3_2d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ccitt_g3_1d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_libtiff_g3_1d)->Unit(benchmark::kMillisecond);

#else

// A blank page in Group 4: every row one V0 code.
void BM_ccitt_g4_leer(benchmark::State& state) {
    const Bytes roh((kHoehe + 7) / 8, 0xFF);
    ccitt(state, roh, bild::kCcittG4, 0);
}
BENCHMARK(BM_ccitt_g4_leer)->Unit(benchmark::kMillisecond);

#endif

}  // namespace

BENCHMARK_MAIN();
