#include "sdk/ramfileloader.h"

#include <cstdio>
#include <new>

#include "app/dateiname.h"
#include "files/datei.h"

namespace Utils {

RamFileLoader::~RamFileLoader() {
    if (daten_ && eigen_) delete[] daten_;
}

int RamFileLoader::loadFile(const char* name, unsigned int maxSize, void* buffer) {
    if (groesse_ != 0 || daten_) return E_RAM_FILE_LOADER_FILE_LOADED;
    bild::Datei datei;
    datei.setzen(bild::oeffne(name, "rb"));
    if (!datei) return E_RAM_FILE_LOADER_OPEN_FILE;

    int64_t groesse = 0;
    if (std::fseek(datei.get(), 0, SEEK_END) == 0) {
        groesse = std::ftell(datei.get());
        if (groesse == -1) return E_RAM_FILE_LOADER_GET_FILESIZE;
        if (groesse > int64_t(maxSize)) return E_RAM_FILE_LOADER_FILE_TOO_LONG;
    }
    if (!buffer) {
        daten_ = new (std::nothrow) unsigned char[size_t(groesse)];
        if (!daten_) {
            errorToString(E_RAM_FILE_LOADER_OUT_OF_MEM);
            return E_RAM_FILE_LOADER_OUT_OF_MEM;
        }
        eigen_ = 1;
    } else {
        daten_ = static_cast<unsigned char*>(buffer);
    }
    std::fseek(datei.get(), 0, SEEK_SET);
    // One item of the whole size: an empty file reads no item and fails.
    const bool gelesen = std::fread(daten_, size_t(groesse), 1, datei.get()) == 1;
    if (gelesen) groesse_ = groesse;
    datei.schliessen();
    return gelesen ? 0 : E_RAM_FILE_LOADER_READ_FILE;
}

}  // namespace Utils
