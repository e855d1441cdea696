// Small helpers on file names shared by the format classes: extension
// classes, case-insensitive comparison, opening by wide (32-bit) name.
#pragma once
#include <cstdio>
#include <string>

// Index of the name's extension (from its last '.') in the image table
// .bia .tif .tiff .bmp .bir .raw .jpg .jpeg, ignoring case; -1 for none.
int testimagetypew(const wchar_t* name);
int testimagetypea(const char* name);
// The same against a caller's table of `count` entries.
int testtypw(const wchar_t* name, const wchar_t** table, int count);
int testtypa(const char* name, const char** table, int count);

// Case-insensitive comparison: -1, 0 or 1. Only A-Z are lowered, as the C
// library's table does in the "C" locale the program runs in.
int wcsicmp1(const wchar_t* a, const wchar_t* b);
int stricmp1(const char* a, const char* b);

// Opens a file named by a wide string, converted to UTF-8. A name holding a
// value with no UTF-8 form (negative, a surrogate, above 0x10FFFF) opens
// nothing and gives null; this never throws. A folder opens as nothing
// too (null), as it does on every platform the format classes came from.
FILE* wfopen1(const wchar_t* name, const wchar_t* mode);

// Replace every '.' by ',' in place; always 0.
int excel(char* text);
int wexcel(wchar_t* text);

// Number of binary digits: 0 for 0, else the highest set bit's index + 1.
int getstellen(unsigned int value);

namespace bild {
// Appends the UTF-8 form of a wide string to out; false when a value has no
// UTF-8 form (negative, a surrogate, above 0x10FFFF), out then holds the
// characters before it.
bool utf8(const wchar_t* s, std::string& out);
}  // namespace bild
