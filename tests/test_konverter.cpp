// The converter end to end, as an unattended batch meets it: one result line
// per argument, output names, bad files, few file handles, and hostile input:
// each file costs what it holds, nothing blocks, no failed store is reported
// as stored, no earlier memory reaches an output, an interrupt leaves no
// half-written file, and no output is written through a planted link.
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <chrono>
#include <functional>
#include <thread>

#include "hilfe.h"

namespace {

using Konverter = Ordner;
using Zeilen = std::vector<std::pair<std::string, const char*>>;  // argument, its result
const char* const kLesefehler = "Error reading image";
const char* const kSchreibfehler = "Failed to store output file";

Bytes bmp(int bits, int breite, int hoehe, uint8_t wert) {
    BmpBau b(bits, breite, hoehe);
    return b.bau(std::vector<Bytes>(size_t(hoehe), Bytes(size_t(b.stride()), wert)));
}

// A zlib stream of n >= 1 zero bytes: a literal, then matches of 258 at distance 1 (no checksum checked).
Bytes nullen_zlib(size_t n) {
    Bits z;
    for (z.fest(true).sym(0), --n; n >= 258; n -= 258) z.match(258, 1);
    for (; n; --n) z.sym(0);
    Bytes b = z.ende().fertig();
    return b.insert(b.end(), 4, 0), b;
}

struct Lauf {
    std::string aus, soll;  // what bildconv printed, the lines the arguments should get
    int status = -1;        // exit status, or 128 + signal
    long rss_mib = 0;       // peak resident memory of bildconv
};

// bildconv on the arguments in the folder with a CPU-time and a wall-clock guard (an alarm survives exec),
// under a file-size limit in bytes and a limit of open files.
Lauf starte(const std::string& dir, const Zeilen& args, rlim_t dateigrenze = RLIM_INFINITY,
            const std::function<void(pid_t)>& waehrend = nullptr, rlim_t handles = 256) {
    int rohr[2];
    Lauf l;
    std::vector<char*> argv{const_cast<char*>(BILDCONV_PATH)};
    for (const auto& [a, zeile] : args)
        argv.push_back(const_cast<char*>(a.c_str())), l.soll += "Convert " + a + ": " + zeile + "\n";
    argv.push_back(nullptr);
    if (::pipe(rohr) != 0) return l;
    const pid_t pid = ::fork();
    if (pid == 0) {
        const rlimit cpu{20, 20}, datei{dateigrenze, dateigrenze}, offen{handles, handles};
        ::dup2(rohr[1], 1), ::close(rohr[0]), ::setrlimit(RLIMIT_CPU, &cpu), ::setrlimit(RLIMIT_FSIZE, &datei), ::alarm(30);
        if (::setrlimit(RLIMIT_NOFILE, &offen) == 0 && ::chdir(dir.c_str()) == 0) ::execv(BILDCONV_PATH, argv.data());
        ::_exit(127);
    }
    ::close(rohr[1]);
    if (waehrend) waehrend(pid);
    char buf[4096];
    for (ssize_t n; (n = ::read(rohr[0], buf, sizeof buf)) > 0;) l.aus.append(buf, size_t(n));
    int s = 0;
    rusage ru{};
    ::close(rohr[0]), ::wait4(pid, &s, 0, &ru);
    l.status = WIFEXITED(s) ? WEXITSTATUS(s) : 128 + WTERMSIG(s);
    l.rss_mib = ru.ru_maxrss / 1024;
    return l;
}

}  // namespace

TEST_F(Konverter, BatchGoesOnNeverBlocksKeepsInputsAndWritesNoOutputThroughALink) {
    EXPECT_EQ(starte(dir, {}).aus, "");  // no arguments: nothing printed
    Bytes kurz = bmp(24, 5, 3, 1), flach = kurz, riesig = kurz, geheim = {'s', 'e', 'c', 'r', 'e', 't'};
    kurz.resize(kurz.size() - 4);
    put32(flach, 22, 0);                                   // height 0: read, but nothing to store
    put32(riesig, 18, 100000), put32(riesig, 22, 100000);  // more than the 32-bit buffer size
    schreib_datei(pfad("wichtig"), geheim);
    ASSERT_EQ(::mkdir(pfad("ordner.bmp").c_str(), 0755) | ::mkfifo(pfad("rohr.bmp").c_str(), 0644) |  // no writer comes
                  ::mkfifo(pfad("rohraus.bmp.tif").c_str(), 0644) | ::mkdir(pfad("b.bmp.tif").c_str(), 0755) |  // no reader comes
                  ::symlink("/dev/full", pfad("c.bmp.tif").c_str()) |  // a full disk shows when the file is closed
                  ::symlink("wichtig", pfad("l.bmp.tif").c_str()) | ::symlink("nirgends", pfad("n.bmp.tif").c_str()) |
                  // The raw reader's test dump goes to a fixed relative path: a link there too.
                  ::mkdir(pfad("c:").c_str(), 0755) | ::mkdir(pfad("c:/bild_testfiles").c_str(), 0755) |
                  ::symlink("../../wichtig", pfad("c:/bild_testfiles/test32raw.bia").c_str()),
              0);
    const struct { std::string name; Bytes daten; const char* zeile; } faelle[] = {  // no bytes: not made
        {"photo.bmp", bmp(24, 5, 3, 1), "OK"}, {"kurz.bmp", kurz, kLesefehler}, {"flach.bmp", flach, kSchreibfehler},
        {"riesig.bmp", riesig, kLesefehler}, {"notes.txt", {1, 2, 3}, kLesefehler}, {"x.jpg", {1, 2, 3}, kLesefehler},
        {"fehlt.bmp", {}, kLesefehler}, {"ordner.bmp", {}, kLesefehler}, {"f\xc3\xa4.bmp", bmp(24, 2, 2, 1), kLesefehler},
        {"noext", {}, kLesefehler}, {"", {}, kLesefehler}, {"rohr.bmp", {}, kLesefehler}, {"/dev/null", {}, kLesefehler},
        {"/dev/zero", {}, kLesefehler}, {"rohraus.bmp", bmp(24, 4, 3, 9), kSchreibfehler},
        {"b.bmp", bmp(24, 2, 2, 1), kSchreibfehler}, {"c.bmp", bmp(24, 2, 2, 1), kSchreibfehler},
        {"l.bmp", bmp(24, 2, 2, 1), kSchreibfehler}, {"n.bmp", bmp(24, 2, 2, 1), kSchreibfehler},  // links, one dangling
        {"d.raw", raw(3, 2, 8, 0, Bytes(6, 1)), "OK"}, {"photo.bmp.tif", {}, "OK"},  // a .tif input is written to .tif.tif
        {"last.BMP", bmp(24, 1, 1, 1), "OK"}};
    Zeilen args;
    for (const auto& f : faelle) {
        if (!f.daten.empty()) schreib_datei(pfad(f.name), f.daten);
        args.push_back({f.name, f.zeile});
    }
    // Then good and bad BMP, BIA/BIR, raw and TIFF files in turn, more than the process may open at once: the bad
    // ones fail at different steps (short rows, unsupported depth, wrong magic), and the BIA and raw readers leave
    // a refused file open until they go.
    CBILD bild(0, 0);
    muster_bild(bild, 3, 2, 3, 0);
    const Bytes bia = schreibe(bild, "gut.bir"), tif = schreibe(bild, "gut.tif"), gut = bmp(24, 3, 2, 1);
    const Bytes rgb = raw(1, 1, 24, 3, {1, 2, 3});
    Bytes tiefe5 = mit(bia, 4, 5, 2), magie = rgb, mm = tif;
    magie[4] = 'X', mm[0] = 'X';
    const std::pair<const char*, const Bytes*> arten[] = {{".bmp", &gut}, {".bmp", &kurz}, {".bir", &bia}, {".bia", &tiefe5},
                                                          {".raw", &rgb}, {".raw", &magie}, {".tif", &tif}, {".TIFF", &mm}};
    for (int i = 0; i < 80; ++i) {
        args.push_back({"f" + std::to_string(i) + arten[i % 8].first, i % 2 ? kLesefehler : "OK"});
        schreib_datei(pfad(args.back().first), *arten[i % 8].second);
    }
    const Lauf l = starte(dir, args, RLIM_INFINITY, nullptr, 24);
    EXPECT_EQ(V({l.aus == l.soll, l.status}), V({1, 0})) << l.aus;
    EXPECT_TRUE(existiert(pfad("last.BMP.tif")) && !existiert(pfad("kurz.bmp.tif")) && !existiert(pfad("flach.bmp.tif")));
    for (int i = 0; i < 80; ++i) ASSERT_EQ(lies_datei(pfad(args[std::size(faelle) + size_t(i)].first)), *arten[i % 8].second);
    EXPECT_EQ(lies_datei(pfad("kurz.bmp")), kurz);  // inputs untouched
    // The output is the library's TIFF of what it reads; our own file converts to the same bytes.
    ASSERT_EQ(bild.bildlese(wpfad("photo.bmp").c_str()), 0);
    EXPECT_EQ(lies_datei(pfad("photo.bmp.tif")), schreibe(bild, "photo.tif"));
    EXPECT_EQ(lies_datei(pfad("photo.bmp.tif.tif")), lies_datei(pfad("photo.bmp.tif")));
    // Nothing went through the links (they stay), the dump is written beside its link.
    struct stat link;
    EXPECT_TRUE(lies_datei(pfad("wichtig")) == geheim && !existiert(pfad("nirgends")) &&
                existiert(pfad("c:/bild_testfiles/test32raw.raw")));
    EXPECT_TRUE(::lstat(pfad("l.bmp.tif").c_str(), &link) == 0 && S_ISLNK(link.st_mode));
    // Outputs past the file-size limit, as on a full disk, for 1-, 2- and 4-byte pixels (written as stored)
    // and colour (converted in blocks).
    for (int bpp : {2, 4}) muster_bild(bild, 300, 300, bpp, 0), schreibe(bild, "tief" + std::to_string(bpp) + ".raw");
    schreib_datei(pfad("grau.bmp"), bmp(8, 300, 300, 5)), schreib_datei(pfad("farbe.bmp"), bmp(24, 300, 300, 5));
    schreib_datei(pfad("klein.bmp"), bmp(8, 10, 10, 5));
    const Lauf voll = starte(dir, {{"grau.bmp", kSchreibfehler}, {"tief2.raw", kSchreibfehler}, {"tief4.raw", kSchreibfehler},
                                   {"farbe.bmp", kSchreibfehler}, {"klein.bmp", "OK"}}, 64 << 10);
    EXPECT_EQ(voll.aus, voll.soll);
}

TEST_F(Konverter, EachFileCostsWhatItHoldsAndNoEarlierPixelReachesAnOutput) {
    // 8192 x 8192 Deflate tile of which a 10 x 10 image needs ten rows.
    TiffBau kachel = TiffBau::bild(10, 10, 8, 1, 1, nullen_zlib(size_t(8192) * 8192));
    kachel.kacheln = true, kachel.felder.erase(278), kachel.feld(259, 3, {8});
    kachel.feld(322, 3, {8192}), kachel.feld(323, 3, {8192});
    // 20 strips of 1000 x 1000 all from the same 700 bytes: 20 MB from a file of about 1 KB, beyond what Deflate can give.
    TiffBau geteilt = TiffBau::bild(1000, 20000, 8, 1, 1, nullen_zlib(size_t(1000) * 1000));
    geteilt.feld(259, 3, {8}), geteilt.feld(278, 4, {1000});
    geteilt.feld(273, 4, std::vector<uint64_t>(20, 8)), geteilt.feld(279, 4, std::vector<uint64_t>(20, geteilt.segmente[0].size()));
    struct Fall { const char* name; Bytes daten; const char* zeile; long max_mib; };  // peak resident memory of the process
    for (const Fall& f : {Fall{"gewickelt.bmp", BmpBau(1, 524288, 20000).bau({}), kLesefehler, 32},
                          {"kachel.tif", kachel.bau(), "OK", 48},
                          {"geteilt.tif", geteilt.bau(), kLesefehler, 32},
                          {"riesig.tif", TiffBau::bild(60000, 60000, 8, 1, 1, Bytes(100, 1)).bau(), kLesefehler, 32}}) {
        schreib_datei(pfad(f.name), f.daten);
        const Lauf l = starte(dir, {{f.name, f.zeile}});
        EXPECT_EQ(V({l.aus == l.soll, l.status, l.rss_mib <= f.max_mib}), V({1, 0, 1})) << f.name << l.aus;
    }
    CBILD b(0, 0);
    EXPECT_EQ(V({b.bildlese(wpfad("kachel.tif.tif").c_str()), b.breite * b.hoehe}), V({0, 100}));
    // A file whose rows bring no pixel (2-bit BMP) after one of the same size: its image is zero,
    // not the earlier pixels of the image kept for it.
    schreib_datei(pfad("voll.bmp"), bmp(8, 64, 64, 0xAB)), schreib_datei(pfad("zwei.bmp"), bmp(2, 64, 64, 0xFF));
    const Lauf l = starte(dir, {{"voll.bmp", "OK"}, {"zwei.bmp", "OK"}});
    const Bytes t = lies_datei(pfad("zwei.bmp.tif"));
    EXPECT_TRUE(l.aus == l.soll && t.size() > 3600u && Bytes(t.end() - 3600, t.end()) == Bytes(3600, 0));
}

TEST_F(Konverter, InterruptRemovesTheOutputBeingWritten) {
    schreib_datei(pfad("klein.bmp"), bmp(24, 4, 3, 9)), schreib_datei(pfad("gross.bmp"), bmp(24, 6000, 5000, 7));  // 90 MB to write
    const std::string ziel = pfad("gross.bmp.tif");
    for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
        std::remove(ziel.c_str());
        const Lauf l = starte(dir, {{"klein.bmp", "OK"}, {"gross.bmp", ""}}, RLIM_INFINITY, [&](pid_t pid) {
            for (int i = 0; i < 20000 && !existiert(ziel); ++i) std::this_thread::sleep_for(std::chrono::microseconds(100));
            ::kill(pid, sig);
        });
        EXPECT_EQ(V({l.status, l.aus == "Convert klein.bmp: OK\n"}), V({128 + sig, 1}));
        struct stat st;  // removed, or (when the signal came after the store) complete
        EXPECT_TRUE(::stat(ziel.c_str(), &st) != 0 || st.st_size == 222 + 8 * 250 + 16 + 6000 * 5000 * 3) << sig;
    }
}
