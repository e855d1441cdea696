#include "analysis/kurve.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "app/dateiname.h"
#include "files/datei.h"

namespace {

// memmove, not memcpy: a reused block may be its own source.
void kopiere(double* dst, const double* src, int n) {
    if (n > 0) std::memmove(dst, src, size_t(n) * sizeof(double));
}

void bereich(const double* a, int n, double* min, double* max) {
    if (n < 1) return;
    double lo = a[0], hi = a[0];
    for (int i = 1; i < n; ++i) {
        // A new minimum is not also checked against the maximum: callers of
        // this range have always seen it behave that way.
        if (a[i] < lo)
            lo = a[i];
        else if (a[i] > hi)
            hi = a[i];
    }
    *min = lo;
    *max = hi;
}

}  // namespace

CKurve::CKurve() : x(nullptr), y(nullptr), anzahl(0), kapazitaet(0) {}

CKurve::CKurve(double* xs, double* ys, int n) : CKurve() { setzen(xs, ys, n); }

CKurve::CKurve(const CKurve& src) : CKurve() { setzen(&src); }

CKurve::~CKurve() { delete[] x; }

std::unique_ptr<double[]> CKurve::groesse(int n) {
    if (n == kapazitaet) {
        anzahl = 0;
        return nullptr;
    }
    if (n < 0) throw std::bad_array_new_length();
    double* neu = n ? new double[2 * size_t(n)] : nullptr;
    std::unique_ptr<double[]> alt(x);
    x = neu;
    y = neu ? neu + n : nullptr;
    kapazitaet = n;
    anzahl = 0;
    return alt;
}

// setzen assigns every member (and handles a curve copied onto itself).
// cppcheck-suppress operatorEqVarError
CKurve& CKurve::operator=(const CKurve& src) {
    if (&src != this) setzen(&src);
    return *this;
}

CKurve* CKurve::setzen(const CKurve* src) {
    if (!src) {
        groesse(0);
        return this;
    }
    return setzen(src->x, src->y, src->anzahl);
}

CKurve* CKurve::setzen(double* xs, double* ys, int n) {
    auto alt = groesse(n);
    if (n >= 1) {
        kopiere(x, xs, n);
        kopiere(y, ys, n);
        anzahl = n;
    }
    return this;
}

void CKurve::setzenx(double* xs, int n) {
    auto alt = groesse(n);
    if (n >= 1) {
        kopiere(x, xs, n);
        anzahl = n;
    }
}

void CKurve::setzenx(CKurve* src) { setzenx(src ? src->x : nullptr, src ? src->anzahl : 0); }

void CKurve::speicher(int n) { groesse(n); }

void CKurve::speichfrei() { groesse(0); }

void CKurve::initx(int n) {
    groesse(n);
    if (n < 1) return;
    for (int i = 0; i < n; ++i) x[i] = double(i);
    anzahl = n;
}

void CKurve::getbereichx(double* min, double* max) { bereich(x, anzahl, min, max); }
void CKurve::getbereichy(double* min, double* max) { bereich(y, anzahl, min, max); }
void CKurve::getbereich0(double* a, double* min, double* max) { bereich(a, anzahl, min, max); }

void CKurve::multx_fak(double f) {
    for (int i = 0; i < anzahl; ++i) x[i] *= f;
}

void CKurve::multy_fak(double f) {
    for (int i = 0; i < anzahl; ++i) y[i] *= f;
}

void CKurve::subtraktion(CKurve* b, CKurve* out) {
    if (!b || !out || anzahl != b->anzahl) return;
    const int n = anzahl;
    std::unique_ptr<double[]> alt;
    if (out != this) {
        alt = out->groesse(n);
        kopiere(out->x, x, n);
        out->anzahl = n;
    }
    for (int i = 0; i < n; ++i) out->y[i] = y[i] - b->y[i];
}

double CKurve::meanvalue(double* a, int n) {
    if (!a || n < 1) return 0.0;
    double summe = 0.0;
    for (int i = 0; i < n; ++i) summe += a[i];
    return summe / n;
}

void CKurve::addvalue(double* a, int n, double v) {
    for (int i = 0; a && i < n; ++i) a[i] += v;
}

int CKurve::testfile(const char* path, const wchar_t* title, double fx, double fy, const char* fmt) {
    if (!path) return 0;
    bild::Datei f;
    f.setzen(bild::oeffne(path, "wt"));
    if (!f) return 0;
    if (anzahl < 1) {
        std::fputs("No data\n", f.get());
    } else {
        std::string zeile;
        if (title && *title && bild::utf8(title, zeile)) {
            zeile += '\n';
            std::fputs(zeile.c_str(), f.get());
        }
        const char* format = fmt ? fmt : "%13.6le\t%13.6le\n";
        for (int i = 0; i < anzahl; ++i) std::fprintf(f.get(), format, fx * x[i], fy * y[i]);
    }
    return f.schliessen() ? 0 : EOF;
}

void CKurve::testfilef(const char* path, const wchar_t* title, double fx, double fy, int px, int py) {
    // A negative precision written into the format would be an invalid
    // conversion; printf reads a negative precision as "none", i.e. six.
    char format[40];
    std::snprintf(format, sizeof format, "%%.%dlf\t%%.%dlf\n", px < 0 ? 6 : px, py < 0 ? 6 : py);
    testfile(path, title, fx, fy, format);
}
