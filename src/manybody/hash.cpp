#include "manybody/hash.h"

uint32_t hashlittle(const void* key, unsigned long length, uint32_t initval) {
    return HashLittleInline(key, length, initval);
}

uint32_t hash(const void* data, unsigned long length, unsigned int nbits) {
    return HashInline(data, length, nbits);
}
