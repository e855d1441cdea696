// CCITT bilevel decoder (ITU-T T.4 and T.6) for TIFF compressions 2, 3 and
// 4: compressed bytes of one strip or tile in, packed rows out.
#pragma once
#include <cstddef>
#include <cstdint>

namespace bild {

// TIFF's compression codes of the three kinds.
enum CcittArt : int { kCcittMh = 2, kCcittG3 = 3, kCcittG4 = 4 };

// Decodes up to `zeilen` rows of `breite` pixels (breite >= 1) from the n bytes of quelle, read
// most significant bit first (a FillOrder-2 file is bit-reversed by the caller before), into
// packed rows of `zeilenbytes` bytes each (zeilenbytes >= (breite + 7) / 8) at ziel: most
// significant bit first, a white run gives 0 bits, a black run 1 bits (as TIFF defines the
// decoded data, whatever the photometric); padding bits and bytes at the end of a row are 0.
//
// kCcittMh: 1-D rows, each starting on a byte boundary, no EOL.
// kCcittG3: every row preceded by EOL (zero fill before it is skipped, however long; the first
//   row may lack it); `optionen` is T4Options: bit 0 set means 2-D coding, where the EOL is
//   followed by one bit (1: the row is 1-D, 0: 2-D against the row before). Bit 2 (fill bits)
//   needs nothing: fill is skipped either way.
// kCcittG4: 2-D rows without EOL, the first against an all-white row; `optionen` is T6Options.
// Bit 1 of `optionen` (uncompressed mode) is refused by the caller; given here it decodes
// nothing. An uncompressed-mode extension code met in the data counts as damage.
//
// Returns the number of rows decoded completely (== zeilen on success); fewer when the data is
// damaged (a code not in the tables, a run past the row's end, a 2-D mode reaching outside the
// row, an EOL inside a row, a missing EOL in Group 3) or ends early. Those rows are complete
// and correct; the damaged row and all after it are left as they were. RTC or EOFB after the
// last row is never read. Returns 0 for arguments out of range (breite 0, zeilenbytes too
// small, an unknown kind) and when the working memory (two lists of changing elements, at
// most 8 bytes per pixel of one row and 64 per byte of input) cannot be had.
int64_t ccitt_entpacken(const unsigned char* quelle, size_t n, int art, uint32_t optionen, uint32_t breite,
                        uint32_t zeilen, unsigned char* ziel, size_t zeilenbytes);

// A row costs at least one bit (a 2-D row of a blank page is a single V0 code).
constexpr uint64_t kCcittZeilenProByte = 8;

}  // namespace bild
