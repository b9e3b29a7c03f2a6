// Insertion and lookup rates of the wave-function store for 10^6 distinct
// random determinants of 64 and of 128 modes, with the default key width 16
// and with a width fitted to the count (20 bits, about log2 of 10^6), and the
// memory per element.  The same keys in a std::unordered_map with a plain
// byte hash serve as a yardstick.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <unordered_map>
#include <vector>

#include "manybody/wavefunction.h"

namespace {

const uint32_t kCount = 1000000;

uint64_t SplitMix(uint64_t x) {
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

// kCount distinct determinants of nword bytes: the first 8 bytes are a
// bijective mix of the element number, so no two are equal.
const std::vector<uint8_t>& Keys(uint32_t nword) {
    static std::vector<uint8_t> keys[17];
    std::vector<uint8_t>& k = keys[nword];
    if (k.empty()) {
        k.resize((size_t)kCount * nword);
        for (uint32_t i = 0; i < kCount; i++) {
            for (uint32_t w = 0; w < nword; w += 8) {
                uint64_t v = SplitMix(i + 0x1234567ull * w);
                memcpy(&k[(size_t)i * nword + w], &v, 8);
            }
        }
    }
    return k;
}

// Lookups in an order unrelated to the insertion order.
const std::vector<uint32_t>& LookupOrder() {
    static std::vector<uint32_t> order;
    if (order.empty()) {
        order.resize(kCount);
        std::iota(order.begin(), order.end(), 0u);
        std::shuffle(order.begin(), order.end(), std::mt19937(42));
    }
    return order;
}

WaveFunctionType Fill(uint32_t modes, uint32_t nbits) {
    const std::vector<uint8_t>& keys = Keys(modes / 8);
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = modes;
    psi.NBoson = 0;
    psi.NBitsKey = nbits;
    WaveFunctionInit(&psi);
    for (uint32_t i = 0; i < kCount; i++) RealWaveFunctionAddElement(&psi, &keys[(size_t)i * psi.NWord], 1.0);
    return psi;
}

double StoreBytesPerElement(const WaveFunctionType& psi) {
    double blocks = (double)psi.NBlok * WaveFunctionBlokSize * (sizeof(double) + sizeof(uint32_t) + psi.NWord);
    double arrays = (double)psi.NBlok * 3 * sizeof(void*);
    double keys = (double)WaveFunctionKeyListSize(psi.NBitsKey) * sizeof(uint32_t);
    return (blocks + arrays + keys) / psi.N;
}

// args: modes, NBitsKey
void BM_StoreInsert(benchmark::State& state) {
    const uint32_t modes = (uint32_t)state.range(0), nbits = (uint32_t)state.range(1);
    Keys(modes / 8);
    double bytes = 0.0;
    for (auto _ : state) {
        WaveFunctionType psi = Fill(modes, nbits);
        benchmark::DoNotOptimize(psi.N);
        state.PauseTiming();
        bytes = StoreBytesPerElement(psi);
        WaveFunctionFree(&psi);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
    state.counters["bytes_per_element"] = bytes;
}

void BM_StoreLookup(benchmark::State& state) {
    const uint32_t modes = (uint32_t)state.range(0), nbits = (uint32_t)state.range(1);
    WaveFunctionType psi = Fill(modes, nbits);
    const std::vector<uint8_t>& keys = Keys(modes / 8);
    const std::vector<uint32_t>& order = LookupOrder();
    for (auto _ : state) {
        uint64_t sum = 0;
        for (uint32_t i : order) sum += WaveFunctionIndexDet(&psi, &keys[(size_t)i * psi.NWord]);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kCount);
    state.counters["bytes_per_element"] = StoreBytesPerElement(psi);
    WaveFunctionFree(&psi);
}

// ---- The yardstick --------------------------------------------------------

size_t allocatedBytes = 0;

template <typename T>
struct CountingAllocator {
    using value_type = T;
    CountingAllocator() = default;
    template <typename U>
    CountingAllocator(const CountingAllocator<U>&) {}
    T* allocate(size_t n) {
        allocatedBytes += n * sizeof(T);
        return static_cast<T*>(::operator new(n * sizeof(T)));
    }
    void deallocate(T* p, size_t n) {
        allocatedBytes -= n * sizeof(T);
        ::operator delete(p);
    }
    template <typename U>
    bool operator==(const CountingAllocator<U>&) const { return true; }
    template <typename U>
    bool operator!=(const CountingAllocator<U>&) const { return false; }
};

// FNV-1a over the key bytes.
template <size_t W>
struct ByteHash {
    size_t operator()(const std::array<uint8_t, W>& key) const {
        uint64_t h = 0xCBF29CE484222325ull;
        for (uint8_t b : key) h = (h ^ b) * 0x100000001B3ull;
        return (size_t)h;
    }
};

template <size_t W>
using Map = std::unordered_map<std::array<uint8_t, W>, double, ByteHash<W>, std::equal_to<std::array<uint8_t, W>>,
                               CountingAllocator<std::pair<const std::array<uint8_t, W>, double>>>;

template <size_t W>
std::array<uint8_t, W> Key(const std::vector<uint8_t>& keys, uint32_t i) {
    std::array<uint8_t, W> k;
    memcpy(k.data(), &keys[(size_t)i * W], W);
    return k;
}

template <size_t W>
void BM_UnorderedMapInsert(benchmark::State& state) {
    const std::vector<uint8_t>& keys = Keys(W);
    double bytes = 0.0;
    for (auto _ : state) {
        Map<W> map;
        for (uint32_t i = 0; i < kCount; i++) map[Key<W>(keys, i)] += 1.0;
        benchmark::DoNotOptimize(map.size());
        state.PauseTiming();
        bytes = (double)allocatedBytes / map.size();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
    state.counters["bytes_per_element"] = bytes;
}

template <size_t W>
void BM_UnorderedMapLookup(benchmark::State& state) {
    const std::vector<uint8_t>& keys = Keys(W);
    Map<W> map;
    for (uint32_t i = 0; i < kCount; i++) map[Key<W>(keys, i)] = 1.0;
    const std::vector<uint32_t>& order = LookupOrder();
    for (auto _ : state) {
        double sum = 0;
        for (uint32_t i : order) sum += map.find(Key<W>(keys, i))->second;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kCount);
    state.counters["bytes_per_element"] = (double)allocatedBytes / map.size();
}

}  // namespace

BENCHMARK(BM_StoreInsert)->ArgNames({"modes", "NBitsKey"})->ArgsProduct({{64, 128}, {16, 20}})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StoreLookup)->ArgNames({"modes", "NBitsKey"})->ArgsProduct({{64, 128}, {16, 20}})->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_UnorderedMapInsert, 8)->Name("BM_UnorderedMapInsert/modes:64")->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_UnorderedMapInsert, 16)->Name("BM_UnorderedMapInsert/modes:128")->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_UnorderedMapLookup, 8)->Name("BM_UnorderedMapLookup/modes:64")->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_UnorderedMapLookup, 16)->Name("BM_UnorderedMapLookup/modes:128")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
