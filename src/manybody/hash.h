// The hash of determinants and operator terms: lookup3 "hashlittle" with
// initial value 0, masked to nbits bits.
#ifndef SKELDA_MANYBODY_HASH_H
#define SKELDA_MANYBODY_HASH_H

#include <cstdint>

// The full 32-bit lookup3 value of the bytes at key, read little-endian;
// independent of the key's alignment.
uint32_t hashlittle(const void* key, unsigned long length, uint32_t initval);

// hashlittle(data, length, 0) masked to nbits bits (nbits taken modulo 32).
uint32_t hash(const void* data, unsigned long length, unsigned int nbits);

#endif
