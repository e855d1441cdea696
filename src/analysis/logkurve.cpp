#include "analysis/logkurve.h"

#include <cmath>

#include "analysis/kurve.h"

namespace {

// Stands for every value without a logarithm. Plots and thresholds built on
// these curves expect exactly this number, so it must not become -inf or a
// value derived from the data.
constexpr double kLogBoden = -10.0;

template <typename F>
void wandle(int mode, CKurve* in, CKurve* out, F f) {
    if (!in || !out) return;
    if (out != in) out->setzen(in);
    if (in->anzahl < 1) return;
    if (mode & 1)
        for (int i = 0; i < out->anzahl; ++i) out->x[i] = f(out->x[i]);
    if (mode & 2)
        for (int i = 0; i < out->anzahl; ++i) out->y[i] = f(out->y[i]);
}

}  // namespace

void setzlog(int mode, CKurve* in, CKurve* out) {
    wandle(mode, in, out, [](double v) { return v > 0.0 ? std::log(v) : kLogBoden; });
}

void setzlogu(int mode, CKurve* in, CKurve* out) {
    wandle(mode, in, out, [](double v) { return std::exp(v); });
}
