// The stored text of an operator: a call of NewOperator with its terms, its
// name, the key widths of its lengths and its restrictions.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "host/varstore.h"
#include "manybody/operator.h"

namespace {

// A prefactor in "%22.15E"; infinities and NaN in the forms of the number
// writer.
void WritePrefactorPart(double x, FILE* out) {
    if (std::isfinite(x)) {
        fprintf(out, "%22.15E", x);
        return;
    }
    char buf[VariableStoreNumberTextSize];
    VariableStoreNumberText(x, buf);
    fputs(buf, out);
}

void WritePrefactor(const OperatorFixedLengthType& l, uint32_t t, FILE* out) {
    if (!l.QComplex) {
        WritePrefactorPart(l.VRe[t], out);
        return;
    }
    WritePrefactorPart(l.V[t].re, out);
    fprintf(out, " %c I * ", std::signbit(l.V[t].im) ? '-' : '+');
    WritePrefactorPart(std::fabs(l.V[t].im), out);
}

void WriteBytes(const uint8_t* bytes, uint32_t n, FILE* out) {
    fputs("{", out);
    for (uint32_t k = 0; k < n; k++) fprintf(out, k == 0 ? " 0x%2.2X" : ", 0x%2.2X", bytes[k]);
    fputs("}", out);
}

}  // namespace

// Each term is one row {ladder, ..., prefactor} in the written order, the
// leftmost ladder (applied last) first: a creation ladder of mode m is
// " m", an annihilation ladder "-m", so that annihilating mode 0 reads as
// -0.  The constant is a row of the prefactor alone.  The terms come in
// order of length and, within a length, in storage order, so the rebuilt
// operator holds them in the same order.
int StreamPrintOperatorScript(const OperatorType& O, FILE* out) {
    fprintf(out, "NewOperator( %u, %u,{\n", O.NF, O.NB);
    for (uint32_t length = 0; length <= O.MaxLength; length++) {
        const OperatorFixedLengthType& l = O.l[length];
        for (uint32_t t = 0; t < l.N; t++) {
            fputs("{", out);
            const uint16_t* codes = l.o + (size_t)t * length;
            for (uint32_t k = length; k-- > 0;) {
                const uint16_t code = codes[k];
                fprintf(out, "%c%4u,", (code & LaderCreation) ? ' ' : '-', (unsigned)(code & LaderModeMask));
            }
            WritePrefactor(l, t, out);
            fputs("},\n", out);
        }
    }
    fputs("},\n{{\"Name\",", out);
    StreamPrintQuotedString(O.Name, strlen(O.Name), out);
    fputs("},{\"NBitsKey\",{", out);
    for (uint32_t length = 1; length <= O.MaxLength; length++)
        fprintf(out, length == 1 ? "%u" : ",%u", O.l[length].NBitsKey);
    fputs("}}", out);
    const DeterminantRestrictionType& R = O.Restrictions;
    if (R.NRestriction > 0) {
        fprintf(out, ",{\"Restrictions\",{%u, %u", O.NF, O.NB);
        for (uint32_t r = 0; r < R.NRestriction; r++) {
            fputs(", {", out);
            WriteBytes(R.Mask[r], O.NWord, out);
            fprintf(out, ", %u, %u}", R.MinOcc[r], R.MaxOcc[r]);
        }
        fputs("}}", out);
    }
    fputs("})", out);
    if (ferror(out)) {
        printf("Writing failed in StreamPrintOperatorScript\n");
        return 1;
    }
    return 0;
}
