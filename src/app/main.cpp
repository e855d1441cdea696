// bildconv: converts every image named on the command line into an
// uncompressed TIFF named <input>.tif and prints one result line per file.
#include <cstdio>
#include <exception>
#include <string>

#include "bild/bild.h"
#include "sdk/ramfileloader.h"

namespace {

// Each byte becomes one wide character with its sign-extended value: names
// reach the file layer undecoded, and bytes above 0x7F (negative values)
// open nothing.
std::wstring breit(const char* s) {
    std::wstring w;
    for (; *s; ++s) w.push_back(wchar_t(static_cast<signed char>(*s)));
    return w;
}

const char* konvertiere(CBILD& bild, const char* arg) {
    Utils::RamFileLoader loader;  // one per argument, as the SDK's tools keep it
    const std::wstring ausgabe = breit(arg) + L".tif";
    const std::wstring eingabe = breit(arg);
    // No exception may end the batch: one from reading (an image too large
    // for memory) counts as a failed read, one from writing as a failed write.
    try {
        if (bild.bildlese(eingabe.c_str()) != 0) return "Error reading image";
    } catch (const std::exception&) {
        return "Error reading image";
    }
    try {
        if (bild.bildspeich(ausgabe.c_str()) != 0) return "Failed to store output file";
    } catch (const std::exception&) {
        return "Failed to store output file";
    }
    return "OK";
}

}  // namespace

int main(int argc, char** argv) {
    CBILD bild(0, 0);
    for (int i = 1; i < argc; ++i) std::printf("Convert %s: %s\n", argv[i], konvertiere(bild, argv[i]));
    return 0;
}
