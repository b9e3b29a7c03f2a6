// The Krylov solvers on the 10-site Hubbard ring (t = 1, U = 4, half
// filling, Sz = 0: 63,504 determinants):
//   BM_FixedBasisHPsi     one application of H on the full sector;
//   BM_LanczosStep        the three-vector Lanczos recursion, time per level
//                         (application with growth plus the vector steps);
//   BM_GroundState        the whole Eigensystem search from restrictions.
// Run with OMP_NUM_THREADS=1 and 2.
#include <benchmark/benchmark.h>

#include <vector>

#include "krylov/blockgroundstate.h"
#include "krylov/lanczos_tridiagonal.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"

namespace {

const unsigned kSites = 10;

OperatorType Ring() {
    OperatorType H;
    InitOperator(&H);
    H.NF = 2 * kSites;
    H.NWord = DeterminantNWord(H.NF, 0);
    InitOperatorFixedLength(&H, 2, 8);
    InitOperatorFixedLength(&H, 4, 8);
    for (unsigned s = 0; s < kSites; s++) {
        const unsigned r = (s + 1) % kSites;
        for (unsigned spin = 0; spin < 2; spin++) {
            const uint16_t i = (uint16_t)(2 * s + spin), j = (uint16_t)(2 * r + spin);
            const uint16_t hop[2] = {j, (uint16_t)(0x8000 | i)}, back[2] = {i, (uint16_t)(0x8000 | j)};
            RealOperatorAddLader(&H, hop, 2, -1.0);
            RealOperatorAddLader(&H, back, 2, -1.0);
        }
        const uint16_t nn[4] = {(uint16_t)(2 * s), (uint16_t)(0x8000 | (2 * s)), (uint16_t)(2 * s + 1),
                                (uint16_t)(0x8000 | (2 * s + 1))};
        RealOperatorAddLader(&H, nn, 4, 4.0);
    }
    return H;
}

// Half filling with Sz = 0: five electrons on the even and five on the odd modes.
DeterminantRestrictionType HalfFilling() {
    DeterminantRestrictionType R;
    InitDeterminantRestriction(&R);
    R.NRestriction = 2;
    const unsigned nword = DeterminantNWord(2 * kSites, 0);
    R.MinOcc = (uint32_t*)malloc(2 * sizeof(uint32_t));
    R.MaxOcc = (uint32_t*)malloc(2 * sizeof(uint32_t));
    R.Mask = (uint8_t**)malloc(2 * sizeof(uint8_t*));
    for (unsigned k = 0; k < 2; k++) {
        R.MinOcc[k] = R.MaxOcc[k] = kSites / 2;
        R.Mask[k] = (uint8_t*)calloc(nword, 1);
        for (unsigned m = k; m < 2 * kSites; m += 2) R.Mask[k][m / 8] |= (uint8_t)(0x80 >> (m % 8));
    }
    return R;
}

struct Problem {
    OperatorType H = Ring();
    DeterminantRestrictionType R = HalfFilling();
    WaveFunctionType psi;  // random, over the whole sector
    Problem() { CreateStartingFunctions(H, 1, R, &psi, 17); }
};

Problem& Shared() {
    static Problem p;
    return p;
}

void BM_FixedBasisHPsi(benchmark::State& state) {
    Problem& p = Shared();
    WaveFunctionType out;
    WaveFunctionInitCopyBasis(&out, p.psi);
    for (auto _ : state) OperatorPsiConserveBasisPreAllocated(&p.H, &p.psi, &out);
    state.counters["dets"] = p.psi.N;
    WaveFunctionFreeValues(&out);
}
BENCHMARK(BM_FixedBasisHPsi)->Unit(benchmark::kMillisecond);

void BM_LanczosStep(benchmark::State& state) {
    Problem& p = Shared();
    const uint32_t levels = 20;
    for (auto _ : state) {
        TriDiagonalMatrixType M;
        M.N = levels;
        InitTriDiagonalMatrix(&M);
        LanczosTriDiagonalize(p.H, p.psi, 1e-14, &M, 0.0);
        FreeTriDiagonalMatrix(&M);
    }
    state.counters["s_per_step"] =
        benchmark::Counter((double)levels, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_LanczosStep)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_GroundState(benchmark::State& state) {
    Problem& p = Shared();
    for (auto _ : state) {
        ConvergenceSettingsType s = InitConvergenceSettings();
        WaveFunctionType psi;
        DeterminantRestrictionType none;
        InitDeterminantRestriction(&none);
        BlockGroundState(&p.H, 1, &s, p.R, none, &psi, 16);
        WaveFunctionFree(&psi);
        FreeConvergenceSettings(&s);
    }
}
BENCHMARK(BM_GroundState)->Unit(benchmark::kSecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
