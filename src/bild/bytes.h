// Byte-order helpers: every multi-byte value in a file is built from single
// bytes here, so no format casts a byte pointer to a wider integer.
#pragma once
#include <cstdint>
#include <cstring>

namespace bild {

inline uint16_t le16(const unsigned char* p) { return uint16_t(p[0] | (p[1] << 8)); }
inline uint32_t le32(const unsigned char* p) {
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
inline uint64_t le64(const unsigned char* p) { return uint64_t(le32(p)) | (uint64_t(le32(p + 4)) << 32); }
inline uint16_t be16(const unsigned char* p) { return uint16_t((p[0] << 8) | p[1]); }
inline uint32_t be32(const unsigned char* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}
inline uint64_t be64(const unsigned char* p) { return (uint64_t(be32(p)) << 32) | uint64_t(be32(p + 4)); }

inline void put_le16(unsigned char* p, uint32_t v) { p[0] = uint8_t(v); p[1] = uint8_t(v >> 8); }
inline void put_le32(unsigned char* p, uint32_t v) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    // The same bytes as below, as one store: compilers do not always merge
    // the four when the value is itself built from shifts, as in row kernels.
    std::memcpy(p, &v, 4);
#else
    p[0] = uint8_t(v); p[1] = uint8_t(v >> 8); p[2] = uint8_t(v >> 16); p[3] = uint8_t(v >> 24);
#endif
}
// Four 24-bit values (the low three bytes of each, lowest first) as 12
// bytes: three-byte pixels written four at a time as three 32-bit stores.
inline void put_le24x4(unsigned char* p, const uint32_t* t) {
    put_le32(p, t[0] | t[1] << 24);
    put_le32(p + 4, t[1] >> 8 | t[2] << 16);
    put_le32(p + 8, t[2] >> 16 | t[3] << 8);
}
inline void put_be16(unsigned char* p, uint32_t v) { p[0] = uint8_t(v >> 8); p[1] = uint8_t(v); }
inline void put_be32(unsigned char* p, uint32_t v) {
    p[0] = uint8_t(v >> 24); p[1] = uint8_t(v >> 16); p[2] = uint8_t(v >> 8); p[3] = uint8_t(v);
}

// Reads a 16- or 32-bit value in the byte order a file declared once.
struct ByteOrder {
    bool big = false;
    uint16_t u16(const unsigned char* p) const { return big ? be16(p) : le16(p); }
    uint32_t u32(const unsigned char* p) const { return big ? be32(p) : le32(p); }
    uint64_t u64(const unsigned char* p) const { return big ? be64(p) : le64(p); }
};

}  // namespace bild
