// Ratios: each operation of ours beside a public implementation, in the same run, as medians of interleaved rounds.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace tandor::bench {

using Body = std::function<void(benchmark::State&)>;

// A body that does `operation` over and over.
template <class Operation>
Body Repeat(Operation operation) {
    return [operation](benchmark::State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(operation());
    };
}

// What our time must be against the baseline's.
struct Target {
    enum Kind {
        kAtMostTimes,             // ours / baseline <= value
        kAtLeastAsFast,           // baseline / ours >= value
        kAtMostMillisecondsMore,  // ours - baseline <= value
        kReported                 // for information
    };
    Kind kind;
    double value;
};
inline Target AtMostTimes(double value) { return {Target::kAtMostTimes, value}; }
inline Target AtLeastAsFast(double value) { return {Target::kAtLeastAsFast, value}; }
inline Target Reported() { return {Target::kReported, 0}; }
inline Target AtMostMillisecondsMore(double value) { return {Target::kAtMostMillisecondsMore, value}; }

// Adds a row to the table. The bodies are ordinary Google Benchmark functions. With `manual`, they set the time
// themselves.
void Compare(const std::string& operation, const std::string& baseline, Target target, Body ours, Body theirs,
             bool manual = false);

// The families' rows, each in benchmarks/<family>/.
void AddConcurrency();
void AddDevice();
void AddFoundation();
void AddLoading();
void AddLogging();
void AddScreen();
void AddSecurity();
void AddHttp();
void AddTelemetry();
void AddWatching();

}  // namespace tandor::bench
