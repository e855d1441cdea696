// Test helpers: a scratch folder per test, whole-file I/O, and a builder of
// BMP bytes from a few parameters.
#pragma once
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bau.h"


inline Bytes lies_datei(const std::string& pfad) {
    std::ifstream f(pfad, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(f), {});
}

inline void schreib_datei(const std::string& pfad, const Bytes& b) {
    std::ofstream f(pfad, std::ios::binary);
    f.write(reinterpret_cast<const char*>(b.data()), std::streamsize(b.size()));
}

inline bool existiert(const std::string& pfad) {
    struct stat st;
    return ::stat(pfad.c_str(), &st) == 0;
}

inline std::wstring w(const std::string& s) { return std::wstring(s.begin(), s.end()); }

// A fresh folder under the test's working directory, removed afterwards.
class Ordner : public ::testing::Test {
protected:
    std::string dir;
    void SetUp() override {
        char muster[] = "bildtest_XXXXXX";
        ASSERT_NE(::mkdtemp(muster), nullptr);
        dir = muster;
    }
    void TearDown() override { std::system(("rm -rf '" + dir + "'").c_str()); }
    std::string pfad(const std::string& name) const { return dir + "/" + name; }
};

// Output of a shell command, and its exit status.
inline std::string laufe(const std::string& befehl, int* status = nullptr) {
    std::string out;
    FILE* p = ::popen(befehl.c_str(), "r");
    if (!p) return out;
    char buf[4096];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    const int s = ::pclose(p);
    if (status) *status = WIFEXITED(s) ? WEXITSTATUS(s) : -1;
    return out;
}
