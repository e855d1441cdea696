// consumer IN.bmp OUT.tif: reads a BMP and writes it through the installed library.
#include <bildlib.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string a = argv[1], b = argv[2];
    CBILD bild(0, 0);
    const int lesen = bild.bildlese(std::wstring(a.begin(), a.end()).c_str());
    const int schreiben = lesen == 0 ? bild.bildspeich(std::wstring(b.begin(), b.end()).c_str()) : -1;
    std::printf("read %d, write %d, %d x %d x %d\n", lesen, schreiben, bild.breite, bild.hoehe, bild.bpp);
    return lesen == 0 && schreiben == 0 ? 0 : 1;
}
