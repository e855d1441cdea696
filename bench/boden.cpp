// The floor for any converter that holds the whole image in memory:
//   boden IN OUT
// reads IN into one fresh buffer (huge pages, as the image buffer) with
// read() and writes it to OUT with write(), converting nothing. Its time
// against cat shows what the fresh buffer alone costs on this machine.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: boden IN OUT\n");
        return 2;
    }
    const int ein = open(argv[1], O_RDONLY);
    struct stat st;
    if (ein < 0 || fstat(ein, &st) != 0) return 1;
    const size_t seite = size_t(2) << 20, groesse = size_t(st.st_size);
    const size_t gerundet = (groesse + seite - 1) / seite * seite;
    auto* p = static_cast<unsigned char*>(std::aligned_alloc(seite, gerundet ? gerundet : seite));
    if (!p) return 1;
    madvise(p, gerundet, MADV_HUGEPAGE);
    size_t n = 0;
    for (ssize_t r; n < groesse && (r = read(ein, p + n, groesse - n)) > 0;) n += size_t(r);
    close(ein);
    const int aus = open(argv[2], O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (aus < 0) return 1;
    for (size_t w = 0; w < n;) {
        const ssize_t r = write(aus, p + w, n - w);
        if (r <= 0) return 1;
        w += size_t(r);
    }
    std::free(p);
    return close(aus) == 0 ? 0 : 1;
}
