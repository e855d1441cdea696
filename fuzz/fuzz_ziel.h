// Shared body of the fuzz targets: the input bytes become a file with the
// format's extension (readers open files by name), the reader runs on it, and
// for the whole path the image is then written as TIFF.
#pragma once
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "bildlib.h"

namespace fuzz {

// Reads `data` as a file named *.<ext>; with `schreiben`, stores the image as TIFF afterwards. An image too large
// for memory is the allocator's failure (std::bad_alloc), which the converter turns into its error line.
inline int lauf(const uint8_t* data, size_t size, const char* ext, bool schreiben) {
    const char* t = std::getenv("TMPDIR");
    const std::string basis = std::string(t && *t ? t : ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") + "/bildfuzz_" +
                              std::to_string(::getpid()),
                      ein = basis + "." + ext, aus = basis + ".out.tif";
    FILE* f = std::fopen(ein.c_str(), "wb");
    if (!f) return 0;
    std::fwrite(data, 1, size, f), std::fclose(f);
    try {
        CBILD bild(0, 0);
        // Writing is skipped for images above 16 MiB of pixels: a tiny file may legitimately declare gigabytes
        // of unread rows, and writing them only slows the search down.
        if (bild.bildlese(std::wstring(ein.begin(), ein.end()).c_str()) == 0 && schreiben && bild.puffergroesse <= (16u << 20))
            bild.bildspeich(std::wstring(aus.begin(), aus.end()).c_str());
    } catch (const std::bad_alloc&) {
    }
    return std::remove(ein.c_str()), std::remove(aus.c_str()), 0;
}

// A byte-stream decoder on arbitrary bytes: the first two give kap (top bit:
// times 8), the output buffer is exactly kap bytes, so AddressSanitizer sees a
// write beyond; a result outside [-1, kap] (PackBits: [0, kap]) aborts.
inline int strom(const uint8_t* data, size_t size, int64_t (*f)(const unsigned char*, size_t, unsigned char*, size_t),
                 int64_t kleinster = -1) {
    if (size < 2) return 0;
    const size_t v = size_t(data[0]) << 8 | data[1], kap = v & 0x8000 ? (v & 0x7FFF) * 8 : v;
    std::vector<unsigned char> ziel(kap);
    const int64_t r = f(data + 2, size - 2, ziel.data(), kap);
    if (r < kleinster || r > int64_t(kap)) std::abort();
    return 0;
}

}  // namespace fuzz
