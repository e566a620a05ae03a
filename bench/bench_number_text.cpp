// NumberToChars against std::snprintf(buf, n, "%.15G", v), which gives the same text, on
// the same inputs. Each pass formats every value of one input set; compare the two
// items_per_second of a set for the ratio.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <vector>

#include "NumberText.h"

namespace {

enum InputSet { Mixed, RandomMagnitudes, Quotients, SmallIntegers };

// The values a result sheet shows: entries of every magnitude with full digits, results
// of divisions such as 1/3, and the small integers users type.
std::vector<double> RandomMagnitudeValues(std::mt19937_64& random, int count) {
    std::uniform_real_distribution<double> mantissa(1.0, 10.0);
    std::uniform_int_distribution<int> exponent(-30, 30);
    std::bernoulli_distribution negative(0.3);
    std::vector<double> values;
    for (int k = 0; k < count; ++k) {
        const double v = mantissa(random) * std::pow(10.0, exponent(random));
        values.push_back(negative(random) ? -v : v);
    }
    return values;
}

std::vector<double> QuotientValues(std::mt19937_64& random, int count) {
    std::uniform_int_distribution<int> small(-1000, 1000);
    std::vector<double> values;
    while (int(values.size()) < count) {
        const int b = small(random);
        if (b != 0) values.push_back(double(small(random)) / double(b));
    }
    return values;
}

std::vector<double> SmallIntegerValues(std::mt19937_64& random, int count) {
    std::uniform_int_distribution<int> small(-100, 1000);
    std::vector<double> values;
    for (int k = 0; k < count; ++k)
        values.push_back(double(small(random)));
    return values;
}

std::vector<double> Inputs(InputSet set) {
    constexpr int count = 4096;
    std::mt19937_64 random(2026);
    switch (set) {
        case RandomMagnitudes:
            return RandomMagnitudeValues(random, count);
        case Quotients:
            return QuotientValues(random, count);
        case SmallIntegers:
            return SmallIntegerValues(random, count);
        case Mixed:
            break;
    }
    std::vector<double> values = RandomMagnitudeValues(random, count / 3);
    for (double v : QuotientValues(random, count / 3))
        values.push_back(v);
    for (double v : SmallIntegerValues(random, count - 2 * (count / 3)))
        values.push_back(v);
    std::shuffle(values.begin(), values.end(), random);
    return values;
}

const char* SetName(InputSet set) {
    switch (set) {
        case RandomMagnitudes:
            return "random magnitudes";
        case Quotients:
            return "quotients";
        case SmallIntegers:
            return "small integers";
        case Mixed:
            break;
    }
    return "mixed";
}

void BM_NumberToChars(benchmark::State& state) {
    const InputSet set = InputSet(state.range(0));
    const std::vector<double> values = Inputs(set);
    char buffer[NumberTextCapacity];
    for (auto _ : state) {
        for (double v : values) {
            benchmark::DoNotOptimize(NumberToChars(v, buffer, '.'));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t(values.size()));
    state.SetLabel(SetName(set));
}

void BM_SnprintfG15(benchmark::State& state) {
    const InputSet set = InputSet(state.range(0));
    const std::vector<double> values = Inputs(set);
    char buffer[64];
    for (auto _ : state) {
        for (double v : values) {
            benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, "%.15G", v));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t(values.size()));
    state.SetLabel(SetName(set));
}

BENCHMARK(BM_NumberToChars)->DenseRange(Mixed, SmallIntegers);
BENCHMARK(BM_SnprintfG15)->DenseRange(Mixed, SmallIntegers);

}  // namespace

BENCHMARK_MAIN();
