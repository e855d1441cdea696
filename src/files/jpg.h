// CJpg: JPEG is neither read nor written. Every name whose extension matches
// no other format lands here too, so an unknown extension always fails.
#pragma once
#include "bild/bild.h"

class CJpg {
public:
    int lesen(const wchar_t*, CBILD*) { return 1; }
    int schreiben(const wchar_t*, CBILD*) { return 1; }
    int schreibenteil(const wchar_t*, CBILD*, CTeilbereich*) { return 1; }
};
