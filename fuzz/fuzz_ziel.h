// Shared body of the fuzz targets: the input bytes become a file with the
// format's extension (readers open files by name), the reader runs on it, and
// for the whole path the image is then written as TIFF.
#pragma once
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>

#include "bildlib.h"

namespace fuzz {

inline std::string ablage() {
    const char* t = std::getenv("TMPDIR");
    std::string d = t && *t ? t : (::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp");
    return d + "/bildfuzz_" + std::to_string(::getpid());
}

inline std::wstring breit(const std::string& s) { return std::wstring(s.begin(), s.end()); }

// Reads `data` as a file named *.<ext>; with `schreiben`, stores the image
// as TIFF afterwards. An image too large for memory is the allocator's
// failure (std::bad_alloc), which the converter turns into its error line.
inline int lauf(const uint8_t* data, size_t size, const char* ext, bool schreiben) {
    const std::string basis = ablage();
    const std::string ein = basis + "." + ext;
    FILE* f = std::fopen(ein.c_str(), "wb");
    if (!f) return 0;
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
    try {
        CBILD bild(0, 0);
        // Writing is skipped for images above 16 MiB of pixels: a tiny file
        // may legitimately declare gigabytes of unread rows, and writing them
        // only slows the search down.
        if (bild.bildlese(breit(ein).c_str()) == 0 && schreiben && bild.puffergroesse <= (16u << 20))
            bild.bildspeich(breit(basis + ".out.tif").c_str());
    } catch (const std::bad_alloc&) {
    }
    std::remove(ein.c_str());
    std::remove((basis + ".out.tif").c_str());
    return 0;
}

}  // namespace fuzz
