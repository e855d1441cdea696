// libFuzzer target: the BIA reader on arbitrary bytes.
#include "fuzz_ziel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return fuzz::lauf(data, size, "bia", false);
}
