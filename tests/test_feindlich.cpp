// Hostile files and ordinary faults in an unattended batch: each file costs
// what it holds, nothing blocks, no failed store is reported as stored, no
// earlier memory reaches an output, an interrupt leaves no half-written file,
// and no output is written through a planted link.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <thread>

#include "hilfe.h"
#include "tiff_bau.h"

namespace {

using Feindlich = Ordner;

// A zlib stream of n zero bytes: one literal, then matches of 258 at
// distance 1 in a fixed-Huffman block (13 bits per 258 bytes).
Bytes nullen_zlib(size_t n) {
    Bytes b = {0x78, 0x01};
    uint32_t acc = 0;
    int voll = 0;
    auto bits = [&](uint32_t v, int k) {  // least significant bit first
        for (int i = 0; i < k; ++i, ++voll) {
            acc |= ((v >> i) & 1u) << voll;
            if (voll == 7) b.push_back(uint8_t(acc)), acc = 0, voll = -1;
        }
    };
    auto code = [&](uint32_t c, int k) {  // Huffman codes go most significant bit first
        for (int i = k - 1; i >= 0; --i) bits(c >> i, 1);
    };
    bits(1, 1), bits(1, 2);  // final block, fixed codes
    size_t rest = n;
    if (rest) code(0x30, 8), --rest;  // literal 0
    for (; rest >= 258; rest -= 258) code(0xC5, 8), bits(0, 5);  // length 258, distance 1
    for (; rest; --rest) code(0x30, 8);
    code(0, 7);  // end of block
    if (voll) b.push_back(uint8_t(acc));
    b.insert(b.end(), 4, 0);  // the checksum is not checked
    return b;
}

struct Lauf {
    std::string aus;
    int status = -1;      // exit status, or 128 + signal
    long rss_mib = 0;     // peak resident memory of bildconv
};

// bildconv in the folder with a CPU-time and a wall-clock guard (an alarm
// survives exec), optionally under a file-size limit in bytes.
Lauf starte(const std::string& dir, const std::vector<std::string>& args, rlim_t dateigrenze = RLIM_INFINITY,
            const std::function<void(pid_t)>& waehrend = nullptr) {
    int rohr[2];
    Lauf l;
    if (::pipe(rohr) != 0) return l;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(rohr[1], 1);
        ::close(rohr[0]);
        if (::chdir(dir.c_str()) != 0) ::_exit(127);
        const rlimit cpu{20, 20}, datei{dateigrenze, dateigrenze};
        ::setrlimit(RLIMIT_CPU, &cpu);
        ::setrlimit(RLIMIT_FSIZE, &datei);
        ::alarm(30);
        std::vector<char*> argv{const_cast<char*>(BILDCONV_PATH)};
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(BILDCONV_PATH, argv.data());
        ::_exit(127);
    }
    ::close(rohr[1]);
    if (waehrend) waehrend(pid);
    char buf[4096];
    for (ssize_t n; (n = ::read(rohr[0], buf, sizeof buf)) > 0;) l.aus.append(buf, size_t(n));
    ::close(rohr[0]);
    int s = 0;
    rusage ru{};
    ::wait4(pid, &s, 0, &ru);
    l.status = WIFEXITED(s) ? WEXITSTATUS(s) : 128 + WTERMSIG(s);
    l.rss_mib = ru.ru_maxrss / 1024;
    return l;
}

Bytes bmp(int bits, int breite, int hoehe, uint8_t wert) {
    BmpBau b(bits, breite, hoehe);
    return b.bau(std::vector<Bytes>(size_t(hoehe), Bytes(size_t(b.stride()), wert)));
}

// Gray 8-bit Deflate TIFF: strips of `zeilen` rows, all pointing at one
// stream that decodes to a whole strip.
Bytes geteilte_streifen(uint32_t breite, uint32_t hoehe, uint32_t zeilen) {
    TiffBau t = TiffBau::bild(breite, hoehe, 8, 1, 1, nullen_zlib(size_t(breite) * zeilen));
    t.feld(259, 3, {8});
    t.feld(278, 4, {zeilen});
    // The builder puts the one stream at offset 8; every strip points there.
    const uint32_t n = (hoehe + zeilen - 1) / zeilen;
    t.feld(273, 4, std::vector<uint64_t>(n, 8));
    t.feld(279, 4, std::vector<uint64_t>(n, t.segmente[0].size()));
    return t.bau();
}

}  // namespace

TEST_F(Feindlich, EachFileCostsWhatItHoldsAndGetsItsLine) {
    // 8192 x 8192 Deflate tile of which a 10 x 10 image needs ten rows.
    TiffBau kachel = TiffBau::bild(10, 10, 8, 1, 1, nullen_zlib(size_t(8192) * 8192));
    kachel.kacheln = true;
    kachel.felder.erase(278);
    kachel.feld(259, 3, {8});
    kachel.feld(322, 3, {8192});
    kachel.feld(323, 3, {8192});
    const char* fehler = "Error reading image";
    struct Fall {
        const char* name;
        Bytes daten;
        const char* zeile;
        long max_mib;  // peak resident memory of the whole process
    };
    Bytes bit0 = BmpBau(8, 100000, 100000).bau({});
    put16(bit0, 28, 0);
    const Fall faelle[] = {
        {"bit0.bmp", bit0, fehler, 32},
        // 16-bit stride masks wrap: 524288 1-bit pixels in 0 bytes, 131080
        // 4-bit pixels in 4.
        {"gewickelt1.bmp", BmpBau(1, 524288, 20000).bau({}), fehler, 32},
        {"gewickelt4.bmp", BmpBau(4, 131080, 20000).bau({Bytes(4, 0x77)}), fehler, 32},
        {"kachel.tif", kachel.bau(), "OK", 48},
        // 20 strips of 1000 x 1000 all from the same 700 bytes: 20 MB from a
        // file of about 1 KB, beyond what Deflate can give.
        {"geteilt.tif", geteilte_streifen(1000, 20000, 1000), fehler, 32},
        {"riesig.tif", TiffBau::bild(60000, 60000, 8, 1, 1, Bytes(100, 1)).bau(), fehler, 32},
    };
    for (const Fall& f : faelle) {
        schreib_datei(pfad(f.name), f.daten);
        const Lauf l = starte(dir, {f.name});
        EXPECT_EQ(l.aus, std::string("Convert ") + f.name + ": " + f.zeile + "\n") << f.name;
        EXPECT_EQ(l.status, 0) << f.name;
        EXPECT_LE(l.rss_mib, f.max_mib) << f.name;
        EXPECT_EQ(lies_datei(pfad(f.name)), f.daten) << f.name;  // inputs untouched
    }
    CBILD b(0, 0);
    ASSERT_EQ(b.bildlese(wpfad("kachel.tif.tif").c_str()), 0);
    EXPECT_EQ(b.breite * b.hoehe, 100);
}

TEST_F(Feindlich, NoEarlierPixelReachesAnOutput) {
    // A file whose rows write no pixel (2-bit BMP) after one that filled the
    // heap: its image is zero, not the earlier pixels.
    schreib_datei(pfad("voll.bmp"), bmp(8, 64, 64, 0xAB));
    schreib_datei(pfad("zwei.bmp"), bmp(2, 60, 60, 0xFF));
    const Lauf l = starte(dir, {"voll.bmp", "zwei.bmp"});
    ASSERT_EQ(l.aus, "Convert voll.bmp: OK\nConvert zwei.bmp: OK\n");
    const Bytes t = lies_datei(pfad("zwei.bmp.tif"));
    ASSERT_GT(t.size(), 3600u);
    EXPECT_EQ(Bytes(t.end() - 3600, t.end()), Bytes(3600, 0));
}

TEST_F(Feindlich, NothingBlocksAndNoFailedStoreIsReportedStored) {
    schreib_datei(pfad("gut.bmp"), bmp(24, 4, 3, 9));
    ASSERT_EQ(::mkfifo(pfad("rohr.bmp").c_str(), 0644), 0);       // no writer ever comes
    schreib_datei(pfad("rohraus.bmp"), bmp(24, 4, 3, 9));
    ASSERT_EQ(::mkfifo(pfad("rohraus.bmp.tif").c_str(), 0644), 0);  // no reader ever comes
    const Lauf l = starte(dir, {"rohr.bmp", "rohraus.bmp", "gut.bmp", "/dev/null", "/dev/zero"});
    EXPECT_EQ(l.aus,
              "Convert rohr.bmp: Error reading image\nConvert rohraus.bmp: Failed to store output file\n"
              "Convert gut.bmp: OK\nConvert /dev/null: Error reading image\nConvert /dev/zero: Error reading image\n");

    // Outputs past the file-size limit, as on a full disk, for 1-, 2- and
    // 4-byte pixels (written as stored) and colour (converted in blocks).
    CBILD bild(0, 0);
    for (int bpp : {2, 4}) {
        muster_bild(bild, 300, 300, bpp, 0);
        ASSERT_EQ(bild.bildspeich(wpfad("tief" + std::to_string(bpp) + ".raw").c_str()), 0);
    }
    schreib_datei(pfad("grau.bmp"), bmp(8, 300, 300, 5));
    schreib_datei(pfad("farbe.bmp"), bmp(24, 300, 300, 5));
    schreib_datei(pfad("klein.bmp"), bmp(8, 10, 10, 5));
    const Lauf voll = starte(dir, {"grau.bmp", "tief2.raw", "tief4.raw", "farbe.bmp", "klein.bmp"}, 64 << 10);
    EXPECT_EQ(voll.aus,
              "Convert grau.bmp: Failed to store output file\nConvert tief2.raw: Failed to store output file\n"
              "Convert tief4.raw: Failed to store output file\nConvert farbe.bmp: Failed to store output file\n"
              "Convert klein.bmp: OK\n");
    EXPECT_EQ(voll.status, 0);
}

TEST_F(Feindlich, InterruptRemovesTheOutputBeingWritten) {
    schreib_datei(pfad("klein.bmp"), bmp(24, 4, 3, 9));
    schreib_datei(pfad("gross.bmp"), bmp(24, 6000, 5000, 7));  // 90 MB to write
    const std::string ziel = pfad("gross.bmp.tif");
    for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
        std::remove(ziel.c_str());
        const Lauf l = starte(dir, {"klein.bmp", "gross.bmp"}, RLIM_INFINITY, [&](pid_t pid) {
            for (int i = 0; i < 20000 && !existiert(ziel); ++i) std::this_thread::sleep_for(std::chrono::microseconds(100));
            ::kill(pid, sig);
        });
        EXPECT_EQ(l.status, 128 + sig);
        EXPECT_EQ(l.aus, "Convert klein.bmp: OK\n");
        // Removed, or (when the signal came after the store) complete.
        struct stat st;
        if (::stat(ziel.c_str(), &st) == 0) {
            EXPECT_EQ(st.st_size, 222 + 8 * 250 + 16 + 6000 * 5000 * 3) << sig;
        }
    }
}

TEST_F(Feindlich, NoOutputThroughAPlantedLink) {
    schreib_datei(pfad("a.bmp"), bmp(24, 4, 3, 9));
    schreib_datei(pfad("b.bmp"), bmp(24, 4, 3, 9));
    schreib_datei(pfad("wichtig"), Bytes{'s', 'e', 'c', 'r', 'e', 't'});
    ASSERT_EQ(::symlink("wichtig", pfad("a.bmp.tif").c_str()), 0);
    ASSERT_EQ(::symlink("nirgends", pfad("c.bmp.tif").c_str()), 0);  // dangling
    schreib_datei(pfad("c.bmp"), bmp(24, 4, 3, 9));
    // The raw reader's test dump goes to a fixed relative path: a link there too.
    ASSERT_EQ(::mkdir(pfad("c:").c_str(), 0755) + ::mkdir(pfad("c:/bild_testfiles").c_str(), 0755), 0);
    ASSERT_EQ(::symlink("../../wichtig", pfad("c:/bild_testfiles/test32raw.bia").c_str()), 0);
    CBILD bild(0, 0);
    muster_bild(bild, 3, 2, 1, 0);
    ASSERT_EQ(bild.bildspeich(wpfad("d.raw").c_str()), 0);
    struct stat vorher, nachher;
    ASSERT_EQ(::stat(pfad("wichtig").c_str(), &vorher), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const Lauf l = starte(dir, {"a.bmp", "c.bmp", "d.raw", "b.bmp"});
    EXPECT_EQ(l.aus,
              "Convert a.bmp: Failed to store output file\nConvert c.bmp: Failed to store output file\n"
              "Convert d.raw: OK\nConvert b.bmp: OK\n");
    ASSERT_EQ(::stat(pfad("wichtig").c_str(), &nachher), 0);
    EXPECT_EQ(lies_datei(pfad("wichtig")), (Bytes{'s', 'e', 'c', 'r', 'e', 't'}));
    EXPECT_EQ(nachher.st_mtim.tv_nsec, vorher.st_mtim.tv_nsec);
    EXPECT_EQ(nachher.st_mtim.tv_sec, vorher.st_mtim.tv_sec);
    EXPECT_FALSE(existiert(pfad("nirgends")));
    struct stat l2;
    EXPECT_TRUE(::lstat(pfad("a.bmp.tif").c_str(), &l2) == 0 && S_ISLNK(l2.st_mode));  // the link stays
    EXPECT_TRUE(existiert(pfad("c:/bild_testfiles/test32raw.raw")));  // beside it the dump is written
}
