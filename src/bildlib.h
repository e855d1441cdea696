// Umbrella header of the bild library: include this (with -Isrc, or from the
// installed include/bild folder) to reach every class and free function.
#pragma once

#include "analysis/kurve.h"
#include "analysis/logkurve.h"
#include "analysis/profil.h"
#include "app/dateiname.h"
#include "bild/bild.h"
#include "bild/zeile.h"
#include "files/bia.h"
#include "files/bmp.h"
#include "files/jpg.h"
#include "files/raw.h"
#include "files/tiff.h"
#include "files/codec/inflate.h"
#include "files/codec/lzw.h"
#include "files/codec/packbits.h"
#include "sdk/fehler.h"
#include "sdk/ramfileloader.h"
