// Text forms of operators: the readable term list, the full printout of the
// record, and the reader of operator text files.
#include <cstdlib>
#include <cstring>

#include "manybody/operator.h"

namespace {

// The ladders of a term as written, leftmost (applied last) first.
void PrintLaders(const uint16_t* o, unsigned int length, FILE* file) {
    for (unsigned int k = length; k-- > 0;) {
        fprintf(file, "%s%3i ", (o[k] & LaderCreation) ? "C" : "A", (int)(o[k] & LaderModeMask));
    }
}

void PrintValue(const OperatorFixedLengthType& f, uint32_t t, FILE* file) {
    if (f.QComplex) {
        fprintf(file, "| %22.15E %22.15E", f.V[t].re, f.V[t].im);
    } else {
        fprintf(file, "| %22.15E", f.VRe[t]);
    }
}

}  // namespace

void StreamPrintOperatorReadable(OperatorType O, FILE* file) {
    fprintf(file, "\nOperator: %s\n", O.Name);
    fprintf(file, "QComplex         = %10i (Real==0 or Complex==1 or Mixed==2)\n", O.QComplex);
    fprintf(file, "MaxLength        = %10i (largest number of product of lader operators)\n", O.MaxLength);
    fprintf(file, "NFermionic modes = %10i (Number of fermions in the one particle basis)\n", O.NF);
    fprintf(file, "NBosonic modes   = %10i (Number of bosons in the one particle basis)\n", O.NB);
    for (uint32_t length = 0; O.l != nullptr && length <= O.MaxLength; length++) {
        const OperatorFixedLengthType& f = O.l[length];
        if (f.N == 0) continue;
        fprintf(file, "\nOperator of Length %3i\n", length);
        fprintf(file, "QComplex      = %10i (Real==0 or Complex==1)\n", f.QComplex);
        fprintf(file, "N             = %10i (number of operators of length %3i)\n", f.N, length);
        for (uint32_t t = 0; t < f.N; t++) {
            if (length > 0) PrintLaders(f.o + (size_t)t * length, length, file);
            PrintValue(f, t, file);
            fprintf(file, "\n");
        }
    }
    fprintf(file, "\n");
}

void StreamPrintOperatorFullReadable(OperatorType O, FILE* file) {
    fprintf(file, "\nprintout of Operator: %s\n", O.Name);
    fprintf(file, "\nGenneral settings\n");
    fprintf(file, "QComplex      = %10i (Real==0 or Complex==1 or Mixed==2)\n", O.QComplex);
    fprintf(file, "MaxLength     = %10i (largest number of product of lader operators)\n", O.MaxLength);
    fprintf(file, "NFermion      = %10i (Number of fermions in the one particle basis)\n", O.NF);
    fprintf(file, "NBoson        = %10i (Number of bosons in the one particle basis)\n", O.NB);
    fprintf(file, "NWord         = %10i (Number of fermions/8+ number of bosons in the one particle basis)\n", O.NWord);
    fprintf(file, "*l            = %p   (Pointer addres of the Fixed Lenght Operator Type structures)\n", (void*)O.l);
    for (uint32_t length = 0; O.l != nullptr && length <= O.MaxLength; length++) {
        const OperatorFixedLengthType& f = O.l[length];
        fprintf(file, "\nOperator of Length %3i\n", length);
        fprintf(file, "&l[%3i]       = %p   (Pointer addres of fixed length variable)\n", length, (void*)&O.l[length]);
        fprintf(file, "QComplex      = %10i (Real==0 or Complex==1)\n", f.QComplex);
        fprintf(file, "N             = %10i (number of operators of length %3i)\n", f.N, length);
        fprintf(file, "NBitsKey      = %10i (Number of bits in the key)\n", f.NBitsKey);
        fprintf(file, "NAloc         = %10i (Size of the allocated memory)\n", f.NAloc);
        fprintf(file, "*o            = %p   (Pointer addres of the determinant list)\n", (void*)f.o);
        fprintf(file, "*Next         = %p   (Pointer addres of the list of next operators with the same hash value)\n",
                (void*)f.Next);
        fprintf(file, "*KeyList      = %p   (Pointer addres of the KeyList)\n", (void*)f.KeyList);
        fprintf(file, "*VRe          = %p   (Pointer addres of the list with Real values for real operators)\n",
                (void*)f.VRe);
        fprintf(file, "*V            = %p   (Pointer addres of the list of complex values for complex operators)\n",
                (void*)f.V);
        if (length > 0 && f.NAloc != 0 && f.KeyList != nullptr) {
            fprintf(file, "\nNon-zero elements of Hash Table\n");
            size_t buckets = (size_t)1 << (f.NBitsKey & 31);
            for (size_t i = 0; i < buckets; i++) {
                if (f.KeyList[i] != 0) fprintf(file, "i= %10i , key= %10i\n", (int)i, f.KeyList[i]);
            }
        }
        for (uint32_t t = 0; t < f.N; t++) {
            fprintf(file, "%4i | ", t);
            if (length > 0) PrintLaders(f.o + (size_t)t * length, length, file);
            PrintValue(f, t, file);
            if (length > 0) {
                fprintf(file, " | -> %10i\n", f.Next[t]);
            } else {
                fprintf(file, "\n");
            }
        }
    }
}

namespace {

// Skips what is left of the current line.
void SkipLine(FILE* file) {
    int c;
    do {
        c = fgetc(file);
    } while (c != '\n' && c != EOF);
}

}  // namespace

int StreamReadOperatorType(OperatorType* O, FILE* file) {
    if (InitOperator(O) != 0) {
        printf("InitOperator failed in StreamReadOperatorFixedLengthType\n");
        fflush(stdout);
        return 1;
    }
    char name[256];
    if (fgets(name, sizeof(name), file) == nullptr) name[0] = '\0';
    size_t n = strlen(name);
    if (n > 0 && name[n - 1] == '\n') {
        name[--n] = '\0';
    } else if (n == sizeof(name) - 1) {
        SkipLine(file);  // a longer name is cut to 255 characters
    }
    OperatorSetName(O, name);

    int nf = 0, nb = 0, count = 0;
    if (fscanf(file, "%i %i %i", &nf, &nb, &count) != 3 || nf < 0 || nb < 0 || count < 0 ||
        nf + nb > LaderModeMask + 1) {
        printf("Error in StreamReadOperatorType, expected the line \"NFermion NBoson NumberOfTerms\"\n");
        fflush(stdout);
        FreeOperator(O);
        return 1;
    }
    SkipLine(file);
    O->NF = (uint32_t)nf;
    O->NB = (uint32_t)nb;
    O->NWord = DeterminantNWord(O->NF, O->NB);

    uint16_t* codes = nullptr;
    int capacity = 0;
    for (int term = 1; term <= count; term++) {
        int length = -1;
        bool ok = fscanf(file, "%d", &length) == 1 && length >= 0 && length <= 65535;
        if (ok && length > capacity) {
            uint16_t* c = (uint16_t*)realloc(codes, (size_t)length * sizeof(uint16_t));
            if (c == nullptr) {
                printf("malloc failed in StreamReadOperatorType\n");
                fflush(stdout);
                free(codes);
                FreeOperator(O);
                return 1;
            }
            codes = c;
            capacity = length;
        }
        // The file writes the leftmost ladder first, which is applied last.
        for (int k = 0; ok && k < length; k++) {
            int v = 0;
            ok = fscanf(file, "%d", &v) == 1 && v != 0 && (v < 0 ? -1 - v : v - 1) < nf + nb;
            if (ok) codes[length - 1 - k] = v < 0 ? (uint16_t)(-1 - v) : (uint16_t)(v + 0x7FFF);
        }
        double re = 0.0, im = 0.0;
        ok = ok && fscanf(file, "%lf %lf", &re, &im) == 2;
        if (!ok) {
            printf("Error in StreamReadOperatorType, could not read term %i\n", term);
            fflush(stdout);
            free(codes);
            FreeOperator(O);
            return 1;
        }
        SkipLine(file);
        if ((uint32_t)length > O->MaxLength && InitOperatorFixedLength(O, (unsigned int)length, 8) != 0) {
            free(codes);
            FreeOperator(O);
            return 1;
        }
        if (OperatorAddLader(O, codes, (unsigned int)length, re, im) != 0) {
            free(codes);
            FreeOperator(O);
            return 1;
        }
    }
    free(codes);
    return 0;
}
