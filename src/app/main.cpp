// bildconv: converts every image named on the command line into an
// uncompressed TIFF named <input>.tif and prints one result line per file.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "app/dateiname.h"
#include "bild/bild.h"
#include "sdk/ramfileloader.h"

namespace {

// The output being written, for the signal handler: an interrupted run must
// not leave a truncated .tif that the next run takes for a finished one.
// Set only while the output is being stored; the file is removed only when
// the name still is the file the writer opened.
volatile sig_atomic_t g_schreibt = 0;
char g_ausgabe[8192];

extern "C" void abbruch(int sig) {
    struct stat st;
    if (g_schreibt && ::lstat(g_ausgabe, &st) == 0 && S_ISREG(st.st_mode) &&
        uint64_t(st.st_dev) == bild::g_schreibgeraet && uint64_t(st.st_ino) == bild::g_schreibknoten)
        ::unlink(g_ausgabe);
    // The usual end by this signal (exit status 128 + sig for the shell).
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

void signale_setzen() {
    struct sigaction sa;
    std::memset(&sa, 0, sizeof sa);
    sa.sa_handler = abbruch;
    sigemptyset(&sa.sa_mask);
    for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction alt;
        // A signal the caller ignores (nohup, a background job) stays ignored.
        if (sigaction(sig, nullptr, &alt) == 0 && alt.sa_handler == SIG_IGN) continue;
        sigaction(sig, &sa, nullptr);
    }
    // An output past the file-size limit is a failed store, reported on its
    // line, not the end of the batch.
    std::signal(SIGXFSZ, SIG_IGN);
}

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
    // The name the file system sees is the argument's bytes (a name that
    // is not plain ASCII opens nothing).
    if (std::strlen(arg) + 5 <= sizeof g_ausgabe) {
        std::snprintf(g_ausgabe, sizeof g_ausgabe, "%s.tif", arg);
        bild::g_schreibgeraet = 0;
        bild::g_schreibknoten = 0;
        g_schreibt = 1;
    }
    const char* text = "OK";
    try {
        if (bild.bildspeich(ausgabe.c_str()) != 0) text = "Failed to store output file";
    } catch (const std::exception&) {
        text = "Failed to store output file";
    }
    g_schreibt = 0;
    return text;
}

// One write per line: processes sharing a pipe (xargs -P) never splice each
// other's lines, and a pipe shows progress as files finish.
void zeile_ausgeben(const std::string& zeile) {
    for (size_t fertig = 0; fertig < zeile.size();) {
        const ssize_t n = ::write(STDOUT_FILENO, zeile.data() + fertig, zeile.size() - fertig);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;  // nowhere to report to; the conversions go on
        fertig += size_t(n);
    }
}

}  // namespace

int main(int argc, char** argv) {
    signale_setzen();
    CBILD bild(0, 0);
    for (int i = 1; i < argc; ++i) {
        const char* text = konvertiere(bild, argv[i]);
        zeile_ausgeben(std::string("Convert ") + argv[i] + ": " + text + "\n");
    }
    return 0;
}
