// Seeds of the decoder fuzz targets. Each fuzz/saat_<decoder>.cpp registers
// one function with a static CodecSaat object; fuzz_saat writes what it
// returns into <folder>/<decoder>/.
#pragma once
#include <vector>

#include "bau.h"

struct CodecSaat {
    using Quelle = std::vector<Bytes> (*)();
    struct Eintrag { const char* ziel; Quelle quelle; };
    CodecSaat(const char* ziel, Quelle quelle) { alle().push_back({ziel, quelle}); }
    static std::vector<Eintrag>& alle() {
        static std::vector<Eintrag> liste;
        return liste;
    }
};
