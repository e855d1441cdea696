// libFuzzer target: the PackBits decoder on arbitrary bytes (fuzz::strom).
#include "files/codec/packbits.h"
#include "fuzz_ziel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return fuzz::strom(data, size, bild::packbits_entpacken, 0);
}
