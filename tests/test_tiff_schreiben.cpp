// TIFF writer: the fixed layout byte for byte, colour orders, regions, errors.
#include <cstring>

#include "bildlib.h"
#include "hilfe.h"

namespace {

class TiffSchreiben : public Ordner {
protected:
    Bytes schreibe(CBILD& bild, CTeilbereich* region = nullptr, int* result = nullptr) {
        const std::string p = pfad("t.tif");
        std::remove(p.c_str());
        const int r = bild.bildspeichteil(w(p).c_str(), region);
        if (result) *result = r;
        else EXPECT_EQ(r, 0);
        return lies_datei(p);
    }
};

// Value of directory entry `tag` (the first value: LONG or SHORT).
uint32_t eintrag(const Bytes& t, uint16_t tag, uint16_t* typ = nullptr, uint32_t* anzahl = nullptr) {
    for (uint32_t i = 0; i < get16(t, 8); ++i) {
        const size_t e = 10 + 12 * i;
        if (get16(t, e) != tag) continue;
        if (typ) *typ = uint16_t(get16(t, e + 2));
        if (anzahl) *anzahl = get32(t, e + 4);
        return get16(t, e + 2) == 3 ? get16(t, e + 8) : get32(t, e + 8);
    }
    ADD_FAILURE() << "no tag " << tag;
    return 0;
}

void fuelle(CBILD& b) {
    for (uint32_t i = 0; i < b.puffergroesse; ++i) b.puffer[i] = uint8_t(i * 13 + 5);
}

}  // namespace

TEST_F(TiffSchreiben, SingleStripStatesItsOffsetEightBytesPastTheRows) {
    CBILD b(10, 10);
    fuelle(b);
    Bytes t = schreibe(b);
    ASSERT_EQ(t.size(), 322u);
    EXPECT_EQ(Bytes(t.begin(), t.begin() + 10), (Bytes{'I', 'I', 42, 0, 8, 0, 0, 0, 16, 0}));
    const uint16_t tags[16] = {254, 256, 257, 258, 259, 262, 273, 277, 278, 279, 280, 281, 282, 283, 284, 296};
    for (int i = 0; i < 16; ++i) EXPECT_EQ(get16(t, 10 + 12 * size_t(i)), tags[i]);
    EXPECT_EQ(get32(t, 202), 0u);
    EXPECT_EQ(eintrag(t, 273), 230u);
    EXPECT_EQ(eintrag(t, 279), 100u);
    EXPECT_EQ(eintrag(t, 278), 20u);
    EXPECT_EQ(eintrag(t, 282), 206u);
    EXPECT_EQ(eintrag(t, 283), 214u);
    EXPECT_EQ(get32(t, 206), 1024u);
    EXPECT_EQ(get32(t, 218), 1024u);
    EXPECT_EQ(0, std::memcmp(t.data() + 222, b.puffer, 100));
}

TEST_F(TiffSchreiben, StripTablesForMoreThanTwentyRows) {
    CBILD b(10, 21);
    fuelle(b);
    Bytes t = schreibe(b);
    ASSERT_EQ(t.size(), 238u + 210u);
    uint32_t n = 0;
    EXPECT_EQ(eintrag(t, 273, nullptr, &n), 206u);
    EXPECT_EQ(n, 2u);
    EXPECT_EQ(eintrag(t, 279), 214u);
    EXPECT_EQ(get32(t, 206), 238u);
    EXPECT_EQ(get32(t, 210), 438u);
    EXPECT_EQ(get32(t, 214), 200u);
    EXPECT_EQ(get32(t, 218), 10u);
    EXPECT_EQ(eintrag(t, 282), 222u);
    EXPECT_EQ(eintrag(t, 283), 230u);
    EXPECT_EQ(0, std::memcmp(t.data() + 238, b.puffer, 210));
}

TEST_F(TiffSchreiben, DepthTable) {
    struct Fall { int bpp; uint32_t bits, spp, photo, max; uint16_t maxtyp; };
    for (Fall f : {Fall{1, 8, 1, 1, 255, 3}, Fall{2, 16, 1, 1, 65535, 3}, Fall{3, 8, 3, 2, 255, 3},
                   Fall{4, 32, 1, 1, 4294967295u, 4}, Fall{6, 16, 3, 2, 65535, 3}}) {
        CBILD b(0, 0);
        b.speicher(3, 2, f.bpp);
        b.flag = 4;
        fuelle(b);
        Bytes t = schreibe(b);
        uint16_t typ = 0;
        EXPECT_EQ(eintrag(t, 258), f.bits);
        EXPECT_EQ(eintrag(t, 277), f.spp);
        EXPECT_EQ(eintrag(t, 262), f.photo);
        EXPECT_EQ(eintrag(t, 281, &typ), f.max);
        EXPECT_EQ(typ, f.maxtyp);
        EXPECT_EQ(eintrag(t, 284), 1u);
        ASSERT_EQ(t.size(), 222u + 6 * size_t(f.bpp));
        EXPECT_EQ(0, std::memcmp(t.data() + 222, b.puffer, 6 * size_t(f.bpp)));  // flag 4: as stored
    }
}

TEST_F(TiffSchreiben, ColourOrderAndPlanarRowsWithRegion) {
    // 3 x 2 pixels; region = columns 1..2 of row 1.
    CBILD b(0, 0);
    b.speicher(3, 2, 3);
    fuelle(b);
    CTeilbereich r(1, 1, 2, 1);
    b.flag = 0;
    Bytes t = schreibe(b, &r);
    const unsigned char* p = b.zeile[1] + 3;
    EXPECT_EQ(Bytes(t.begin() + 222, t.end()), (Bytes{p[2], p[1], p[0], p[5], p[4], p[3]}));

    b.flag = 1;  // planar: planes of 3 samples each
    r = CTeilbereich(1, 1, 2, 1);
    t = schreibe(b, &r);
    const unsigned char* z = b.zeile[1];
    EXPECT_EQ(Bytes(t.begin() + 222, t.end()), (Bytes{z[7], z[4], z[1], z[8], z[5], z[2]}));

    CBILD c(0, 0);
    c.speicher(2, 1, 6);
    fuelle(c);
    auto* s = reinterpret_cast<unsigned short*>(c.puffer);
    for (int flag : {0, 2}) {
        c.flag = flag;
        t = schreibe(c);
        ASSERT_EQ(t.size(), 222u + 12);
        unsigned short o[6];
        std::memcpy(o, t.data() + 222, 12);
        if (flag == 0) {
            EXPECT_EQ(o[0], s[2]);
            EXPECT_EQ(o[2], s[0]);
            EXPECT_EQ(o[3], s[5]);
        } else {
            EXPECT_EQ(o[0], s[4]);
            EXPECT_EQ(o[1], s[2]);
            EXPECT_EQ(o[2], s[0]);
            EXPECT_EQ(o[5], s[1]);
        }
    }
}

TEST_F(TiffSchreiben, RegionIsFittedInPlace) {
    CBILD b(50, 30);
    fuelle(b);
    CTeilbereich r(45, -3, 10, 25);
    Bytes t = schreibe(b, &r);
    EXPECT_EQ(r.links, 40);
    EXPECT_EQ(r.oben, 0);
    EXPECT_EQ(eintrag(t, 256), 10u);
    EXPECT_EQ(eintrag(t, 257), 25u);
    const size_t daten = 222 + 8 * 2;
    for (int y = 0; y < 25; ++y)
        EXPECT_EQ(0, std::memcmp(t.data() + daten + 10 * size_t(y), b.zeile[y] + 40, 10)) << y;
}

TEST_F(TiffSchreiben, FourByteColourGoesOutAsRgb) {
    CBILD b(0, 0);
    b.speicher(2, 1, 4);
    const unsigned char px[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::memcpy(b.puffer, px, 8);
    b.farbe32 = 256;
    b.flag = 0;
    Bytes t = schreibe(b);
    EXPECT_EQ(eintrag(t, 277), 3u);
    EXPECT_EQ(Bytes(t.begin() + 222, t.end()), (Bytes{3, 2, 1, 7, 6, 5}));
    EXPECT_EQ(b.bpp, 4);  // the image itself is unchanged
    b.farbe32 = 255;
    t = schreibe(b);
    EXPECT_EQ(eintrag(t, 258), 32u);
}

TEST_F(TiffSchreiben, Refusals) {
    int r = 0;
    CBILD b(4, 4);
    b.bpp = 5;
    schreibe(b, nullptr, &r);
    EXPECT_EQ(r, 12);
    EXPECT_FALSE(existiert(pfad("t.tif")));
    b.bpp = 12;
    EXPECT_EQ(b.bildspeich(w(pfad("t.tif")).c_str()), 12);
    CBILD leer(0, 0);
    EXPECT_EQ(leer.bildspeich(w(pfad("t.tif")).c_str()), 12);
    b.bpp = 1;
    CTiff tiff;
    EXPECT_EQ(tiff.schreiben(L"", &b), 1);
    EXPECT_EQ(tiff.schreiben(nullptr, &b), 1);
    EXPECT_EQ(tiff.schreiben(w(dir).c_str(), &b), 2);
    EXPECT_EQ(tiff.schreiben(L"/dev/full", &b), 4);
    EXPECT_EQ(b.bildspeich(w(pfad("t.jpg")).c_str()), 1);
    EXPECT_EQ(b.bildspeich(w(pfad("t")).c_str()), 1);
}
