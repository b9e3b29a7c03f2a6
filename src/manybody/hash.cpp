#include "manybody/hash.h"

#include <cstring>

namespace {

inline uint32_t Rot(uint32_t x, int k) { return (x << k) | (x >> (32 - k)); }

// Little-endian word of four bytes at any alignment.
inline uint32_t FullWord(const uint8_t* p) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    uint32_t w;
    memcpy(&w, p, 4);
    return w;
#else
    return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
#endif
}

// Little-endian word of up to four bytes, missing bytes read as zero.
inline uint32_t Word(const uint8_t* p, unsigned long n) {
    if (n >= 4) return FullWord(p);
    uint32_t w = 0;
    for (unsigned long i = 0; i < n && i < 4; i++) w |= (uint32_t)p[i] << (8 * i);
    return w;
}

}  // namespace

uint32_t hashlittle(const void* key, unsigned long length, uint32_t initval) {
    const uint8_t* k = static_cast<const uint8_t*>(key);
    uint32_t a, b, c;
    a = b = c = 0xdeadbeef + (uint32_t)length + initval;

    while (length > 12) {
        a += FullWord(k);
        b += FullWord(k + 4);
        c += FullWord(k + 8);
        a -= c; a ^= Rot(c, 4);  c += b;
        b -= a; b ^= Rot(a, 6);  a += c;
        c -= b; c ^= Rot(b, 8);  b += a;
        a -= c; a ^= Rot(c, 16); c += b;
        b -= a; b ^= Rot(a, 19); a += c;
        c -= b; c ^= Rot(b, 4);  b += a;
        length -= 12;
        k += 12;
    }
    if (length == 0) return c;

    a += Word(k, length);
    if (length > 4) b += Word(k + 4, length - 4);
    if (length > 8) c += Word(k + 8, length - 8);

    c ^= b; c -= Rot(b, 14);
    a ^= c; a -= Rot(c, 11);
    b ^= a; b -= Rot(a, 25);
    c ^= b; c -= Rot(b, 16);
    a ^= c; a -= Rot(c, 4);
    b ^= a; b -= Rot(a, 14);
    c ^= b; c -= Rot(b, 24);
    return c;
}

uint32_t hash(const void* data, unsigned long length, unsigned int nbits) {
    return hashlittle(data, length, 0) & ((1u << (nbits & 31)) - 1u);
}
