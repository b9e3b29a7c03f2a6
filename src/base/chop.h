// The tolerance below which Chop sets a number, an element or a prefactor to
// zero when the script gives none.
#ifndef SKELDA_BASE_CHOP_H
#define SKELDA_BASE_CHOP_H

const double kChopDefaultTolerance = 1e-10;

#endif
