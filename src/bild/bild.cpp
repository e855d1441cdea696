#include "bild/bild.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "bild/groesse.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {

// More rows than this would make the row table alone exceed 64 MiB, which
// no real image needs; such a request fails like an exhausted allocator.
// The table is the one part of a fresh image that is touched whole before
// any row is read, so this bounds what a header alone can cost.
constexpr int64_t kMaxZeilen = int64_t(1) << 23;

unsigned char** neue_tabelle(int64_t zeilen) {
    if (zeilen < 0) throw std::bad_array_new_length();
    if (zeilen > kMaxZeilen) throw std::bad_alloc();
    return new unsigned char*[size_t(zeilen)];
}

// Fresh pixel storage is always zero: a reader that leaves pixels unwritten
// (bit counts it takes no pixels from) must not put an earlier image's
// bytes, or anything else the heap held, into an output file.
//
// Buffers of a huge page or more are mapped directly, start on a huge-page
// boundary and ask for huge pages: the kernel hands them out zeroed and only
// when touched, so a fresh 144 MB image costs about 70 page faults instead of
// 35000, and a hostile header's reservation costs nothing until rows come.
// A tail of less than half a huge page ends the mapping on a small page:
// the kernel then clears only the small pages the tail touches, not a whole
// huge page for it. Smaller buffers come from the heap, aligned to a cache
// line, and are cleared here.
constexpr size_t kGrosseSeite = size_t(2) << 20, kSeite = size_t(4) << 10;
constexpr size_t kZeilenAusrichtung = 64;

size_t gemappt(size_t groesse) {
    if (groesse < kGrosseSeite) return 0;
    const size_t einheit = groesse % kGrosseSeite >= kGrosseSeite / 2 ? kGrosseSeite : kSeite;
    return (groesse + einheit - 1) / einheit * einheit;
}

unsigned char* neuer_puffer(size_t groesse) {
#ifdef __linux__
    if (const size_t laenge = gemappt(groesse)) {
        // Map one huge page more and cut the ends, so the start is aligned.
        void* p = mmap(nullptr, laenge + kGrosseSeite, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED) throw std::bad_alloc();
        auto* roh = static_cast<unsigned char*>(p);
        const size_t vorn = (kGrosseSeite - reinterpret_cast<uintptr_t>(roh) % kGrosseSeite) % kGrosseSeite;
        unsigned char* start = roh + vorn;
        if (vorn) munmap(roh, vorn);
        if (vorn < kGrosseSeite) munmap(start + laenge, kGrosseSeite - vorn);
#ifdef MADV_HUGEPAGE
        madvise(start, laenge, MADV_HUGEPAGE);  // a hint: failure is harmless
#endif
        return start;
    }
#endif
    // Exactly the bytes asked for (posix_memalign, unlike aligned_alloc, takes
    // any size), so AddressSanitizer sees a row kernel that writes one pixel
    // past the last row.
    void* p = nullptr;
    if (::posix_memalign(&p, kZeilenAusrichtung, groesse) != 0 || !p) throw std::bad_alloc();
    std::memset(p, 0, groesse);
    return static_cast<unsigned char*>(p);
}

void puffer_frei(unsigned char* p, size_t groesse) {
    if (!p) return;
#ifdef __linux__
    if (const size_t laenge = gemappt(groesse)) {
        munmap(p, laenge);
        return;
    }
#endif
    std::free(p);
}

// Fit [start, start + size) into [0, limit): move, do not cut, unless wider.
void passe_ein(int& start_feld, int& groesse_feld, int limit) {
    int64_t start = start_feld, size = groesse_feld, end = start + size;
    if (start < 0) {
        start = 0;
        end = size;
    }
    if (end > limit) {
        start = int64_t(limit) - size;
        end = limit;
        if (start < 0) {
            start_feld = 0;
            groesse_feld = limit;
            return;
        }
    }
    start_feld = int(start);
    groesse_feld = int(end - start);
}

}  // namespace

void CTeilbereich::testteilx(int limit) { passe_ein(links, breite, limit); }
void CTeilbereich::testteily(int limit) { passe_ein(oben, hoehe, limit); }

void CTeilbereich::setzteilbild(int w, int h, int x, int y, int width, int height) {
    links = x;
    oben = y;
    breite = width;
    hoehe = height;
    testteilx(w);
    testteily(h);
}

CTeilbereich* CTeilbereich::einpassen(CTeilbereich* region, CTeilbereich& ganz, int w, int h) {
    if (!region) {
        ganz.setzteilbild(w, h, 0, 0, w, h);
        return &ganz;
    }
    region->testteilx(w);
    region->testteily(h);
    return region;
}

CBILD::CBILD(int width, int height)
    : zeile(nullptr), breite(0), hoehe(0), bpp(1), flag(0), info{0, 0, 0, 0}, farbe32(0),
      palette{}, puffer(nullptr), puffergroesse(0), zusatz(0) {
    if (height > 0) {
        if (width < 1) {
            // Row-table-only image: the caller points the entries at its memory.
            palette[0] = 0;
            zeile = neue_tabelle(height);
            hoehe = height;
        } else {
            speicher(width, height, 1);
        }
    }
}

CBILD::CBILD(const CBILD& src) : CBILD(0, 0) { setzen(&src); }

CBILD::~CBILD() { freigeben(); }

void CBILD::freigeben() {
    puffer_frei(puffer, puffergroesse);
    delete[] zeile;
    puffer = nullptr;
    zeile = nullptr;
    puffergroesse = 0;
    hoehe = 0;
    breite = 0;
    palette[0] = 0;
}

void CBILD::speichfrei() { freigeben(); }

int CBILD::speicher(int width, int height, int bytesPerPixel) {
    if (width == breite && height == hoehe && bytesPerPixel == bpp) return 1;
    freigeben();
    bpp = bytesPerPixel;
    if (height < 1) return 0;
    // A zero-width request succeeds with an empty image, unlike the
    // constructor, which keeps a row table.
    if (width < 1) return 1;

    uint64_t groesse = 0;
    if (!bild::produkt_passt(height, width, bytesPerPixel, UINT32_MAX, &groesse))
        throw std::bad_alloc();
    std::unique_ptr<unsigned char*[]> tabelle(neue_tabelle(height));
    puffer = neuer_puffer(size_t(groesse));
    zeile = tabelle.release();
    const size_t stride = size_t(width) * size_t(bytesPerPixel);
    for (int y = 0; y < height; ++y) zeile[y] = puffer + size_t(y) * stride;
    puffergroesse = uint32_t(groesse);
    hoehe = height;
    breite = width;
    return 1;
}

int CBILD::speicher(int width, int height) { return speicher(width, height, 1); }

int CBILD::speicher1(int height) {
    freigeben();
    zeile = neue_tabelle(height);
    hoehe = height;
    return 1;
}

CBILD& CBILD::operator=(const CBILD& src) {
    if (&src != this) setzen(&src);
    return *this;
}

void CBILD::setzen(const CBILD* src) {
    if (src == this) return;
    if (!src) {
        freigeben();
        return;
    }
    speicher(src->breite, src->hoehe, src->bpp);
    // Rows are reached through the source's table, so a source whose rows
    // lie in external memory is compacted into this image's one buffer.
    if (src->breite != 0 && src->hoehe > 0 && zeile) {
        const size_t n = size_t(src->breite) * size_t(src->bpp);
        for (int y = 0; y < src->hoehe; ++y) std::memcpy(zeile[y], src->zeile[y], n);
    }
    worte_von(*src);
}

void CBILD::worte_von(const CBILD& src) {
    flag = src.flag;
    std::copy(src.palette, src.palette + 256, palette);
    palette[255] = 0;
    std::copy(src.info, src.info + 4, info);
    farbe32 = src.farbe32;
    zusatz = src.zusatz;
}

bool CBILD::hatpixel() const { return zeile && breite >= 1 && hoehe >= 1 && bpp >= 1; }

const CBILD* CBILD::quelle(const CBILD* src, CBILD& kopie) const {
    if (src != this) return src;
    kopie.setzen(src);
    return &kopie;
}

bool CBILD::istfarbig() const { return bpp == 3 || bpp == 6 || (bpp == 4 && farbe32 == 256); }

bool CBILD::istplanar() const { return istfarbig() && flag != 0 && flag != 4; }

int CBILD::testImage(CBILD* image) {
    if (!image || image->breite < 1 || image->hoehe < 1) return 0;
    return (image->bpp == 3 || image->bpp == 6) ? 2 : 1;
}

void bildtausch(CBILD* a, CBILD* b) {
    using std::swap;
    swap(a->zeile, b->zeile);
    swap(a->breite, b->breite);
    swap(a->hoehe, b->hoehe);
    swap(a->bpp, b->bpp);
    swap(a->flag, b->flag);
    swap(a->info, b->info);
    swap(a->farbe32, b->farbe32);
    swap(a->palette, b->palette);
    swap(a->puffer, b->puffer);
    swap(a->puffergroesse, b->puffergroesse);
    swap(a->zusatz, b->zusatz);
}

void bildrename(CBILD* a, CBILD* b) {
    if (a == b) return;
    bildtausch(a, b);
    // a now holds b's former storage: release it, keep b's former fields.
    a->speichfrei();
}
