// Small helpers on file names shared by the format classes: extension
// classes, case-insensitive comparison, opening by wide (32-bit) name.
#pragma once
#include <atomic>
#include <cstdint>
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

// Opens a file named by a wide string, converted to UTF-8, as bild::oeffne
// does. A name holding a value with no UTF-8 form (negative, a surrogate,
// above 0x10FFFF) opens nothing and gives null; this never throws.
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

// fopen for unattended batches; null where it refuses or fails:
// - reading ("r", "r+"): only a regular file; a FIFO, socket, device or
//   folder is refused without waiting (a FIFO with no writer would block
//   the batch for ever);
// - creating for writing ("w", "a", "x"): never through a symbolic link as
//   the name's last part (a link planted in a shared folder must not make
//   us overwrite its target), never waiting for a FIFO's reader; a regular
//   file is created with 0666 less the umask or truncated in place, and a
//   character device such as /dev/null stays writable.
// Descriptors are close-on-exec. The mode's letters are fopen's.
FILE* oeffne(const char* name, const char* mode);

// Device and inode of the last file oeffne opened for writing (both 0 before
// any): the converter's interrupt handler removes a half-written output
// only while its name still is the file we opened, never a file we did not
// write (one we were not allowed to open, say). Lock-free, so a signal
// handler may read them.
extern std::atomic<uint64_t> g_schreibgeraet, g_schreibknoten;
}  // namespace bild
