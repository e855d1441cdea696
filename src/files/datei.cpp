#include "files/datei.h"

#ifdef __linux__
#include <sys/types.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#endif

namespace bild {

void Datei::setzen(FILE* f) {
    schliessen();
    f_ = f;
    if (!f_) return;
    if (!puffer_) puffer_.reset(new char[kPuffer]);
    std::setvbuf(f_, puffer_.get(), _IOFBF, kPuffer);
}

size_t Datei::lies_zeilen(unsigned char* const* zeilen, size_t anzahl, size_t laenge, size_t luecke,
                          unsigned char* abfall) {
    const size_t schritt = laenge + luecke;
    if (anzahl == 0 || schritt == 0) return anzahl;
#ifdef __linux__
    // What fits the stream's buffer comes from it: a small image is then
    // read with the header in one system call.
    if (schritt * anzahl <= kPuffer) return lies_gepuffert(zeilen, anzahl, laenge, luecke, abfall);
    // One preadv per batch of rows at the stream's logical position, then
    // the stream is moved past what came: stdio never sees these bytes, so
    // its buffer cannot hold stale ones. Rows adjacent in memory (and
    // without padding) share one iovec.
    const off_t start = ftello(f_);
    if (start >= 0) {
        constexpr size_t kStapel = std::min<size_t>(IOV_MAX, 1024);
        iovec iov[kStapel];
        off_t pos = start;
        size_t fertig = 0;  // rows read whole
        bool ende = false;
        while (fertig < anzahl && !ende) {
            size_t n = 0, zeilen_im_stapel = 0, bytes = 0;
            for (size_t i = fertig; i < anzahl && n + 2 <= kStapel; ++i, ++zeilen_im_stapel) {
                if (n > 0 && luecke == 0 && static_cast<unsigned char*>(iov[n - 1].iov_base) + iov[n - 1].iov_len == zeilen[i])
                    iov[n - 1].iov_len += laenge;
                else
                    iov[n++] = {zeilen[i], laenge};
                if (luecke > 0) iov[n++] = {abfall, luecke};
                bytes += schritt;
            }
            // Read until the batch is complete or the file ends.
            size_t gelesen = 0;
            iovec* v = iov;
            while (gelesen < bytes) {
                const ssize_t r = preadv(fileno(f_), v, int(n - size_t(v - iov)), pos);
                if (r < 0 && errno == EINTR) continue;
                if (r <= 0) {
                    ende = true;
                    break;
                }
                gelesen += size_t(r);
                pos += r;
                for (size_t rest = size_t(r); rest > 0;) {
                    if (rest >= v->iov_len) {
                        rest -= v->iov_len;
                        ++v;
                    } else {
                        v->iov_base = static_cast<unsigned char*>(v->iov_base) + rest;
                        v->iov_len -= rest;
                        rest = 0;
                    }
                }
            }
            fertig += ende ? gelesen / schritt : zeilen_im_stapel;
        }
        fseeko(f_, pos, SEEK_SET);  // also drops what stdio had buffered
        return fertig;
    }
#endif
    return lies_gepuffert(zeilen, anzahl, laenge, luecke, abfall);
}

size_t Datei::lies_gepuffert(unsigned char* const* zeilen, size_t anzahl, size_t laenge, size_t luecke,
                             unsigned char* abfall) {
    for (size_t i = 0; i < anzahl; ++i)
        if (!lies(zeilen[i], laenge) || !lies(abfall, luecke)) return i;
    return anzahl;
}

}  // namespace bild
