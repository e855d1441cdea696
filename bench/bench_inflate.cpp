// Inflate in output bytes per second, ours beside zlib's on the same streams.
// Data: a photo-like 1200 x 800 RGB image (smooth ramps plus noise), the same
// after TIFF's horizontal predictor (differences of neighbouring samples), and
// text-like data; each compressed by zlib at levels 1, 6 and 9 as one stream,
// and the photo at level 6 also as strips of two rows (about 7 KB each), the
// way a TIFF writer with the usual strip size stores it.
//
// zlib is timed twice: as a zlib stream (it checks the Adler-32 sum, which
// ours does not) and as a raw deflate stream after the two header bytes,
// which is the same work as ours. Without zlib only stored blocks are timed.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "foto.h"
#include "files/codec/inflate.h"

#ifdef BILD_BENCH_ZLIB
#include <zlib.h>
#endif

namespace {

using Bytes = std::vector<unsigned char>;

constexpr uint32_t kBreite = 1200, kHoehe = 800;
constexpr size_t kZeile = size_t(kBreite) * 3;

// Each sample minus the same sample of the pixel to its left, row by row.
Bytes praediktor(const Bytes& d) {
    Bytes b = d;
    for (size_t z = 0; z < kHoehe; ++z)
        for (size_t i = kZeile - 1; i >= 3; --i) b[z * kZeile + i] = uint8_t(d[z * kZeile + i] - d[z * kZeile + i - 3]);
    return b;
}

// Words drawn with a skewed frequency from a small vocabulary, with spaces,
// commas and line breaks: the repeats of prose and of log files.
Bytes text() {
    static const char* const kWorte[] = {
        "der",    "die",     "und",    "in",     "den",     "von",     "zu",      "das",    "mit",   "sich",
        "des",    "auf",     "fuer",   "ist",    "im",      "dem",     "nicht",   "ein",    "eine",  "als",
        "auch",   "es",      "an",     "werden", "aus",     "er",      "hat",     "dass",   "sie",   "nach",
        "bild",   "zeile",   "breite", "hoehe",  "streifen", "kachel", "farbe",   "pixel",  "datei", "lesen",
        "schreiben", "entpacken", "quelle", "ziel", "fehler", "ergebnis", "tabelle", "wert", "code", "laenge"};
    constexpr size_t kAnzahl = sizeof kWorte / sizeof kWorte[0];
    Bytes b;
    b.reserve(2u << 20);
    uint32_t x = 777;
    while (b.size() < (2u << 20)) {
        x = x * 1103515245u + 12345u;
        const uint32_t r = (x >> 16) % 1000;
        const size_t w = r < 600 ? r % 10 : r < 900 ? 10 + r % 20 : 30 + r % (kAnzahl - 30);
        b.insert(b.end(), kWorte[w], kWorte[w] + std::char_traits<char>::length(kWorte[w]));
        b.push_back(r % 17 == 0 ? ',' : r % 53 == 0 ? '\n' : ' ');
    }
    return b;
}

struct Strom {
    std::vector<Bytes> teile;      // compressed streams
    std::vector<size_t> laengen;   // their decoded sizes
    size_t gesamt = 0;
};

#ifdef BILD_BENCH_ZLIB

Strom packen(const Bytes& d, int stufe, size_t teil) {
    Strom s;
    for (size_t a = 0; a < d.size(); a += teil) {
        const size_t n = std::min(teil, d.size() - a);
        uLongf kap = compressBound(uLong(n));
        Bytes c(kap);
        compress2(c.data(), &kap, d.data() + a, uLong(n), stufe);
        c.resize(kap);
        s.teile.push_back(std::move(c));
        s.laengen.push_back(n);
        s.gesamt += n;
    }
    return s;
}

#else

// Stored blocks of up to 65535 bytes in a zlib stream.
Strom packen(const Bytes& d, int, size_t teil) {
    Strom s;
    for (size_t a = 0; a < d.size(); a += teil) {
        const size_t n = std::min(teil, d.size() - a);
        Bytes c = {0x78, 0x01};
        for (size_t i = 0; i < n || i == 0; i += 65535) {
            const size_t k = std::min<size_t>(65535, n - i);
            c.push_back(i + k == n ? 1 : 0);
            c.push_back(uint8_t(k));
            c.push_back(uint8_t(k >> 8));
            c.push_back(uint8_t(~k));
            c.push_back(uint8_t(~k >> 8));
            c.insert(c.end(), d.begin() + long(a + i), d.begin() + long(a + i + k));
        }
        s.teile.push_back(std::move(c));
        s.laengen.push_back(n);
        s.gesamt += n;
    }
    return s;
}

#endif

const Bytes& daten(int art) {
    static const Bytes f = foto(kBreite, kHoehe, 700, 400, 250), p = praediktor(f), t = text();
    return art == 0 ? f : art == 1 ? p : t;
}

const Strom& strom(int art, int stufe, bool streifen) {
    static Strom cache[3][10][2];
    Strom& s = cache[art][stufe][streifen];
    if (s.teile.empty()) s = packen(daten(art), stufe, streifen ? 2 * kZeile : daten(art).size());
    return s;
}

void ours(benchmark::State& state, int art, int stufe, bool streifen) {
    const Strom& s = strom(art, stufe, streifen);
    Bytes ziel(s.laengen.empty() ? 0 : *std::max_element(s.laengen.begin(), s.laengen.end()));
    for (auto _ : state) {
        for (size_t i = 0; i < s.teile.size(); ++i)
            if (bild::inflate_entpacken(s.teile[i].data(), s.teile[i].size(), ziel.data(), s.laengen[i]) !=
                int64_t(s.laengen[i])) {
                state.SkipWithError("short result");
                return;
            }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(s.gesamt));
}

#ifdef BILD_BENCH_ZLIB

// roh: a raw deflate stream after the zlib header, no Adler-32 check.
void zlib(benchmark::State& state, int art, int stufe, bool streifen, bool roh) {
    const Strom& s = strom(art, stufe, streifen);
    Bytes ziel(*std::max_element(s.laengen.begin(), s.laengen.end()));
    for (auto _ : state) {
        for (size_t i = 0; i < s.teile.size(); ++i) {
            z_stream z{};
            inflateInit2(&z, roh ? -15 : 15);
            z.next_in = const_cast<Bytef*>(s.teile[i].data() + (roh ? 2 : 0));
            z.avail_in = uInt(s.teile[i].size() - (roh ? 2 : 0));
            z.next_out = ziel.data();
            z.avail_out = uInt(s.laengen[i]);
            const int r = inflate(&z, Z_FINISH);
            inflateEnd(&z);
            if (r != Z_STREAM_END) {
                state.SkipWithError("zlib failed");
                return;
            }
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(s.gesamt));
}

#endif

const char* const kName[3] = {"foto", "praediktor", "text"};

// Registered at start-up: one entry per data, level and decoder.
const bool registriert = [] {
    struct Fall {
        int art, stufe;
        bool streifen;
    };
    const Fall faelle[] = {{0, 1, false}, {0, 6, false}, {0, 9, false}, {1, 1, false}, {1, 6, false},
                           {1, 9, false}, {2, 1, false}, {2, 6, false}, {2, 9, false}, {0, 6, true}};
    for (const Fall& f : faelle) {
        const std::string name =
            std::string(kName[f.art]) + "_" + std::to_string(f.stufe) + (f.streifen ? "_streifen" : "");
        benchmark::RegisterBenchmark(("inflate/" + name + "/bild").c_str(), ours, f.art, f.stufe, f.streifen)
            ->Unit(benchmark::kMillisecond);
#ifdef BILD_BENCH_ZLIB
        benchmark::RegisterBenchmark(("inflate/" + name + "/zlib").c_str(), zlib, f.art, f.stufe, f.streifen, false)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("inflate/" + name + "/zlib_roh").c_str(), zlib, f.art, f.stufe, f.streifen, true)
            ->Unit(benchmark::kMillisecond);
#endif
    }
    return true;
}();

}  // namespace

BENCHMARK_MAIN();
