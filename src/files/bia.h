// CBia: the native BIA/BIR image file. (Reader and writer arrive later; until
// then both refuse with 12.)
#pragma once
#include "bild/bild.h"

class CBia {
public:
    int lesen(const wchar_t*, CBILD*) { return 12; }
    int schreiben(const wchar_t*, CBILD*) { return 12; }
    int schreibenteil(const wchar_t*, CBILD*, CTeilbereich*) { return 12; }
};
