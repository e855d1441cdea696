// CRaw: raw image files with the "KVX RawImage" header. (Reader and writer
// arrive later; until then both refuse with 12.)
#pragma once
#include "bild/bild.h"

class CRaw {
public:
    int lesen(const wchar_t*, CBILD*) { return 12; }
    int schreiben(const wchar_t*, CBILD*) { return 12; }
    int schreibenteil(const wchar_t*, CBILD*, CTeilbereich*) { return 12; }
};
