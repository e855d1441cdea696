// libFuzzer target: the BMP reader on arbitrary bytes.
#include "fuzz_ziel.h"
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* d, size_t n) { return fuzz::lauf(d, n, "bmp", false); }
