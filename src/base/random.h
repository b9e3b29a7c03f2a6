// The random generator of the C library, seeded by the program at start.
#ifndef SKELDA_BASE_RANDOM_H
#define SKELDA_BASE_RANDOM_H

// A number on [0, 1) from rand().
double ksvdrand();

// Seeds rand().
void ksvsrand(unsigned seed);

#endif
