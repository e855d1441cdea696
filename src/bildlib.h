// Umbrella header of the bild library: include this (with -Isrc, or from the
// installed include/bild folder) to reach every class and free function.
#pragma once

#include "app/dateiname.h"
#include "bild/bild.h"
#include "bild/zeile.h"
#include "analysis/kurve.h"
#include "analysis/logkurve.h"
#include "analysis/profil.h"
