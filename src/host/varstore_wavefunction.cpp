// The stored text of a wave function: a call of NewWavefunction that builds
// the same state, determinant by determinant.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "host/varstore.h"
#include "manybody/wavefunction.h"

namespace {

// A prefactor in "%22.15E"; infinities and NaN, which that format would
// write as words, in the forms of the number writer.
void WritePrefactorPart(double x, FILE* out) {
    if (std::isfinite(x)) {
        fprintf(out, "%22.15E", x);
        return;
    }
    char buf[VariableStoreNumberTextSize];
    VariableStoreNumberText(x, buf);
    fputs(buf, out);
}

}  // namespace

int StreamPrintWaveFunctionScript(const WaveFunctionType& psi, FILE* out) {
    fprintf(out, "NewWavefunction( %u, %u,{\n", psi.NFermion, psi.NBoson);
    for (uint32_t i = 1; i <= psi.N; i++) {
        const uint8_t* det = WaveFunctionDet(psi, i);
        fputs("{{", out);
        for (uint32_t k = 0; k < psi.NWord; k++) fprintf(out, k == 0 ? " 0x%2.2X" : ", 0x%2.2X", det[k]);
        fputs("},", out);
        WritePrefactorPart(WaveFunctionRe(psi, i), out);
        if (psi.QComplex) {
            const double im = WaveFunctionIm(psi, i);
            fprintf(out, " %c I * ", std::signbit(im) ? '-' : '+');
            WritePrefactorPart(std::fabs(im), out);
        }
        fputs("},\n", out);
    }
    fputs("},{{\"Name\",", out);
    StreamPrintQuotedString(psi.Name, strlen(psi.Name), out);
    fprintf(out, "},{\"NBitsKey\",%u}})", psi.NBitsKey);
    if (ferror(out)) {
        printf("Writing failed in StreamPrintWaveFunctionScript\n");
        return 1;
    }
    return 0;
}
