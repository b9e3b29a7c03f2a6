// Operator application on an impurity model: a d shell of 10 spin-orbitals
// with a full set of Coulomb-like two-particle terms (every C i C j A k A l
// of d orbitals that keeps spin and orbital momentum, random prefactors) and
// one-particle terms, coupled by hopping to bath spin-orbitals, each bath
// orbital to one d orbital.  The state lives in the sector of 10 electrons:
//   about 1e5 determinants with 10 bath spin-orbitals (20 modes, the sector
//   holds 184756),
//   about 1e6 determinants with 20 bath spin-orbitals (30 modes, 30045015),
// grown from one determinant by repeated application, as the solvers grow
// their bases, and cut to the first 1e5 or 1e6.
//
// Reported per run:
//   apps/s   determinant-term applications per second (N in * terms);
//   acc/s    accepted results per second (before repeats merge);
//   staged   entries that reach the drains or look-ups, per accepted result;
//   lock     share of the threads' time spent in the drains under AddToPsi,
//            waiting included (growing kernel only);
//   lookup/s for the yardstick: reads and hash look-ups of determinants.
// The plain memory loops are in bench_bandwidth.
#include <benchmark/benchmark.h>
#include <omp.h>

#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "manybody/operator_psi.h"

namespace {

struct Problem {
    OperatorType H;
    WaveFunctionType psi;
    uint64_t terms = 0;
};

uint16_t Cr(unsigned m) { return (uint16_t)(0x8000 | m); }
uint16_t An(unsigned m) { return (uint16_t)m; }

// d orbital i: m = i / 2 - 2, spin i % 2.
OperatorType ImpurityHamiltonian(unsigned nbath, uint64_t* terms) {
    std::mt19937_64 rng(12345);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    const unsigned nd = 10, nf = nd + nbath;
    OperatorType H;
    InitOperator(&H);
    H.NF = nf;
    H.NWord = DeterminantNWord(nf, 0);
    InitOperatorFixedLength(&H, 2, 10);
    InitOperatorFixedLength(&H, 4, 14);
    RealOperatorAddLader(&H, nullptr, 0, 0.0);
    auto m = [](unsigned i) { return (int)(i / 2); };
    auto s = [](unsigned i) { return (int)(i % 2); };
    for (unsigned i = 0; i < nd; i++)
        for (unsigned j = 0; j < nd; j++)
            for (unsigned k = 0; k < nd; k++)
                for (unsigned l = 0; l < nd; l++) {
                    if (i == j || k == l) continue;
                    if (s(i) + s(j) != s(k) + s(l) || m(i) + m(j) != m(k) + m(l)) continue;
                    uint16_t codes[4] = {An(l), An(k), Cr(j), Cr(i)};
                    RealOperatorAddLader(&H, codes, 4, 0.1 * u(rng));
                }
    // Crystal field and a spin-orbit-like coupling inside the shell.
    for (unsigned i = 0; i < nd; i++)
        for (unsigned j = 0; j < nd; j++) {
            if (s(i) != s(j) && m(i) + s(i) != m(j) + s(j)) continue;
            uint16_t codes[2] = {An(j), Cr(i)};
            RealOperatorAddLader(&H, codes, 2, 0.3 * u(rng));
        }
    for (unsigned b = 0; b < nbath; b++) {
        const unsigned bath = nd + b, d = b % nd;
        uint16_t energy[2] = {An(bath), Cr(bath)};
        RealOperatorAddLader(&H, energy, 2, u(rng));
        uint16_t in[2] = {An(bath), Cr(d)}, out[2] = {An(d), Cr(bath)};
        const double v = 0.5 + 0.5 * u(rng);
        RealOperatorAddLader(&H, in, 2, v);
        RealOperatorAddLader(&H, out, 2, v);
    }
    OperatorRecountQComplex(&H);
    *terms = 0;
    for (uint32_t k = 0; k <= H.MaxLength; k++) *terms += H.l[k].N;
    return H;
}

uint32_t KeyBits(uint64_t n) {
    uint32_t bits = 8;
    while (((uint64_t)1 << bits) < n) bits++;
    return bits + 1;
}

// The state: repeated application of H to one determinant (5 d electrons,
// 5 in the bath), until at least `target` determinants are reached; the
// first `target` of them with random prefactors.
WaveFunctionType GrowState(const OperatorType& H, unsigned nf, uint32_t target) {
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = nf;
    psi.NBoson = 0;
    psi.NBitsKey = KeyBits(target);
    WaveFunctionInit(&psi);
    std::vector<uint8_t> det(psi.NWord, 0);
    for (unsigned i : {0u, 3u, 4u, 7u, 8u, 10u, 11u, 12u, 13u, 14u}) det[i / 8] |= (uint8_t)(0x80 >> (i % 8));
    RealWaveFunctionAddElement(&psi, det.data(), 1.0);
    while (psi.N < target) {
        WaveFunctionType next;
        OperatorPsi(H, psi, &next);
        WaveFunctionFree(&psi);
        psi = next;
    }
    WaveFunctionType cut;
    cut.QComplex = 0;
    cut.NFermion = nf;
    cut.NBoson = 0;
    cut.NBitsKey = KeyBits(target);
    WaveFunctionInit(&cut);
    std::mt19937_64 rng(99);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (uint32_t i = 1; i <= target; i++) RealWaveFunctionAddElement(&cut, WaveFunctionDet(psi, i), u(rng));
    WaveFunctionFree(&psi);
    return cut;
}

Problem& GetProblem(uint32_t size) {
    static std::map<uint32_t, Problem> cache;
    auto it = cache.find(size);
    if (it != cache.end()) return it->second;
    Problem& p = cache[size];
    const unsigned nbath = size <= 200000 ? 10 : 20;
    p.H = ImpurityHamiltonian(nbath, &p.terms);
    // One thread, so that the element order, and so the cut, is the same
    // for every team size.
    const int threads = omp_get_max_threads();
    omp_set_num_threads(1);
    p.psi = GrowState(p.H, 10 + nbath, size);
    omp_set_num_threads(threads);
    return p;
}

void SetCounters(benchmark::State& state, const Problem& p, double seconds, uint64_t accepted, uint64_t staged,
                 uint32_t nout) {
    const double runs = (double)state.iterations();
    state.counters["threads"] = omp_get_max_threads();
    state.counters["Nin"] = p.psi.N;
    state.counters["terms"] = (double)p.terms;
    state.counters["Nout"] = nout;
    state.counters["apps/s"] = (double)p.psi.N * (double)p.terms * runs / seconds;
    state.counters["acc/s"] = (double)accepted * runs / seconds;
    state.counters["staged"] = accepted > 0 ? (double)staged / (double)accepted : 0.0;
}

void BM_OperatorPsi(benchmark::State& state) {
    Problem& p = GetProblem((uint32_t)state.range(0));
    double seconds = 0.0, lock = 0.0;
    uint64_t accepted = 0, staged = 0;
    uint32_t nout = 0;
    for (auto _ : state) {
        OperatorPsiProfileReset();
        OperatorPsiProfile.Enabled = 1;
        WaveFunctionType out;
        const double start = omp_get_wtime();
        if (OperatorPsi(p.H, p.psi, &out) != 0) state.SkipWithError("OperatorPsi failed");
        const double wall = omp_get_wtime() - start;
        OperatorPsiProfile.Enabled = 0;
        seconds += wall;
        lock += OperatorPsiProfile.FlushSeconds / omp_get_max_threads();
        accepted = OperatorPsiProfile.Accepted;
        staged = OperatorPsiProfile.Entries;
        nout = out.N;
        state.PauseTiming();
        WaveFunctionFree(&out);
        state.ResumeTiming();
    }
    SetCounters(state, p, seconds, accepted, staged, nout);
    state.counters["lock"] = lock / seconds;
}

// The result basis of H psi, made once with the profile on, and the number
// of entries the growing kernel drained to make it: each is one look-up of
// the fixed-basis kernel, which refills this basis's values.
struct ResultType {
    WaveFunctionType basis;
    uint64_t entries;
};

ResultType& Result(uint32_t size) {
    static std::map<uint32_t, ResultType> cache;
    auto it = cache.find(size);
    if (it != cache.end()) return it->second;
    Problem& p = GetProblem(size);
    ResultType& r = cache[size];
    OperatorPsiProfileReset();
    OperatorPsiProfile.Enabled = 1;
    OperatorPsi(p.H, p.psi, &r.basis);
    OperatorPsiProfile.Enabled = 0;
    r.entries = OperatorPsiProfile.Entries;
    return r;
}

void BM_OperatorPsiConserveBasisPreAllocated(benchmark::State& state) {
    Problem& p = GetProblem((uint32_t)state.range(0));
    ResultType& r = Result((uint32_t)state.range(0));
    double seconds = 0.0;
    uint64_t accepted = 0;
    for (auto _ : state) {
        OperatorPsiProfileReset();
        OperatorPsiProfile.Enabled = 1;
        const double start = omp_get_wtime();
        if (OperatorPsiConserveBasisPreAllocated(&p.H, &p.psi, &r.basis) != 0) state.SkipWithError("failed");
        seconds += omp_get_wtime() - start;
        OperatorPsiProfile.Enabled = 0;
        accepted = OperatorPsiProfile.Accepted;
    }
    SetCounters(state, p, seconds, accepted, r.entries, r.basis.N);
}

// Yardstick: read the determinants of the result basis in storage order and
// look each up in that basis, as many times as the fixed-basis kernel looks
// up merged results.
void BM_PlainReadAndLookup(benchmark::State& state) {
    ResultType& r = Result((uint32_t)state.range(0));
    const WaveFunctionType& basis = r.basis;
    const long long lookups = (long long)r.entries;
    const long long n = basis.N;
    double seconds = 0.0;
    for (auto _ : state) {
        uint64_t found = 0;
        const double start = omp_get_wtime();
#pragma omp parallel for schedule(static) reduction(+ : found)
        for (long long k = 0; k < lookups; k++) {
            const uint32_t i = (uint32_t)(k % n) + 1;
            found += WaveFunctionIndexDet(&basis, WaveFunctionDet(basis, i)) == i;
        }
        seconds += omp_get_wtime() - start;
        if (found != (uint64_t)lookups) state.SkipWithError("lookup failed");
    }
    state.counters["threads"] = omp_get_max_threads();
    state.counters["lookup/s"] = (double)lookups * state.iterations() / seconds;
}

}  // namespace

// Each run is short: a few iterations at 1e5, one at 1e6 (whose state takes
// some seconds to grow, once per process).
BENCHMARK(BM_OperatorPsi)->Arg(100000)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OperatorPsi)->Arg(1000000)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OperatorPsiConserveBasisPreAllocated)
    ->Arg(100000)
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_OperatorPsiConserveBasisPreAllocated)
    ->Arg(1000000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_PlainReadAndLookup)->Arg(100000)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PlainReadAndLookup)->Arg(1000000)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_MAIN();
