// libFuzzer target: the converter's whole path for one file (read by the
// extension the first input byte picks, then write TIFF).
#include "fuzz_ziel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char* const kExt[] = {"bmp", "bia", "bir", "raw", "tif"};
    if (size < 1) return 0;
    return fuzz::lauf(data + 1, size - 1, kExt[data[0] % 5], true);
}
