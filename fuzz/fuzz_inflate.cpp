// libFuzzer target: the inflater on arbitrary bytes (fuzz::strom).
#include "files/codec/inflate.h"
#include "fuzz_ziel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return fuzz::strom(data, size, bild::inflate_entpacken);
}
