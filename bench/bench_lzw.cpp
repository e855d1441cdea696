// LZW and PackBits decoding in output bytes per second, strip by strip, on a
// photo-like 2000 x 1500 RGB image (smooth gradients plus noise) in strips of
// 64 rows. With libtiff (BILD_BENCH_TIFF) the strips come from TIFFs libtiff
// wrote, and libtiff's own TIFFReadEncodedStrip on the same file is timed
// beside ours on the raw strip bytes (TIFFReadRawStrip). The file with the
// horizontal predictor is timed too; there libtiff also undoes the predictor,
// which our decoder leaves to the reader, so only the files without it
// compare the decoders alone. Without libtiff the strips are encoded here.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstdio>
#include <string>
#include <vector>

#include "foto.h"
#include "files/codec/lzw.h"
#include "files/codec/packbits.h"

#ifdef BILD_BENCH_TIFF
#include <tiffio.h>
#include <unistd.h>
#endif

namespace {

using Bytes = std::vector<unsigned char>;

constexpr uint32_t kBreite = 2000, kHoehe = 1500, kStreifen = 64;
constexpr size_t kZeile = size_t(kBreite) * 3;

struct Streifen {
    std::vector<Bytes> roh;  // compressed strips
    std::vector<size_t> laenge;  // their decoded sizes
    std::string datei;       // the TIFF they came from (libtiff only)
    const unsigned char* soll = nullptr;  // the image they hold, when no predictor changed it
};

#ifdef BILD_BENCH_TIFF

// The TIFFs written go when the program ends.
struct Dateien {
    std::vector<std::string> namen;
    ~Dateien() {
        for (const std::string& d : namen) std::remove(d.c_str());
    }
} dateien;

// Writes the image as a TIFF of `kompression` (and `praediktor`) and reads
// its strips back raw.
Streifen schreiben(uint16_t kompression, uint16_t praediktor) {
    static const Bytes bild = foto(kBreite, kHoehe, 1200, 600, 300);
    Streifen st;
    if (praediktor == 1) st.soll = bild.data();
    const char* t = std::getenv("TMPDIR");
    st.datei = std::string(t && *t ? t : "/tmp") + "/bench_lzw_" + std::to_string(::getpid()) + "_" +
               std::to_string(kompression) + "_" + std::to_string(praediktor) + ".tif";
    TIFF* w = TIFFOpen(st.datei.c_str(), "w");
    if (!w) return st;
    dateien.namen.push_back(st.datei);
    TIFFSetField(w, TIFFTAG_IMAGEWIDTH, kBreite);
    TIFFSetField(w, TIFFTAG_IMAGELENGTH, kHoehe);
    TIFFSetField(w, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(w, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(w, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(w, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(w, TIFFTAG_ROWSPERSTRIP, kStreifen);
    TIFFSetField(w, TIFFTAG_COMPRESSION, kompression);
    if (praediktor != 1) TIFFSetField(w, TIFFTAG_PREDICTOR, praediktor);
    for (uint32_t y = 0; y < kHoehe; y += kStreifen) {
        const uint32_t zeilen = std::min(kStreifen, kHoehe - y);
        TIFFWriteEncodedStrip(w, y / kStreifen, const_cast<unsigned char*>(bild.data() + y * kZeile),
                              tmsize_t(zeilen * kZeile));
    }
    TIFFClose(w);
    TIFF* r = TIFFOpen(st.datei.c_str(), "r");
    if (!r) return st;
    for (uint32_t s = 0; s < TIFFNumberOfStrips(r); ++s) {
        Bytes roh(TIFFGetStrileByteCount(r, s));
        TIFFReadRawStrip(r, s, roh.data(), tmsize_t(roh.size()));
        st.roh.push_back(std::move(roh));
        st.laenge.push_back(std::min(kStreifen, kHoehe - s * kStreifen) * kZeile);
    }
    TIFFClose(r);
    return st;
}

const Streifen& lzw_streifen() {
    static const Streifen s = schreiben(COMPRESSION_LZW, 1);
    return s;
}
const Streifen& lzw_praediktor_streifen() {
    static const Streifen s = schreiben(COMPRESSION_LZW, 2);
    return s;
}
const Streifen& packbits_streifen() {
    static const Streifen s = schreiben(COMPRESSION_PACKBITS, 1);
    return s;
}

void libtiff_lesen(benchmark::State& state, const Streifen& st) {
    TIFF* r = TIFFOpen(st.datei.c_str(), "r");
    if (!r) {
        state.SkipWithError("libtiff could not open its own file");
        return;
    }
    Bytes ziel(kZeile * kStreifen);
    int64_t bytes = 0;
    for (auto _ : state) {
        for (uint32_t s = 0; s < TIFFNumberOfStrips(r); ++s)
            bytes += TIFFReadEncodedStrip(r, s, ziel.data(), tmsize_t(ziel.size()));
        benchmark::ClobberMemory();
    }
    TIFFClose(r);
    state.SetBytesProcessed(bytes);
}

void BM_lzw_libtiff(benchmark::State& state) { libtiff_lesen(state, lzw_streifen()); }
void BM_lzw_praediktor_libtiff(benchmark::State& state) { libtiff_lesen(state, lzw_praediktor_streifen()); }
void BM_packbits_libtiff(benchmark::State& state) { libtiff_lesen(state, packbits_streifen()); }
BENCHMARK(BM_lzw_libtiff)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_lzw_praediktor_libtiff)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_packbits_libtiff)->Unit(benchmark::kMillisecond);

#else

// TIFF's LZW as an encoder writes it (Clear first, codes widened one early,
// Clear when the table is full), for the build without libtiff.
Bytes lzw_packen(const unsigned char* d, size_t n) {
    Bytes out;
    std::vector<uint16_t> kind(4096 * 256, 0);
    uint64_t acc = 0;
    int nacc = 0, breite = 9, frei = 258, w = -1;
    auto code = [&](int c) {
        acc = (acc << breite) | uint64_t(c);
        for (nacc += breite; nacc >= 8; nacc -= 8) out.push_back(uint8_t(acc >> (nacc - 8)));
    };
    code(256);
    for (size_t i = 0; i < n; ++i) {
        if (w < 0) {
            w = d[i];
            continue;
        }
        uint16_t& k = kind[size_t(w) * 256 + d[i]];
        if (k) {
            w = k;
            continue;
        }
        code(w);
        k = uint16_t(frei);
        w = d[i];
        if (++frei == 4094) {
            code(256);
            std::fill(kind.begin(), kind.end(), 0);
            frei = 258;
            breite = 9;
        } else if (frei > (1 << breite) - 1) {
            ++breite;
        }
    }
    if (w >= 0) code(w);
    code(257);
    if (nacc) out.push_back(uint8_t(acc << (8 - nacc)));
    return out;
}

Bytes packbits_packen(const unsigned char* d, size_t n) {
    Bytes out;
    for (size_t i = 0; i < n;) {
        size_t lauf = 1;
        while (i + lauf < n && lauf < 128 && d[i + lauf] == d[i]) ++lauf;
        if (lauf >= 2) {
            out.push_back(uint8_t(257 - lauf));
            out.push_back(d[i]);
            i += lauf;
            continue;
        }
        size_t l = 1;
        while (i + l < n && l < 128 && !(i + l + 1 < n && d[i + l] == d[i + l + 1])) ++l;
        out.push_back(uint8_t(l - 1));
        out.insert(out.end(), d + i, d + i + l);
        i += l;
    }
    return out;
}

Streifen packen(Bytes (*packer)(const unsigned char*, size_t)) {
    static const Bytes bild = foto(kBreite, kHoehe, 1200, 600, 300);
    Streifen st;
    for (uint32_t y = 0; y < kHoehe; y += kStreifen) {
        const size_t n = std::min(kStreifen, kHoehe - y) * kZeile;
        st.roh.push_back(packer(bild.data() + y * kZeile, n));
        st.laenge.push_back(n);
    }
    st.soll = bild.data();
    return st;
}

const Streifen& lzw_streifen() {
    static const Streifen s = packen(lzw_packen);
    return s;
}
const Streifen& packbits_streifen() {
    static const Streifen s = packen(packbits_packen);
    return s;
}

#endif

void bild_lesen(benchmark::State& state, const Streifen& st,
                int64_t (*dekoder)(const unsigned char*, size_t, unsigned char*, size_t)) {
    Bytes ziel(kZeile * kStreifen);
    for (size_t s = 0; s < st.roh.size() && st.soll; ++s) {
        dekoder(st.roh[s].data(), st.roh[s].size(), ziel.data(), st.laenge[s]);
        if (!std::equal(ziel.begin(), ziel.begin() + long(st.laenge[s]), st.soll + s * kStreifen * kZeile)) {
            state.SkipWithError("a strip decoded to other bytes than were written");
            return;
        }
    }
    int64_t bytes = 0;
    for (auto _ : state) {
        for (size_t s = 0; s < st.roh.size(); ++s) {
            const int64_t r = dekoder(st.roh[s].data(), st.roh[s].size(), ziel.data(), st.laenge[s]);
            if (r != int64_t(st.laenge[s])) state.SkipWithError("a strip did not decode whole");
            bytes += r;
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(bytes);
    size_t roh = 0, voll = 0;
    for (size_t s = 0; s < st.roh.size(); ++s) roh += st.roh[s].size(), voll += st.laenge[s];
    state.counters["ratio"] = roh ? double(voll) / double(roh) : 0;
}

void BM_lzw_bild(benchmark::State& state) { bild_lesen(state, lzw_streifen(), bild::lzw_entpacken); }
void BM_packbits_bild(benchmark::State& state) { bild_lesen(state, packbits_streifen(), bild::packbits_entpacken); }
BENCHMARK(BM_lzw_bild)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_packbits_bild)->Unit(benchmark::kMillisecond);
#ifdef BILD_BENCH_TIFF
void BM_lzw_praediktor_bild(benchmark::State& state) {
    bild_lesen(state, lzw_praediktor_streifen(), bild::lzw_entpacken);
}
BENCHMARK(BM_lzw_praediktor_bild)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
