#include "sdk/fehler.h"

namespace Utils {
namespace {

// One table for the whole catalogue. A new group is a block of entries
// added here: its base code first, then its codes in order. Every text ends
// with one blank, as the SDK's texts always have.
constexpr Fehlereintrag kKatalog[] = {
    // RAM file loader
    {"E_RAM_FILE_LDR_BASE", E_RAM_FILE_LDR_BASE, "Fehler des Datei-Laders "},
    {"E_RAM_FILE_LOADER_FILE_LOADED", E_RAM_FILE_LOADER_FILE_LOADED, "Es ist schon eine Datei geladen "},
    {"E_RAM_FILE_LOADER_OPEN_FILE", E_RAM_FILE_LOADER_OPEN_FILE, "Datei konnte nicht geoeffnet werden "},
    {"E_RAM_FILE_LOADER_GET_FILESIZE", E_RAM_FILE_LOADER_GET_FILESIZE,
     "Dateigroesse konnte nicht ermittelt werden "},
    {"E_RAM_FILE_LOADER_FILE_TOO_LONG", E_RAM_FILE_LOADER_FILE_TOO_LONG, "Datei ist zu gross "},
    {"E_RAM_FILE_LOADER_READ_FILE", E_RAM_FILE_LOADER_READ_FILE, "Fehler beim Lesen der Daten aus der Datei "},
    {"E_RAM_FILE_LOADER_OUT_OF_MEM", E_RAM_FILE_LOADER_OUT_OF_MEM, "Fehler beim Anlegen des Speichers "},
};

const Fehlereintrag* suche(int code) {
    for (const Fehlereintrag& e : kKatalog)
        if (e.code == code) return &e;
    return nullptr;
}

}  // namespace

const char* errorToString(int code) {
    const Fehlereintrag* e = suche(code);
    return e ? e->text : "Unbekannter Fehlercode ";
}

const char* errorName(int code) {
    const Fehlereintrag* e = suche(code);
    return e ? e->name : nullptr;
}

const Fehlereintrag* fehlerkatalog(size_t* anzahl) {
    *anzahl = sizeof(kKatalog) / sizeof(kKatalog[0]);
    return kKatalog;
}

}  // namespace Utils
