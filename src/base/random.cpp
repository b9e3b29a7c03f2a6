#include "base/random.h"

#include <cstdlib>

double ksvdrand() { return rand() * 4.656612873077393e-10; }

void ksvsrand(unsigned seed) { srand(seed); }
