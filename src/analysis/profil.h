// Profiles and statistics of a CBILD: row sums, column sums and the mean
// value with minimum and maximum, over the whole image or a CTeilbereich.
//
// Pixel value. Gray images (1, 2 bytes per pixel; 4 bytes unless farbe32 is
// 256) use their one unsigned sample, whatever `kanal` says. Colour images
// (3 and 6 bytes per pixel; 4 bytes with farbe32 = 256, whose fourth byte is
// ignored) use, by `kanal`:
//   -1      the sum of the three samples of the pixel,
//   0, 1, 2 one sample: red, green, blue, whatever order they are stored in.
// Colour storage follows the flag word: 0 = blue, green, red interleaved;
// 4 = red, green, blue interleaved; any other value = planar rows holding a
// blue, a green and a red plane of `breite` samples.
//
// Region. With a CTeilbereich it is first fitted into the image with
// testteilx(breite) and testteily(hoehe), which changes the caller's object
// as the other region members do; null means the whole image.
//
// Results: 1 done, 0 refused (null or empty image, unknown depth, a kanal
// outside -1..2 on a colour image, a region with no pixels after fitting);
// on refusal no output is touched.
//
// Sums are exact 64-bit integers (no image whose buffer fits 32 bits can
// overflow them) handed out as doubles. Every function reads the image once,
// row by row; column sums add each row into a row of per-column totals.
#pragma once

class CBILD;
class CKurve;
class CTeilbereich;

// Both profiles in one pass. zeilen gets one pair per region row (x = the
// image's row index, y = the sum over the region's columns), spalten one pair
// per region column (x = the image's column index). Either may be null.
int profilsummen(const CBILD* bild, CKurve* zeilen, CKurve* spalten, int kanal = -1,
                 CTeilbereich* region = nullptr);
int zeilensumme(const CBILD* bild, CKurve* kurve, int kanal = -1, CTeilbereich* region = nullptr);
int spaltensumme(const CBILD* bild, CKurve* kurve, int kanal = -1, CTeilbereich* region = nullptr);

// Arithmetic mean, smallest and largest pixel value. Any output may be null.
int mittelwert(const CBILD* bild, double* mittel, double* min, double* max, int kanal = -1,
               CTeilbereich* region = nullptr);
