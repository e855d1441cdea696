// Utils::RamFileLoader: loads one whole file into memory, into the caller's
// buffer or one it allocates and owns. Failures are catalogue codes.
#pragma once
#include <cstdint>

#include "sdk/fehler.h"

namespace Utils {

class RamFileLoader {
public:
    RamFileLoader() = default;
    ~RamFileLoader();
    RamFileLoader(const RamFileLoader&) = delete;
    RamFileLoader& operator=(const RamFileLoader&) = delete;

    // 0 or one of the E_RAM_FILE_LOADER_* codes. One loader loads at most
    // one file, also after a failed read (then E_RAM_FILE_LOADER_FILE_LOADED).
    // `buffer` holds at least maxSize bytes, or is null to let the loader
    // allocate; a caller's buffer is never released.
    int loadFile(const char* name, unsigned int maxSize, void* buffer);

    int64_t getFileSize() const { return groesse_; }
    unsigned char* getData() const { return daten_; }

private:
    int64_t groesse_ = 0;
    unsigned char* daten_ = nullptr;
    int eigen_ = 0;
};

}  // namespace Utils
