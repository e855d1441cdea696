// The one checked size computation. Every size that comes from a file or a
// caller (width x height x bytes, offset + count, stride x rows) goes through
// here in 64 bits before it becomes an allocation, a seek or a loop bound.
#pragma once
#include <cstdint>

namespace bild {

// a * b * c when every factor is non-negative and the product does not exceed
// `limit`; false otherwise (also for a negative factor), *out untouched.
inline bool produkt_passt(int64_t a, int64_t b, int64_t c, uint64_t limit, uint64_t* out) {
    if (a < 0 || b < 0 || c < 0) return false;
    // Each factor below 2^31 in practice; guard the generic case by division.
    uint64_t ua = uint64_t(a), ub = uint64_t(b), uc = uint64_t(c);
    if (ua && ub > UINT64_MAX / ua) return false;
    uint64_t ab = ua * ub;
    if (ab && uc > UINT64_MAX / ab) return false;
    uint64_t p = ab * uc;
    if (p > limit) return false;
    *out = p;
    return true;
}

// offset + count within `limit` (for example a file size), both non-negative.
inline bool bereich_passt(uint64_t offset, uint64_t count, uint64_t limit) {
    return offset <= limit && count <= limit - offset;
}

}  // namespace bild
