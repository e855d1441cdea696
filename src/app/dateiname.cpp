#include "app/dateiname.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <cwchar>
#include <string>

namespace {

const wchar_t* const kTypW[8] = {L".bia", L".tif", L".tiff", L".bmp", L".bir", L".raw", L".jpg", L".jpeg"};
const char* const kTypA[8] = {".bia", ".tif", ".tiff", ".bmp", ".bir", ".raw", ".jpg", ".jpeg"};

template <typename C>
long klein(C c) {
    // Characters compare as the signed values they hold, as the C library's
    // table sees them; only A-Z change.
    long v = static_cast<long>(c);  // NOLINT(bugprone-signed-char-misuse)
    return (v >= 'A' && v <= 'Z') ? v + ('a' - 'A') : v;
}

template <typename C>
int vergleiche(const C* a, const C* b) {
    for (;; ++a, ++b) {
        if (*a == 0) return *b == 0 ? 0 : -1;
        if (*b == 0) return 1;
        long ka = klein(*a), kb = klein(*b);
        if (ka != kb) return ka < kb ? -1 : 1;
    }
}

template <typename C>
const C* letzter_punkt(const C* name) {
    const C* punkt = nullptr;
    for (const C* p = name; *p; ++p)
        if (*p == C('.')) punkt = p;
    return punkt;
}

template <typename C>
int testtyp(const C* name, const C* const* table, int count) {
    if (!name || !table || count < 1) return -1;
    static const C kNurPunkt[2] = {C('.'), C(0)};
    const C* ext = letzter_punkt(name);
    if (!ext) ext = kNurPunkt;  // no dot: only an entry of exactly "." matches
    for (int i = 0; i < count; ++i)
        if (table[i] && vergleiche(ext, table[i]) == 0) return i;
    return -1;
}

template <typename C>
int komma(C* text) {
    for (; text && *text; ++text)
        if (*text == C('.')) *text = C(',');
    return 0;
}

}  // namespace

namespace bild {

bool utf8(const wchar_t* s, std::string& out) {
    for (; *s; ++s) {
        const long c = static_cast<long>(*s);  // NOLINT(bugprone-signed-char-misuse): wchar_t is signed
        if (c < 0 || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return false;
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | (c >> 18));
            out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return true;
}

}  // namespace bild

int testimagetypew(const wchar_t* name) { return testtyp(name, kTypW, 8); }
int testimagetypea(const char* name) { return testtyp(name, kTypA, 8); }
int testtypw(const wchar_t* name, const wchar_t** table, int count) { return testtyp(name, table, count); }
int testtypa(const char* name, const char** table, int count) { return testtyp(name, table, count); }

int wcsicmp1(const wchar_t* a, const wchar_t* b) { return vergleiche(a, b); }
int stricmp1(const char* a, const char* b) { return vergleiche(a, b); }

std::atomic<uint64_t> bild::g_schreibgeraet{0}, bild::g_schreibknoten{0};

FILE* bild::oeffne(const char* name, const char* mode) {
    if (!name || !mode) return nullptr;
    int flags = 0;
    switch (mode[0]) {
        case 'r': flags = O_RDONLY; break;
        case 'w': flags = O_WRONLY | O_CREAT | O_TRUNC; break;
        case 'a': flags = O_WRONLY | O_CREAT | O_APPEND; break;
        default: return nullptr;
    }
    if (std::strchr(mode, '+')) flags = (flags & ~O_ACCMODE) | O_RDWR;
    if (std::strchr(mode, 'x')) flags |= O_EXCL;
    const bool schreibt = (flags & O_CREAT) != 0;
    // Non-blocking while opening: a FIFO then neither waits for a writer nor
    // for a reader (ENXIO). Reads and writes block as usual afterwards.
    flags |= O_CLOEXEC | O_NONBLOCK | (schreibt ? O_NOFOLLOW : 0);
    // A file created for writing is known (g_schreib...) before any signal
    // handler can run: signals wait until then.
    sigset_t alle, vorher;
    sigfillset(&alle);
    if (schreibt) pthread_sigmask(SIG_BLOCK, &alle, &vorher);
    const int fd = ::open(name, flags, 0666);
    struct stat st;
    const bool da = fd >= 0 && ::fstat(fd, &st) == 0;
    if (da && schreibt) {
        g_schreibgeraet = uint64_t(st.st_dev);
        g_schreibknoten = uint64_t(st.st_ino);
    }
    if (schreibt) pthread_sigmask(SIG_SETMASK, &vorher, nullptr);
    if (fd < 0) return nullptr;
    const bool ok = da &&
                    (S_ISREG(st.st_mode) || (schreibt && (S_ISCHR(st.st_mode) || S_ISFIFO(st.st_mode)))) &&
                    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) == 0;
    FILE* f = ok ? ::fdopen(fd, mode) : nullptr;
    if (!f) ::close(fd);
    return f;
}

FILE* wfopen1(const wchar_t* name, const wchar_t* mode) {
    if (!name || !mode) return nullptr;
    std::string n, m;
    if (!bild::utf8(name, n) || !bild::utf8(mode, m)) return nullptr;
    return bild::oeffne(n.c_str(), m.c_str());
}

int excel(char* text) { return komma(text); }
int wexcel(wchar_t* text) { return komma(text); }

int getstellen(unsigned int value) {
    int n = 0;
    for (; value; value >>= 1) ++n;
    return n;
}
