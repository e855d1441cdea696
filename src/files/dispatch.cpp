// Reading and writing image files by extension. The format object lives on
// the stack for one call and its result is passed on unchanged.
#include "app/dateiname.h"
#include "bild/bild.h"
#include "bild/zeile.h"
#include "files/bia.h"
#include "files/bmp.h"
#include "files/jpg.h"
#include "files/raw.h"
#include "files/tiff.h"

int CBILD::bildlese(const wchar_t* name) {
    switch (testimagetypew(name)) {
        case 0:
        case 4: { CBia f; return f.lesen(name, this); }
        case 1:
        case 2: { CTiff f; return f.lesen(name, this); }
        case 3: { CBmp f; return f.lesen(name, this); }
        case 5: { CRaw f; return f.lesen(name, this); }
        default: { CJpg f; return f.lesen(name, this); }
    }
}

int CBILD::bildspeich(const wchar_t* name) { return bildspeichteil(name, nullptr); }

int CBILD::bildspeichteil(const wchar_t* name, CTeilbereich* region) {
    // 4-byte colour pixels go out as 3-byte red-green-blue pixels.
    CBILD temp(0, 0);
    CBILD* image = this;
    if (bpp == 4 && farbe32 == 256) {
        image = &temp;
        if (breite > 0 && hoehe > 0) {
            temp.speicher(breite, hoehe, 3);
            temp.flag = 4;
            temp.farbe32 = 0;
            for (int y = 0; y < hoehe; ++y) wandelzeile8b(flag, zeile[y], breite, temp.zeile[y]);
        }
    }
    switch (testimagetypew(name)) {
        case 0:
        case 4: { CBia f; return f.schreibenteil(name, image, region); }
        case 1:
        case 2: { CTiff f; return f.schreibenteil(name, image, region); }
        case 3: { CBmp f; return f.schreibenteil(name, image, region); }
        case 5: { CRaw f; return f.schreibenteil(name, image, region); }
        default: { CJpg f; return f.schreibenteil(name, image, region); }
    }
}
