// rundgang IMAGE: a short tour of the bild library. Reads any file bildconv
// reads, reports its size and mean, saves its middle as a BIA file, a gray
// copy as TIFF and the gray copy's row sums as a text curve, all next to it.
#include <bildlib.h>

#include <cstdio>
#include <string>

// File names are wide strings; one byte becomes one character, as in bildconv
// (a name with bytes above 0x7F opens nothing).
static std::wstring breit(const std::string& s) { return std::wstring(s.begin(), s.end()); }

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: rundgang IMAGE\n");
        return 2;
    }
    const std::string name = argv[1];

    // Every file function returns 0 for success or a small result code.
    CBILD bild;
    if (const int ergebnis = bild.bildlese(breit(name).c_str()); ergebnis != 0) {
        std::fprintf(stderr, "%s: read result %d\n", name.c_str(), ergebnis);
        return 1;
    }
    std::printf("%s: %d x %d, %d bytes per pixel, %s\n", name.c_str(), bild.breite, bild.hoehe, bild.bpp,
                bild.istfarbig() ? "colour" : "gray");

    // Profiles return 1 when done; for colour, kanal -1 sums the three samples.
    double mittel = 0, min = 0, max = 0;
    if (mittelwert(&bild, &mittel, &min, &max) == 1)
        std::printf("pixel values: mean %.2f, min %.0f, max %.0f\n", mittel, min, max);

    // A region is fitted into the image before use; the object then holds the fitted one.
    CTeilbereich mitte(bild.breite / 4, bild.hoehe / 4, (bild.breite + 1) / 2, (bild.hoehe + 1) / 2);
    if (bild.bildspeichteil(breit(name + ".mitte.bia").c_str(), &mitte) != 0) return 1;
    std::printf("middle: %d x %d at (%d, %d) -> %s.mitte.bia\n", mitte.breite, mitte.hoehe, mitte.links, mitte.oben,
                name.c_str());

    // Gray of the same sample width; a gray image is copied as it is.
    CBILD grau;
    if (grau.setzgrau(&bild) != 0 || grau.bildspeich(breit(name + ".grau.tif").c_str()) != 0) return 1;

    CKurve zeilen;
    if (zeilensumme(&grau, &zeilen) != 1) return 1;
    double kleinste = 0, groesste = 0;
    zeilen.getbereichy(&kleinste, &groesste);
    std::printf("row sums of the gray copy: %d rows, %.0f to %.0f -> %s.zeilen.txt\n", zeilen.anzahl, kleinste,
                groesste, name.c_str());
    return zeilen.testfile((name + ".zeilen.txt").c_str(), L"row sums", 1, 1, nullptr) == 0 ? 0 : 1;
}
