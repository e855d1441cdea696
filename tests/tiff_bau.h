#include "bau.h"  // merged into bau.h
