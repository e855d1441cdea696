// Images over caller memory: a row table pointing into a buffer the image
// does not own.
#include <cstddef>
#include <cstdint>

#include "bild/bild.h"
#include "bild/groesse.h"

int CBILD::setimage(unsigned char* daten, int width, int height, int bytesPerPixel, int stride,
                    int flagword, bool farbig) {
    if (!daten || width < 1 || height < 1) return 0;
    if (bytesPerPixel != 1 && bytesPerPixel != 2 && bytesPerPixel != 3 && bytesPerPixel != 4 &&
        bytesPerPixel != 6)
        return 0;
    // A row must stay addressable with int offsets, as rows of owned images are.
    uint64_t zeilenbytes = 0;
    if (!bild::produkt_passt(width, bytesPerPixel, 1, INT32_MAX, &zeilenbytes)) return 0;
    const int64_t schritt = stride == 0 ? int64_t(zeilenbytes) : int64_t(stride);
    if (schritt < int64_t(zeilenbytes)) return 0;
    // 16- and 32-bit samples are read as such: misaligned rows would not be.
    const int64_t probe = (bytesPerPixel == 2 || bytesPerPixel == 6) ? 2 : bytesPerPixel == 4 ? 4 : 1;
    if (reinterpret_cast<uintptr_t>(daten) % uint64_t(probe) != 0 || schritt % probe != 0) return 0;

    speicher1(height);
    breite = width;
    bpp = bytesPerPixel;
    flag = flagword;
    farbe32 = (farbig && bytesPerPixel == 4) ? 256 : 0;
    for (int y = 0; y < height; ++y) zeile[y] = daten + size_t(y) * size_t(schritt);
    return 1;
}
