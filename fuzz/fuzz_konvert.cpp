// libFuzzer target: the converter's whole path for one file (read by the
// extension the first input byte picks, then write TIFF).
#include "fuzz_ziel.h"
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* d, size_t n) {
    static const char* const kExt[] = {"bmp", "bia", "bir", "raw", "tif"};
    return n < 1 ? 0 : fuzz::lauf(d + 1, n - 1, kExt[d[0] % 5], true);
}
