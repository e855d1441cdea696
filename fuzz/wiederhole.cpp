// A plain main for the fuzz targets: runs every file of the folders (or the
// files) named on the command line through the target once. With it the
// targets run under CTest on the seed corpus without clang's libFuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> dateien;
    std::error_code f;
    for (int i = 1; i < argc; ++i)
        if (!fs::is_directory(argv[i], f)) dateien.push_back(argv[i]);
        else for (const fs::directory_entry& e : fs::directory_iterator(argv[i], f)) dateien.push_back(e.path());
    int n = 0;
    for (const fs::path& p : dateien) {
        std::ifstream s(p, std::ios::binary);
        const std::vector<uint8_t> b((std::istreambuf_iterator<char>(s)), {});
        if (s && p.filename().string()[0] != '.') LLVMFuzzerTestOneInput(b.data(), b.size()), ++n;
    }
    std::printf("%d inputs replayed\n", n);
    return n > 0 ? 0 : 1;
}
