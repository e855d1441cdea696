#include "app/dateiname.h"

#include <sys/stat.h>

#include <cstring>
#include <cwchar>
#include <string>

namespace {

const wchar_t* const kTypW[8] = {L".bia", L".tif", L".tiff", L".bmp", L".bir", L".raw", L".jpg", L".jpeg"};
const char* const kTypA[8] = {".bia", ".tif", ".tiff", ".bmp", ".bir", ".raw", ".jpg", ".jpeg"};

template <typename C>
long klein(C c) {
    // Characters compare as the signed values they hold, as the C library's
    // table sees them; only A-Z change.
    long v = static_cast<long>(c);  // NOLINT(bugprone-signed-char-misuse)
    return (v >= 'A' && v <= 'Z') ? v + ('a' - 'A') : v;
}

template <typename C>
int vergleiche(const C* a, const C* b) {
    for (;; ++a, ++b) {
        if (*a == 0) return *b == 0 ? 0 : -1;
        if (*b == 0) return 1;
        long ka = klein(*a), kb = klein(*b);
        if (ka != kb) return ka < kb ? -1 : 1;
    }
}

template <typename C>
const C* letzter_punkt(const C* name) {
    const C* punkt = nullptr;
    for (const C* p = name; *p; ++p)
        if (*p == C('.')) punkt = p;
    return punkt;
}

template <typename C>
int testtyp(const C* name, const C* const* table, int count) {
    if (!name || !table || count < 1) return -1;
    static const C kNurPunkt[2] = {C('.'), C(0)};
    const C* ext = letzter_punkt(name);
    if (!ext) ext = kNurPunkt;  // no dot: only an entry of exactly "." matches
    for (int i = 0; i < count; ++i)
        if (table[i] && vergleiche(ext, table[i]) == 0) return i;
    return -1;
}

template <typename C>
int komma(C* text) {
    for (; text && *text; ++text)
        if (*text == C('.')) *text = C(',');
    return 0;
}

}  // namespace

namespace bild {

bool utf8(const wchar_t* s, std::string& out) {
    for (; *s; ++s) {
        const long c = static_cast<long>(*s);  // NOLINT(bugprone-signed-char-misuse): wchar_t is signed
        if (c < 0 || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return false;
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | (c >> 18));
            out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return true;
}

}  // namespace bild

int testimagetypew(const wchar_t* name) { return testtyp(name, kTypW, 8); }
int testimagetypea(const char* name) { return testtyp(name, kTypA, 8); }
int testtypw(const wchar_t* name, const wchar_t** table, int count) { return testtyp(name, table, count); }
int testtypa(const char* name, const char** table, int count) { return testtyp(name, table, count); }

int wcsicmp1(const wchar_t* a, const wchar_t* b) { return vergleiche(a, b); }
int stricmp1(const char* a, const char* b) { return vergleiche(a, b); }

FILE* wfopen1(const wchar_t* name, const wchar_t* mode) {
    if (!name || !mode) return nullptr;
    std::string n, m;
    if (!bild::utf8(name, n) || !bild::utf8(mode, m)) return nullptr;
    FILE* f = std::fopen(n.c_str(), m.c_str());
    // Linux opens a folder for reading; a folder is no image file.
    struct stat st;
    if (f && ::fstat(fileno(f), &st) == 0 && S_ISDIR(st.st_mode)) {
        std::fclose(f);
        return nullptr;
    }
    return f;
}

int excel(char* text) { return komma(text); }
int wexcel(wchar_t* text) { return komma(text); }

int getstellen(unsigned int value) {
    int n = 0;
    for (; value; value >>= 1) ++n;
    return n;
}
