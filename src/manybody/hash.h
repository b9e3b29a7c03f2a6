// The hash of determinants and operator terms: lookup3 "hashlittle" with
// initial value 0, masked to nbits bits.  The inline form serves the kernels,
// which hash short keys in their inner loops.
#ifndef SKELDA_MANYBODY_HASH_H
#define SKELDA_MANYBODY_HASH_H

#include <cstdint>
#include <cstring>

namespace hash_detail {

inline uint32_t Rot(uint32_t x, int k) { return (x << k) | (x >> (32 - k)); }

// Little-endian word of four bytes at any alignment.
inline uint32_t Load32(const uint8_t* p) {
    uint32_t w;
    memcpy(&w, p, 4);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    w = __builtin_bswap32(w);
#endif
    return w;
}

}  // namespace hash_detail

// The full 32-bit lookup3 value of the bytes at key, read little-endian;
// independent of the key's alignment.
inline uint32_t HashLittleInline(const void* key, unsigned long length, uint32_t initval) {
    using hash_detail::Load32;
    using hash_detail::Rot;
    const uint8_t* k = static_cast<const uint8_t*>(key);
    uint32_t a, b, c;
    a = b = c = 0xdeadbeef + (uint32_t)length + initval;
    if (length == 0) return c;
    while (length > 12) {
        a += Load32(k);
        b += Load32(k + 4);
        c += Load32(k + 8);
        a -= c; a ^= Rot(c, 4);  c += b;
        b -= a; b ^= Rot(a, 6);  a += c;
        c -= b; c ^= Rot(b, 8);  b += a;
        a -= c; a ^= Rot(c, 16); c += b;
        b -= a; b ^= Rot(a, 19); a += c;
        c -= b; c ^= Rot(b, 4);  b += a;
        length -= 12;
        k += 12;
    }
    // The last 1..12 bytes, little-endian and zero-filled.
    uint32_t t[3] = {0, 0, 0};
    for (unsigned long r = 0; r < length; r++) t[r >> 2] |= (uint32_t)k[r] << (8 * (r & 3));
    a += t[0];
    b += t[1];
    c += t[2];
    c ^= b; c -= Rot(b, 14);
    a ^= c; a -= Rot(c, 11);
    b ^= a; b -= Rot(a, 25);
    c ^= b; c -= Rot(b, 16);
    a ^= c; a -= Rot(c, 4);
    b ^= a; b -= Rot(a, 14);
    c ^= b; c -= Rot(b, 24);
    return c;
}

// hashlittle(data, length, 0) masked to nbits bits (nbits taken modulo 32).
inline uint32_t HashInline(const void* data, unsigned long length, unsigned int nbits) {
    return HashLittleInline(data, length, 0) & ((1u << (nbits & 31)) - 1u);
}

uint32_t hashlittle(const void* key, unsigned long length, uint32_t initval);
uint32_t hash(const void* data, unsigned long length, unsigned int nbits);

#endif
