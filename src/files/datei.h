// A FILE* that closes itself. Format classes keep one as their file handle:
// the numbered close step calls schliessen() and reports its result, and the
// destructor is the fallback for early returns.
#pragma once
#include <cstddef>
#include <cstdio>
#include <memory>

namespace bild {

class Datei {
public:
    Datei() = default;
    ~Datei() { schliessen(); }
    Datei(const Datei&) = delete;
    Datei& operator=(const Datei&) = delete;

    // Takes over f and gives it a 64 KiB buffer of this object's: a small
    // image goes in and out with one system call, and the buffer lives until
    // the file is closed.
    void setzen(FILE* f);
    FILE* get() const { return f_; }
    explicit operator bool() const { return f_ != nullptr; }

    // Closes when open; false when fclose failed or any earlier read or
    // write on the stream did (its error indicator): a short write that
    // was not looked at still makes the close fail, so a full disk or a
    // file-size limit is never reported as a stored file.
    bool schliessen() {
        if (!f_) return true;
        const bool fehler = std::ferror(f_) != 0;
        const int r = std::fclose(f_);
        f_ = nullptr;
        return r == 0 && !fehler;
    }

    // fread/fwrite of exactly n bytes; true when all of them moved.
    bool lies(void* p, size_t n) { return n == 0 || std::fread(p, 1, n, f_) == n; }
    bool schreib(const void* p, size_t n) { return n == 0 || std::fwrite(p, 1, n, f_) == n; }

    // Reads `anzahl` rows that follow each other in the file, each `laenge`
    // bytes into zeilen[i] and then `luecke` bytes of padding into `abfall`
    // (any scratch of that size). The number of rows read whole, padding
    // included; at a short read the bytes that came are in place and the
    // file stands after them, exactly as with one lies() per row. On Linux
    // the rows move in as few system calls as possible, straight into the
    // rows.
    size_t lies_zeilen(unsigned char* const* zeilen, size_t anzahl, size_t laenge, size_t luecke,
                       unsigned char* abfall);

    static constexpr size_t kPuffer = size_t(64) << 10;

private:
    size_t lies_gepuffert(unsigned char* const* zeilen, size_t anzahl, size_t laenge, size_t luecke,
                          unsigned char* abfall);

    FILE* f_ = nullptr;
    std::unique_ptr<char[]> puffer_;
};

}  // namespace bild
