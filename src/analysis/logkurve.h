// Logarithmic curves: put a CKurve on a natural-log scale along x, y or both
// and take it back. mode bit 0 (1) selects x, bit 1 (2) selects y; 0 makes a
// plain copy. out may be in; otherwise out first becomes a copy of in exactly
// as CKurve::setzen does (an empty in leaves out empty).
#pragma once

class CKurve;

// Values above 0.0 become their natural logarithm; every other value (0.0,
// negative, not a number) becomes the fixed floor -10.0.
void setzlog(int mode, CKurve* in, CKurve* out);
// The inverse: every selected value v becomes e^v, with no special case, so a
// floor of -10.0 comes back as about 4.54e-5, not 0.
void setzlogu(int mode, CKurve* in, CKurve* out);
