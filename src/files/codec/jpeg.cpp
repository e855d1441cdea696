// Baseline JPEG: markers and tables, Huffman-coded blocks through a 64-bit
// bit buffer, the integer IDCT into one MCU row of component planes, then
// chroma upsampling and YCbCr -> RGB row by row straight into the caller's
// rows. Only the MCU columns and rows the region needs are transformed; the
// others are entropy-decoded only (the data is one sequential bit stream).
#include "files/codec/jpeg.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "bild/bytes.h"

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define BILD_JPEG_AVX2 1
#endif
#if defined(__GNUC__)
#define BILD_IMMER inline __attribute__((always_inline))
#define BILD_SELTEN __attribute__((noinline))
#else
#define BILD_IMMER inline
#define BILD_SELTEN
#endif

namespace bild {
namespace {

constexpr int kFertig = 0, kKaputt = 3, kFremd = 12;

// Codes of up to this many bits are resolved by one table lookup; a
// photograph's codes are almost all that short.
constexpr int kVoraus = 9;

// Row-major position of the k-th coefficient in zigzag order.
constexpr uint8_t kZickzack[64] = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// A value of `s` extra bits: the low half of the range stands for negatives.
inline int erweitern(uint32_t v, int s) { return int(v) - (v < (1u << (s - 1)) ? (1 << s) - 1 : 0); }

struct Huffman {
    // Indexed by the next kVoraus bits. kurz: code length << 8 | symbol, 0 for
    // a longer code. voll: value * 256 | zero run << 4 | bits of code and
    // value together, when the value's extra bits lie inside the lookahead
    // too (0: not resolved in full; a DC difference of 0 still has its bits).
    uint16_t kurz[1 << kVoraus];
    int32_t voll[1 << kVoraus];
    // Longer codes: the largest code of each length (-1: none) and the
    // offset from a code of that length to its symbol's index.
    int32_t groesster[17];
    int32_t versatz[17];
    uint8_t werte[256];
    bool da = false;

    // From the 16 code counts and the symbols of a DHT entry; false when
    // the counts do not form a prefix code.
    bool bauen(const unsigned char* anzahl, const unsigned char* symbole, int summe, bool ac) {
        std::memset(kurz, 0, sizeof kurz);
        std::memset(voll, 0, sizeof voll);
        std::memcpy(werte, symbole, size_t(summe));
        int32_t code = 0;
        int k = 0;
        for (int l = 1; l <= 16; ++l) {
            versatz[l] = k - code;
            for (int i = 0; i < anzahl[l - 1]; ++i, ++code, ++k) {
                if (code >= (1 << l)) return false;  // more codes than this length holds
                if (l > kVoraus) continue;
                const int sym = werte[k];
                const int s = ac ? sym & 15 : sym;
                const int lauf = ac ? sym >> 4 : 0;
                const int frei = kVoraus - l;
                for (int rest = 0; rest < (1 << frei); ++rest) {
                    const int idx = (code << frei) | rest;
                    kurz[idx] = uint16_t(l << 8 | sym);
                    if (ac && s == 0) continue;  // end of block, or 16 zeros
                    if (l + s > kVoraus || s > 11) continue;
                    const int wert = s ? erweitern(uint32_t(idx >> (frei - s)) & ((1u << s) - 1), s) : 0;
                    voll[idx] = wert * 256 | lauf << 4 | (l + s);
                }
            }
            groesster[l] = anzahl[l - 1] ? code - 1 : -1;
            code <<= 1;
        }
        da = true;
        return true;
    }
};

// Entropy-coded data, most significant bit first. The buffer never takes in
// a marker: at one (or at the end) it is filled with zero bits, counted in
// `falsch`, and a block that used them was cut short.
struct Leser {
    const unsigned char* p;
    const unsigned char* ende;
    uint64_t puffer = 0;  // the next bits, left-aligned; the bits below n are 0
    int n = 0;
    int falsch = 0;

    // Whole bytes while eight in a row hold no 0xFF; else byte by byte.
    void fuellen() {
        if (ende - p >= 8) {
            const uint64_t w = be64(p);
            const uint64_t x = ~w;  // a 0xFF byte of w is a zero byte here
            if (((x - 0x0101010101010101ull) & ~x & 0x8080808080808080ull) == 0) {
                const int k = (64 - n) >> 3;
                puffer |= (w >> (64 - 8 * k)) << (64 - n - 8 * k);
                p += k;
                n += 8 * k;
                return;
            }
        }
        *this = langsam(*this);
    }
    // By value, so the caller's copy stays in registers on the fast path.
    static Leser langsam(Leser l);
    void weg(int k) {
        puffer <<= k;
        n -= k;
    }
    uint32_t nimm(int k) {  // 1 <= k <= 16
        const uint32_t v = uint32_t(puffer >> (64 - k));
        weg(k);
        return v;
    }
    // The symbol of the next code; -1 when no code of the table matches.
    int symbol(const Huffman& h, unsigned idx) {
        if (const unsigned e = h.kurz[idx]) {
            weg(int(e >> 8));
            return int(e & 255);
        }
        const int32_t c16 = int32_t(puffer >> 48);
        for (int l = kVoraus + 1; l <= 16; ++l) {
            const int32_t c = c16 >> (16 - l);
            if (c <= h.groesster[l]) {
                const int32_t i = h.versatz[l] + c;
                if (i < 0 || i > 255) return -1;
                weg(l);
                return h.werte[i];
            }
        }
        return -1;
    }
};

BILD_SELTEN Leser Leser::langsam(Leser l) {
    while (l.n <= 56 && l.p < l.ende) {
        unsigned b = *l.p;
        if (b == 0xFF) {
            // 0xFF 0x00 is a data byte 0xFF (after any fill bytes 0xFF);
            // anything else starts a marker, which ends the data here.
            const unsigned char* q = l.p + 1;
            while (q < l.ende && *q == 0xFF) ++q;
            if (q >= l.ende || *q != 0) break;
            l.p = q + 1;
        } else {
            ++l.p;
        }
        l.puffer |= uint64_t(b) << (56 - l.n);
        l.n += 8;
    }
    if (l.n <= 56) {
        l.falsch += 64 - l.n;
        l.n = 64;
    }
    return l;
}

// The hot kernels (IDCT, colour conversion) are plain loops over eight lanes,
// compiled twice: for the baseline instruction set and, where the processor
// has it, for AVX2, whose 32-bit multiplies serve the IDCT's sums eight at a
// time.

// The integer IDCT with 13-bit constants (Loeffler, Ligtenberg, Moschytz),
// two extra bits of precision between the passes: the common decoders'
// default, so both give the same samples. Sums are formed in unsigned 32-bit
// arithmetic: the same results as signed for every real stream, and a
// hostile one wraps instead of overflowing.
constexpr int kKonst = 13, kZwischen = 2, kEnde = kKonst + kZwischen + 3;
constexpr uint32_t k0298 = 2446, k0390 = 3196, k0541 = 4433, k0765 = 6270, k0899 = 7373, k1175 = 9633,
                   k1501 = 12299, k1847 = 15137, k1961 = 16069, k2053 = 16819, k2562 = 20995, k3072 = 25172;

inline int32_t runter(uint32_t x, int n) { return int32_t(x + (1u << (n - 1))) >> n; }
inline unsigned char klemme(int v) { return (unsigned char)(v < 0 ? 0 : v > 255 ? 255 : v); }

// Eight 8-point transforms side by side: lane j takes in[j], in[8 + j], ...,
// in[56 + j] and gives out[j], out[8 + j], ... (shifted down by `n`).
BILD_IMMER void achter(const int32_t* in, int32_t* out, int n) {
    for (int j = 0; j < 8; ++j) {
        uint32_t z2 = uint32_t(in[16 + j]), z3 = uint32_t(in[48 + j]);
        uint32_t z1 = (z2 + z3) * k0541;
        const uint32_t t2 = z1 - z3 * k1847, t3 = z1 + z2 * k0765;
        z2 = uint32_t(in[j]);
        z3 = uint32_t(in[32 + j]);
        const uint32_t t0 = (z2 + z3) << kKonst, t1 = (z2 - z3) << kKonst;
        const uint32_t t10 = t0 + t3, t13 = t0 - t3, t11 = t1 + t2, t12 = t1 - t2;

        uint32_t u0 = uint32_t(in[56 + j]), u1 = uint32_t(in[40 + j]), u2 = uint32_t(in[24 + j]),
                 u3 = uint32_t(in[8 + j]);
        z1 = (u0 + u3) * k0899;
        z2 = (u1 + u2) * k2562;
        const uint32_t z5 = (u0 + u1 + u2 + u3) * k1175;
        z3 = z5 - (u0 + u2) * k1961;
        const uint32_t z4 = z5 - (u1 + u3) * k0390;
        u0 = u0 * k0298 - z1 + z3;
        u1 = u1 * k2053 - z2 + z4;
        u2 = u2 * k3072 - z2 + z3;
        u3 = u3 * k1501 - z1 + z4;

        out[j] = runter(t10 + u3, n);
        out[56 + j] = runter(t10 - u3, n);
        out[8 + j] = runter(t11 + u2, n);
        out[48 + j] = runter(t11 - u2, n);
        out[16 + j] = runter(t12 + u1, n);
        out[40 + j] = runter(t12 - u1, n);
        out[24 + j] = runter(t13 + u0, n);
        out[32 + j] = runter(t13 - u0, n);
    }
}

// Dequantized coefficients (row-major) to 8x8 samples. `zeilen`/`spalten`:
// bit r (c) set when coefficient row r (column c) holds a non-zero value.
// Blocks with fewer terms take shorter ways to the same samples.
BILD_IMMER void idct_kern(const int32_t* k, unsigned zeilen, unsigned spalten, unsigned char* aus, size_t schritt) {
    if (zeilen == 1 && spalten == 1) {
        const unsigned char v = klemme(128 + (int32_t(uint32_t(k[0]) + 4) >> 3));
        for (int r = 0; r < 8; ++r) std::memset(aus + size_t(r) * schritt, v, 8);
        return;
    }
    alignas(32) int32_t ws[64], wt[64], o[64];
    if (zeilen == 1) {
        // Only horizontal frequencies: the first pass copies the row down
        // the block, so all eight output rows are the same.
        for (int u = 0; u < 8; ++u) wt[size_t(u) * 8] = int32_t(uint32_t(k[u]) << kZwischen);
        for (int u = 0; u < 8; ++u)
            for (int y = 1; y < 8; ++y) wt[u * 8 + y] = 0;
        achter(wt, o, kEnde);  // lane 0 is the row; the others are idle
        unsigned char zeile[8];
        for (int x = 0; x < 8; ++x) zeile[x] = klemme(128 + o[size_t(x) * 8]);
        for (int r = 0; r < 8; ++r) std::memcpy(aus + size_t(r) * schritt, zeile, 8);
        return;
    }
    achter(k, ws, kKonst - kZwischen);  // columns: ws[y * 8 + u]
    if (spalten == 1) {
        // Only vertical frequencies: each output row is one value.
        for (int r = 0; r < 8; ++r)
            std::memset(aus + size_t(r) * schritt, klemme(128 + runter(uint32_t(ws[size_t(r) * 8]), kZwischen + 3)), 8);
        return;
    }
    // Rows, transposed so the eight rows go side by side like the columns.
    for (int y = 0; y < 8; ++y)
        for (int u = 0; u < 8; ++u) wt[u * 8 + y] = ws[y * 8 + u];
    achter(wt, o, kEnde);  // o[x * 8 + y]
    // Clamped all at once, then turned back into rows of eight bytes.
    alignas(32) unsigned char b[64];
    for (int i = 0; i < 64; ++i) {
        const int v = 128 + o[i];
        b[i] = (unsigned char)(v < 0 ? 0 : v > 255 ? 255 : v);
    }
    for (int y = 0; y < 8; ++y) {
        uint64_t zeile = 0;
        for (int x = 7; x >= 0; --x) zeile = zeile << 8 | b[x * 8 + y];
        unsigned char* z = aus + size_t(y) * schritt;
        for (int x = 0; x < 8; ++x) z[x] = (unsigned char)(zeile >> (8 * x));
    }
}

// JFIF's YCbCr -> RGB in 16-bit fixed point, rounded as the common decoders
// round, so both give the same bytes. Computed 64 pixels at a time into
// separate planes, then interleaved four pixels to three 32-bit stores.
BILD_IMMER void farbe_kern(const unsigned char* y, const unsigned char* cb, const unsigned char* cr,
                           unsigned char* aus, uint32_t breite) {
    alignas(32) uint32_t w[64];
    for (uint32_t x0 = 0; x0 < breite; x0 += 64) {
        const uint32_t m = std::min<uint32_t>(64, breite - x0);
        const unsigned char *py = y + x0, *pb = cb + x0, *pr = cr + x0;
        for (uint32_t x = 0; x < m; ++x) {
            const int l = py[x], b = pb[x] - 128, r = pr[x] - 128;
            int vr = l + ((91881 * r + 32768) >> 16);
            int vg = l + ((-22554 * b - 46802 * r + 32768) >> 16);
            int vb = l + ((116130 * b + 32768) >> 16);
            vr = vr < 0 ? 0 : vr > 255 ? 255 : vr;
            vg = vg < 0 ? 0 : vg > 255 ? 255 : vg;
            vb = vb < 0 ? 0 : vb > 255 ? 255 : vb;
            w[x] = uint32_t(vr) | uint32_t(vg) << 8 | uint32_t(vb) << 16;
        }
        unsigned char* o = aus + size_t(x0) * 3;
        uint32_t x = 0;
        for (; x + 4 <= m; x += 4) put_le24x4(o + 3 * size_t(x), w + x);
        for (; x < m; ++x) {
            o[3 * size_t(x)] = (unsigned char)w[x];
            o[3 * x + 1] = (unsigned char)(w[x] >> 8);
            o[3 * x + 2] = (unsigned char)(w[x] >> 16);
        }
    }
}

using IdctFn = void (*)(const int32_t*, unsigned, unsigned, unsigned char*, size_t);
using FarbeFn = void (*)(const unsigned char*, const unsigned char*, const unsigned char*, unsigned char*, uint32_t);

void idct_basis(const int32_t* k, unsigned z, unsigned s, unsigned char* aus, size_t schritt) {
    idct_kern(k, z, s, aus, schritt);
}
void farbe_basis(const unsigned char* y, const unsigned char* cb, const unsigned char* cr, unsigned char* aus,
                 uint32_t breite) {
    farbe_kern(y, cb, cr, aus, breite);
}
#ifdef BILD_JPEG_AVX2
__attribute__((target("avx2"))) void idct_avx2(const int32_t* k, unsigned z, unsigned s, unsigned char* aus,
                                               size_t schritt) {
    idct_kern(k, z, s, aus, schritt);
}
__attribute__((target("avx2"))) void farbe_avx2(const unsigned char* y, const unsigned char* cb,
                                                const unsigned char* cr, unsigned char* aus, uint32_t breite) {
    farbe_kern(y, cb, cr, aus, breite);
}
#endif

struct Kerne {
    IdctFn idct = idct_basis;
    FarbeFn farbe = farbe_basis;
    Kerne() {
#ifdef BILD_JPEG_AVX2
        __builtin_cpu_init();
        if (__builtin_cpu_supports("avx2")) {
            idct = idct_avx2;
            farbe = farbe_avx2;
        }
#endif
    }
};

const Kerne& kerne() {
    static const Kerne k;
    return k;
}

// Doubles a chroma row: out[2i] leans on s[i-1], out[2i+1] on s[i+1], the
// nearer sample weighing three times the farther; past the last of the `cw`
// samples given (the component's edge, or the last one the region needs)
// the sample itself stands in for its neighbour. Writes (breite + 1) / 2
// pairs, which `cw` covers.
template <typename T, int kLinks, int kRechts, int kSchieben>
void verdoppeln(const T* s, uint32_t cw, unsigned char* aus, uint32_t breite) {
    const uint32_t paare = (breite + 1) / 2;
    const uint32_t innen = std::min(paare, cw - 1);
    {
        const int a = s[0] * 3;
        aus[0] = (unsigned char)((a + s[0] + kLinks) >> kSchieben);
        aus[1] = (unsigned char)((a + s[cw > 1 ? 1 : 0] + kRechts) >> kSchieben);
    }
    for (uint32_t i = 1; i < innen; ++i) {
        const int a = s[i] * 3;
        aus[2 * size_t(i)] = (unsigned char)((a + s[i - 1] + kLinks) >> kSchieben);
        aus[2 * i + 1] = (unsigned char)((a + s[i + 1] + kRechts) >> kSchieben);
    }
    for (uint32_t i = std::max(innen, 1u); i < paare; ++i) {
        const int a = s[i] * 3;
        aus[2 * size_t(i)] = (unsigned char)((a + s[i - 1] + kLinks) >> kSchieben);
        aus[2 * i + 1] = (unsigned char)((a + s[std::min(i + 1, cw - 1)] + kRechts) >> kSchieben);
    }
}

void verschachteln(const unsigned char* a, const unsigned char* b, const unsigned char* c, unsigned char* aus,
                   uint32_t breite) {
    for (uint32_t x = 0; x < breite; ++x) {
        aus[3 * size_t(x)] = a[x];
        aus[3 * x + 1] = b[x];
        aus[3 * x + 2] = c[x];
    }
}

struct Komponente {
    int id = 0, h = 1, v = 1, tq = 0;
    int td = 0, ta = 0;  // Huffman tables of the scan
    int pred = 0;        // DC predictor
    uint16_t q[64];      // row-major, taken from the table at the scan's start
    std::vector<unsigned char> ebene;  // one MCU row: v*8 rows of `schritt` samples
    size_t schritt = 0;
    std::vector<unsigned char> oben;  // the last row of the previous MCU row (chroma, vmax 2)
};

struct Dekoder {
    Huffman dc[4], ac[4];
    uint16_t dq[4][64];
    bool dq_da[4] = {false, false, false, false};
    uint32_t ri = 0;

    bool sof_da = false;
    uint32_t fx = 0, fy = 0;  // frame size
    int nf = 0;
    Komponente k[3];
    int folge[3] = {0, 1, 2};  // frame component of each scan component
    int hmax = 1, vmax = 1;

    // Region and output.
    unsigned char* ziel = nullptr;
    size_t zeilenbytes = 0;
    uint32_t breite = 0, hoehe = 0;
    bool ycbcr = true;

    // Geometry of the scan.
    uint32_t mcux = 0, mcuy = 0, mcux_noetig = 0;
    uint32_t cw = 0, ch = 0;  // chroma size: real samples, not padding
    uint32_t rest = 0;        // MCUs before the next restart marker
    int naechster_rst = 0;
    alignas(32) int32_t koef[64] = {};
    IdctFn idct = kerne().idct;
    FarbeFn farbe = kerne().farbe;
    std::vector<unsigned char> tcb, tcr, luma_halt;
    std::vector<int32_t> summe;

    int dht(const unsigned char* s, size_t n);
    int dqt(const unsigned char* s, size_t n);
    int sof(const unsigned char* s, size_t n, int kanaele);
    int sos(const unsigned char* s, size_t n);
    int marker(const unsigned char* q, size_t n, size_t& pos, bool nur_tabellen, int kanaele);
    void vorbereiten();
    bool neustart(Leser& b);
    bool block(Leser& b, Komponente& c, unsigned& zeilen, unsigned& spalten);
    bool mcu_zeile(Leser& b);
    void hoch(const unsigned char* nah, const unsigned char* fern, bool unten, unsigned char* aus);
    void ausgeben(uint32_t y, const unsigned char* l, const unsigned char* cbn, const unsigned char* cbf,
                  const unsigned char* crn, const unsigned char* crf);
    int entropie(const unsigned char* q, size_t n, uint32_t* fertig);
};

int Dekoder::dht(const unsigned char* s, size_t n) {
    while (n > 0) {
        if (n < 17) return kKaputt;
        const int klasse = s[0] >> 4, id = s[0] & 15;
        if (klasse > 1 || id > 3) return kKaputt;
        int summe = 0;
        for (int i = 1; i <= 16; ++i) summe += s[i];
        if (summe > 256 || 17 + size_t(summe) > n) return kKaputt;
        if (!(klasse ? ac[id] : dc[id]).bauen(s + 1, s + 17, summe, klasse == 1)) return kKaputt;
        s += 17 + summe;
        n -= size_t(17 + summe);
    }
    return kFertig;
}

int Dekoder::dqt(const unsigned char* s, size_t n) {
    while (n > 0) {
        const int breit = s[0] >> 4, id = s[0] & 15;
        if (breit > 1 || id > 3) return kKaputt;
        const size_t laenge = 1 + 64 * size_t(breit + 1);
        if (n < laenge) return kKaputt;
        for (int i = 0; i < 64; ++i) dq[id][kZickzack[i]] = breit ? be16(s + 1 + 2 * size_t(i)) : s[1 + i];
        dq_da[id] = true;
        s += laenge;
        n -= laenge;
    }
    return kFertig;
}

int Dekoder::sof(const unsigned char* s, size_t n, int kanaele) {
    if (sof_da || n < 6) return kKaputt;
    sof_da = true;
    const int p = s[0];
    fy = be16(s + 1);
    fx = be16(s + 3);
    nf = s[5];
    if (p != 8) return p == 12 ? kFremd : kKaputt;
    if (nf == 2 || nf == 4) return kFremd;
    if (nf != 1 && nf != 3) return kKaputt;
    if (n < 6 + 3 * size_t(nf)) return kKaputt;
    if (fy == 0) return kFremd;  // height in a DNL segment after the scan
    if (fx == 0) return kKaputt;
    for (int i = 0; i < nf; ++i) {
        const unsigned char* c = s + 6 + 3 * size_t(i);
        k[i].id = c[0];
        k[i].h = c[1] >> 4;
        k[i].v = c[1] & 15;
        k[i].tq = c[2];
        if (k[i].h < 1 || k[i].h > 4 || k[i].v < 1 || k[i].v > 4 || k[i].tq > 3) return kKaputt;
    }
    if (nf == 1) {
        // A lone component is scanned block by block, whatever it declares.
        k[0].h = k[0].v = 1;
    } else {
        if (k[1].h != 1 || k[1].v != 1 || k[2].h != 1 || k[2].v != 1 || k[0].h > 2 || k[0].v > 2) return kFremd;
    }
    hmax = k[0].h;
    vmax = k[0].v;
    if (nf != kanaele) return kKaputt;
    return kFertig;
}

int Dekoder::sos(const unsigned char* s, size_t n) {
    if (!sof_da || n < 1) return kKaputt;
    const int ns = s[0];
    if (n < 4 + 2 * size_t(ns) || ns < 1) return kKaputt;
    if (ns != nf) return ns < nf ? kFremd : kKaputt;  // components in separate scans
    bool belegt[3] = {false, false, false};
    for (int i = 0; i < ns; ++i) {
        const int id = s[1 + 2 * i], td = s[2 + 2 * i] >> 4, ta = s[2 + 2 * i] & 15;
        int j = 0;
        while (j < nf && j < 3 && (belegt[j] || k[j].id != id)) ++j;
        if (j >= nf || j > 2 || td > 3 || ta > 3) return kKaputt;
        belegt[j] = true;
        folge[i] = j;
        if (!dc[td].da || !ac[ta].da || !dq_da[k[j].tq]) return kKaputt;
        k[j].td = td;
        k[j].ta = ta;
        std::memcpy(k[j].q, dq[k[j].tq], sizeof k[j].q);
    }
    return kFertig;
}

// Markers from the start of q to the first scan (pos then points at its
// entropy-coded data) or, for the tables alone, to EOI or the end.
int Dekoder::marker(const unsigned char* q, size_t n, size_t& pos, bool nur_tabellen, int kanaele) {
    if (n < 2 || q[0] != 0xFF || q[1] != 0xD8) return kKaputt;
    pos = 2;
    for (;;) {
        // Bytes that are no marker are passed over, as lenient decoders do;
        // any number of fill bytes 0xFF may precede a marker.
        while (pos < n && q[pos] != 0xFF) ++pos;
        while (pos < n && q[pos] == 0xFF) ++pos;
        if (pos >= n) return nur_tabellen ? kFertig : kKaputt;
        const unsigned m = q[pos++];
        if (m == 0x00 || m == 0x01 || (m >= 0xD0 && m <= 0xD7)) continue;  // no segment follows
        if (m == 0xD9) return nur_tabellen ? kFertig : kKaputt;
        if (m == 0xD8) return kKaputt;
        if (n - pos < 2) return kKaputt;
        const size_t laenge = be16(q + pos);
        if (laenge < 2 || laenge > n - pos) return kKaputt;
        const unsigned char* s = q + pos + 2;
        const size_t sl = laenge - 2;
        pos += laenge;
        int r = kFertig;
        switch (m) {
        case 0xC4: r = dht(s, sl); break;
        case 0xDB: r = dqt(s, sl); break;
        case 0xDD:
            if (sl < 2) return kKaputt;
            ri = be16(s);
            break;
        case 0xC0:
        case 0xC1:
            if (nur_tabellen) return kKaputt;
            r = sof(s, sl, kanaele);
            break;
        case 0xDA:
            if (nur_tabellen) return kKaputt;
            return sos(s, sl);
        case 0xC2: case 0xC3: case 0xC5: case 0xC6: case 0xC7: case 0xC9: case 0xCA: case 0xCB:
        case 0xCD: case 0xCE: case 0xCF: case 0xDE: case 0xDF:
            return kFremd;  // progressive, lossless, hierarchical, arithmetic
        default: break;     // APPn, COM, DNL, DAC and the like carry nothing we use
        }
        if (r != kFertig) return r;
    }
}

// The data before a restart marker ends on a byte boundary: what is left in
// the buffer is padding. Bytes up to the marker are passed over; a marker
// other than the one due means lost data.
BILD_IMMER bool Dekoder::neustart(Leser& b) {
    b.puffer = 0;
    b.n = 0;
    b.falsch = 0;
    const unsigned char* p = b.p;
    while (p + 1 < b.ende && !(p[0] == 0xFF && p[1] != 0x00 && p[1] != 0xFF)) ++p;
    if (p + 1 >= b.ende || p[1] != 0xD0 + naechster_rst) return false;
    b.p = p + 2;
    naechster_rst = (naechster_rst + 1) & 7;
    for (int i = 0; i < nf; ++i) k[i].pred = 0;
    return true;
}

// One block into koef (dequantized, row-major); false for a code no table
// holds or coefficients past the block's end.
BILD_IMMER bool Dekoder::block(Leser& b, Komponente& c, unsigned& zeilen, unsigned& spalten) {
    const Huffman& hd = dc[c.td];
    const Huffman& ha = ac[c.ta];
    // One refill covers the longest code with its extra bits (16 + 11).
    if (b.n < 32) b.fuellen();
    unsigned idx = unsigned(b.puffer >> (64 - kVoraus));
    int diff;
    if (const int32_t e = hd.voll[idx]) {
        diff = e >> 8;
        b.weg(e & 15);
    } else {
        const int s = b.symbol(hd, idx);
        if (s < 0 || s > 11) return false;
        diff = s ? erweitern(b.nimm(s), s) : 0;
    }
    // Kept in 16 bits as the coefficient it becomes; only a hostile stream
    // leaves that range.
    c.pred = int16_t(c.pred + diff);
    koef[0] = c.pred * c.q[0];
    unsigned z = 1, sp = 1;
    for (int i = 1; i < 64; ++i) {
        if (b.n < 32) b.fuellen();
        idx = unsigned(b.puffer >> (64 - kVoraus));
        int wert;
        if (const int32_t e = ha.voll[idx]) {
            i += (e >> 4) & 15;
            b.weg(e & 15);
            wert = e >> 8;
        } else {
            const int s = b.symbol(ha, idx);
            if (s < 0) return false;
            const int r = s >> 4, g = s & 15;
            if (g == 0) {
                if (r != 15) break;  // end of block
                i += 15;
                continue;
            }
            if (g > 10) return false;
            i += r;
            wert = erweitern(b.nimm(g), g);
        }
        if (i > 63) return false;
        const int pos = kZickzack[i];
        koef[pos] = wert * c.q[pos];
        z |= 1u << (pos >> 3);
        sp |= 1u << (pos & 7);
    }
    zeilen = z;
    spalten = sp;
    return true;
}

// Decodes the next MCU row into the planes (MCUs right of the region are
// decoded but not transformed).
bool Dekoder::mcu_zeile(Leser& leser) {
    // A local copy whose address never escapes stays in registers: the
    // block loop's stores to koef cannot be taken for stores to it.
    Leser b = leser;
    for (uint32_t mx = 0; mx < mcux; ++mx) {
        if (ri) {
            if (rest == 0) {
                if (!neustart(b)) return false;
                rest = ri;
            }
            --rest;
        }
        const bool noetig = mx < mcux_noetig;
        for (int i = 0; i < nf; ++i) {
            Komponente& c = k[folge[i]];
            for (int v = 0; v < c.v; ++v)
                for (int h = 0; h < c.h; ++h) {
                    unsigned zeilen = 0, spalten = 0;
                    if (!block(b, c, zeilen, spalten)) return false;
                    if (noetig) {
                        const size_t spalte = (size_t(mx) * unsigned(c.h) + unsigned(h)) * 8;
                        idct(koef, zeilen, spalten, c.ebene.data() + size_t(v) * 8 * c.schritt + spalte, c.schritt);
                    }
                    // Only the rows that received values need clearing.
                    for (int r = 0; r < 8; ++r)
                        if (zeilen >> r & 1) std::memset(koef + 8 * size_t(r), 0, 8 * sizeof koef[0]);
                }
        }
        if (b.n < b.falsch) return false;  // the MCU ran past the data
    }
    leser = b;
    return true;
}

// One upsampled chroma row of the region: `nah` the chroma row of the output
// row, `fern` the one above (unten false) or below it (vertical doubling).
void Dekoder::hoch(const unsigned char* nah, const unsigned char* fern, bool unten, unsigned char* aus) {
    if (vmax == 1) {
        if (cw <= 2) {
            // Chroma two samples wide is doubled by repetition, as the
            // common decoders do.
            for (uint32_t x = 0; x < breite; ++x) aus[x] = nah[x >> 1];
        } else {
            verdoppeln<unsigned char, 1, 2, 2>(nah, std::min(cw, breite / 2 + 1), aus, breite);
        }
    } else if (hmax == 1) {
        const int bias = unten ? 2 : 1;
        for (uint32_t x = 0; x < breite; ++x) aus[x] = (unsigned char)((3 * nah[x] + fern[x] + bias) >> 2);
    } else if (cw <= 2) {
        for (uint32_t x = 0; x < breite; ++x) aus[x] = nah[x >> 1];
    } else {
        const uint32_t m = std::min(cw, breite / 2 + 1);
        int32_t* s = summe.data();
        for (uint32_t i = 0; i < m; ++i) s[i] = 3 * nah[i] + fern[i];
        verdoppeln<int32_t, 8, 7, 4>(s, m, aus, breite);
    }
}

void Dekoder::ausgeben(uint32_t y, const unsigned char* l, const unsigned char* cbn, const unsigned char* cbf,
                       const unsigned char* crn, const unsigned char* crf) {
    unsigned char* aus = ziel + size_t(y) * zeilenbytes;
    if (nf == 1) {
        std::memcpy(aus, l, breite);
        return;
    }
    if (hmax == 2 || vmax == 2) {
        const bool unten = y & 1;
        hoch(cbn, cbf, unten, tcb.data());
        hoch(crn, crf, unten, tcr.data());
        cbn = tcb.data();
        crn = tcr.data();
    }
    if (ycbcr)
        farbe(l, cbn, crn, aus, breite);
    else
        verschachteln(l, cbn, crn, aus, breite);
}

void Dekoder::vorbereiten() {
    const uint32_t mcuw = 8 * uint32_t(hmax), mcuh = 8 * uint32_t(vmax);
    mcux = (fx + mcuw - 1) / mcuw;
    mcuy = (fy + mcuh - 1) / mcuh;
    // The column right of the region too: the last output pixel's chroma
    // leans on the sample beyond it.
    mcux_noetig = std::min(mcux, std::min(fx - 1, breite) / mcuw + 1);
    for (int i = 0; i < nf; ++i) {
        Komponente& c = k[i];
        c.schritt = size_t(mcux_noetig) * unsigned(c.h) * 8;
        c.ebene.assign(c.schritt * unsigned(c.v) * 8, 0);
        c.pred = 0;
        if (i > 0 && vmax == 2) c.oben.assign(c.schritt, 0);
    }
    cw = hmax == 2 ? (fx + 1) / 2 : fx;
    ch = vmax == 2 ? (fy + 1) / 2 : fy;
    if (nf == 3) {
        tcb.assign(size_t(breite) + 2, 0);
        tcr.assign(size_t(breite) + 2, 0);
        summe.assign(size_t(breite) / 2 + 2, 0);
        if (vmax == 2) luma_halt.assign(k[0].schritt, 0);
    }
    rest = ri;
    naechster_rst = 0;
}

int Dekoder::entropie(const unsigned char* q, size_t n, uint32_t* fertig) {
    vorbereiten();
    Leser b{q, q + n};
    const uint32_t mcuh = 8 * uint32_t(vmax);
    const uint32_t zeilen = (hoehe + mcuh - 1) / mcuh;
    uint32_t aus = 0;  // rows written
    bool gehalten = false;  // row aus waits for the next MCU row's first chroma row
    const Komponente& l = k[0];
    for (uint32_t my = 0; my < zeilen || gehalten; ++my) {
        const bool ok = my < mcuy && mcu_zeile(b);
        if (gehalten) {
            // Below the last real chroma row, or if that MCU row is lost,
            // the row stands in for its missing neighbour.
            const unsigned char* cb = k[1].oben.data();
            const unsigned char* cr = k[2].oben.data();
            ausgeben(aus, luma_halt.data(), cb, ok ? k[1].ebene.data() : cb, cr, ok ? k[2].ebene.data() : cr);
            ++aus;
            gehalten = false;
        }
        if (!ok) {
            *fertig = aus;
            return my < zeilen ? kKaputt : kFertig;
        }
        if (my >= zeilen) break;
        const uint32_t y0 = my * mcuh, y1 = std::min(y0 + mcuh, hoehe);
        if (nf == 1 || vmax == 1) {
            for (uint32_t y = y0; y < y1; ++y) {
                const size_t r = size_t(y - y0);
                const Komponente& cb = k[nf == 3 ? 1 : 0];
                const Komponente& cr = k[nf == 3 ? 2 : 0];
                ausgeben(y, l.ebene.data() + r * l.schritt, cb.ebene.data() + r * cb.schritt, nullptr,
                         cr.ebene.data() + r * cr.schritt, nullptr);
            }
            aus = y1;
            continue;
        }
        // Two luma rows per chroma row: the upper leans on the chroma row
        // above, the lower on the one below, both from the component's
        // real rows.
        const size_t cs = k[1].schritt;
        for (uint32_t y = y0; y < y1; ++y) {
            const uint32_t c = y >> 1, lc = c - y0 / 2;
            const unsigned char* cb = k[1].ebene.data() + lc * cs;
            const unsigned char* cr = k[2].ebene.data() + lc * cs;
            const unsigned char *cbf, *crf;
            if (y & 1) {
                if (c + 1 >= ch) {
                    cbf = cb;
                    crf = cr;
                } else if (lc == 7) {
                    std::memcpy(luma_halt.data(), l.ebene.data() + size_t(y - y0) * l.schritt, l.schritt);
                    gehalten = true;
                    break;
                } else {
                    cbf = cb + cs;
                    crf = cr + cs;
                }
            } else if (c == 0) {
                cbf = cb;
                crf = cr;
            } else if (lc == 0) {
                cbf = k[1].oben.data();
                crf = k[2].oben.data();
            } else {
                cbf = cb - cs;
                crf = cr - cs;
            }
            ausgeben(y, l.ebene.data() + size_t(y - y0) * l.schritt, cb, cbf, cr, crf);
            aus = y + 1;
        }
        std::memcpy(k[1].oben.data(), k[1].ebene.data() + 7 * cs, cs);
        std::memcpy(k[2].oben.data(), k[2].ebene.data() + 7 * cs, cs);
    }
    *fertig = aus;
    return kFertig;
}

}  // namespace

int jpeg_entpacken(const unsigned char* tabellen, size_t ntabellen, const unsigned char* quelle, size_t n, bool ycbcr,
                   unsigned char* ziel, size_t zeilenbytes, uint32_t breite, uint32_t hoehe, int kanaele,
                   uint32_t* zeilen_fertig) {
    uint32_t fertig = 0;
    if (zeilen_fertig) *zeilen_fertig = 0;
    if ((kanaele != 1 && kanaele != 3) || !quelle) return kKaputt;
    if (breite == 0 || hoehe == 0) return kFertig;
    if (!ziel || zeilenbytes < uint64_t(breite) * unsigned(kanaele)) return kKaputt;
    std::unique_ptr<Dekoder> d(new Dekoder);
    size_t pos = 0;
    if (tabellen && ntabellen) {
        if (const int r = d->marker(tabellen, ntabellen, pos, true, kanaele)) return r;
    }
    if (const int r = d->marker(quelle, n, pos, false, kanaele)) return r;
    if (breite > d->fx || hoehe > d->fy) return kKaputt;
    d->ziel = ziel;
    d->zeilenbytes = zeilenbytes;
    d->breite = breite;
    d->hoehe = hoehe;
    d->ycbcr = ycbcr;
    const int r = d->entropie(quelle + pos, n - pos, &fertig);
    if (zeilen_fertig) *zeilen_fertig = fertig;
    return r;
}

}  // namespace bild
