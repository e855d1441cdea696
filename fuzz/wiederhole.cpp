// A plain main for the fuzz targets: runs every file of the folders (or the
// files) named on the command line through the target once. With it the
// targets run under CTest on the seed corpus without clang's libFuzzer.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static int eine(const std::string& pfad) {
    std::ifstream f(pfad, std::ios::binary);
    std::vector<uint8_t> b((std::istreambuf_iterator<char>(f)), {});
    LLVMFuzzerTestOneInput(b.data(), b.size());
    return 1;
}

int main(int argc, char** argv) {
    int n = 0;
    for (int i = 1; i < argc; ++i) {
        struct stat st;
        if (::stat(argv[i], &st) != 0) continue;
        if (!S_ISDIR(st.st_mode)) {
            n += eine(argv[i]);
            continue;
        }
        if (DIR* d = ::opendir(argv[i])) {
            while (dirent* e = ::readdir(d))
                if (e->d_name[0] != '.') n += eine(std::string(argv[i]) + "/" + e->d_name);
            ::closedir(d);
        }
    }
    std::printf("%d inputs replayed\n", n);
    return n > 0 ? 0 : 1;
}
