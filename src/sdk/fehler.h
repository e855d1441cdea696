// The SDK's error catalogue: a table of (name, code, text) entries grouped
// by subsystem, searched by code.
#pragma once
#include <cstddef>

constexpr int E_RAM_FILE_LDR_BASE = -10001;
constexpr int E_RAM_FILE_LOADER_FILE_LOADED = -10002;
constexpr int E_RAM_FILE_LOADER_OPEN_FILE = -10003;
constexpr int E_RAM_FILE_LOADER_GET_FILESIZE = -10004;
constexpr int E_RAM_FILE_LOADER_FILE_TOO_LONG = -10005;
constexpr int E_RAM_FILE_LOADER_READ_FILE = -10006;
constexpr int E_RAM_FILE_LOADER_OUT_OF_MEM = -10007;

namespace Utils {

struct Fehlereintrag {
    const char* name;
    int code;
    const char* text;
};

// The catalogue text for a code; a fixed text for codes it does not hold.
const char* errorToString(int code);
// The catalogue name for a code, or null.
const char* errorName(int code);

// The whole catalogue, group after group (for listings and tests).
const Fehlereintrag* fehlerkatalog(size_t* anzahl);

}  // namespace Utils
