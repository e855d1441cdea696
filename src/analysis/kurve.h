// CKurve, the profile container of the analysis layer: a sequence of (x, y)
// pairs of doubles, written as a two-column text file for inspection.
//
// Storage is one heap block of 2 x kapazitaet doubles: x at its start, y at
// x + kapazitaet (y is never allocated or freed by itself). A block exists
// exactly when kapazitaet is not 0. "Size to n" below means: keep the block
// when n equals kapazitaet (its content is not cleared), otherwise replace it
// by a block for n pairs (none for n = 0). A negative n is refused by the
// allocator as an invalid array length (std::bad_array_new_length), a size
// too large to allocate with std::bad_alloc; nothing else reports an error.
// After every operation that sets data, anzahl is 0 or kapazitaet.
#pragma once
#include <memory>

class CKurve {
public:
    double* x;       // owns the block
    double* y;       // x + kapazitaet, inside the same block
    int anzahl;      // valid pairs
    int kapazitaet;  // pairs the block holds

    CKurve();
    // n not 0: a block for n pairs; n above 0: copy n x and n y values.
    CKurve(double* x, double* y, int n);
    CKurve(const CKurve& src);
    ~CKurve();

    // Size to the other's count, count 0, then copy both arrays when the other
    // holds at least one pair. A null source counts as an empty curve.
    CKurve& operator=(const CKurve& src);
    CKurve* setzen(const CKurve* src);
    // The same from two caller arrays of n values.
    CKurve* setzen(double* x, double* y, int n);
    // Size to n (or the other's count), count 0; copy only x when n >= 1 and
    // set count n. y keeps whatever the block holds.
    void setzenx(double* x, int n);
    void setzenx(CKurve* src);
    // Size to n, count 0.
    void speicher(int n);
    void speichfrei();
    // Size to n; for n >= 1 x = 0, 1, 2, ... and count n (y untouched).
    void initx(int n);

    // Smallest and largest x (y, or a caller's array of anzahl values). With
    // no pairs min and max are left alone. A value below the current minimum
    // is never compared against the maximum, ties keep the earlier value.
    void getbereichx(double* min, double* max);
    void getbereichy(double* min, double* max);
    void getbereich0(double* a, double* min, double* max);

    void multx_fak(double f);
    void multy_fak(double f);
    // out = this - b over y, x taken from this curve; nothing when the counts
    // differ. out may be this curve (y replaced in place) or b.
    void subtraktion(CKurve* b, CKurve* out);

    // Mean of a[0..n-1]; 0.0 for n below 1.
    static double meanvalue(double* a, int n);
    // a[i] += v for i below n.
    static void addvalue(double* a, int n, double v);

    // Writes the curve as text (mode "wt"): "No data\n" without pairs,
    // otherwise an optional title line (UTF-8, left out when empty or when it
    // holds a value with no UTF-8 form) and one line per pair of fx * x and
    // fy * y in fmt (default "%13.6le\t%13.6le\n"). 0 when the file cannot
    // be opened (nothing written), else the result of closing it (0 = fine).
    int testfile(const char* path, const wchar_t* title, double fx, double fy, const char* fmt);
    // The same with px decimals for x and py for y ("%.<px>lf\t%.<py>lf\n");
    // a negative count means the default of six, as printf reads it.
    void testfilef(const char* path, const wchar_t* title, double fx, double fy, int px, int py);

private:
    // Size to n. Returns the replaced block, so that source arrays lying in
    // it stay valid until the copy is done.
    std::unique_ptr<double[]> groesse(int n);
};
