// The readable term list of an operator as a string, the text a script sees
// through tostring(O) and print(O).
#ifndef SKELDA_MANYBODY_OPERATOR_TEXT_H
#define SKELDA_MANYBODY_OPERATOR_TEXT_H

#include "manybody/operator.h"

// The header (name, kind, longest product, numbers of modes) and, for each
// length that holds terms, one line per term: the ladders as written (the
// last applied first), "C" or "A" with the mode, then "| re" or "| re im".
// A new malloc'ed text owned by the caller, or null after printing
// "ERROR: malloc failed in StringPrintOperatorReadable".
char* StringPrintOperatorReadable(OperatorType O);

#endif
