// Products of two operators of the size of a Coulomb interaction on one
// shell: every normal-ordered two-particle term C i C j A k A l on 10 modes
// (2025 terms) with random values, multiplied into normal order.  The rate
// counts term products (pairs of input terms) per second.
#include <benchmark/benchmark.h>

#include <random>

#include "manybody/operator.h"
#include "manybody/operator_algebra.h"

namespace {

OperatorType TwoParticleOperator(unsigned modes, unsigned seed) {
    OperatorType O;
    InitOperator(&O);
    O.NF = modes;
    O.NWord = DeterminantNWord(modes, 0);
    InitOperatorFixedLength(&O, 4, 12);
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (unsigned i = 0; i < modes; i++)
        for (unsigned j = i + 1; j < modes; j++)
            for (unsigned k = 0; k < modes; k++)
                for (unsigned l = k + 1; l < modes; l++) {
                    uint16_t codes[4] = {(uint16_t)k, (uint16_t)l, (uint16_t)(0x8000 | i), (uint16_t)(0x8000 | j)};
                    RealOperatorAddLaderNormalOrder(&O, codes, 4, value(rng), QDetNotOrderedFcFaBcBa);
                }
    return O;
}

void BM_OperatorMultiply2NormalOrder(benchmark::State& state) {
    OperatorType A = TwoParticleOperator(10, 1), B = TwoParticleOperator(10, 2);
    const double pairs = (double)A.l[4].N * B.l[4].N;
    size_t terms = 0;
    for (auto _ : state) {
        OperatorType P;
        InitOperatorForMult(&P, 2, &A, &B);
        OperatorMultiply2NormalOrder(&P, A, B, 'N', 'N', QDetNotOrderedFcFaBcBa);
        terms = 0;
        for (unsigned k = 0; k <= P.MaxLength; k++) terms += P.l[k].N;
        FreeOperator(&P);
    }
    state.counters["term_products_per_s"] =
        benchmark::Counter(pairs * state.iterations(), benchmark::Counter::kIsRate);
    state.counters["input_terms"] = A.l[4].N;
    state.counters["result_terms"] = (double)terms;
    FreeOperator(&A);
    FreeOperator(&B);
}

}  // namespace

BENCHMARK(BM_OperatorMultiply2NormalOrder)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
