// benchmarks [--table FILE] [--rounds N] [Google Benchmark's options]: measures, prints the ratios, and writes them as
// a Markdown table. Ends with 1 when a target is missed.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <vector>

#include "benchmarks/ratio.h"

namespace tandor::bench {
namespace {

// The real time of one operation in each round, ns.
struct Times {
    std::vector<double> rounds;
    bool failed = false;

    double Quantile(double share) const {
        std::vector<double> sorted = rounds;
        std::sort(sorted.begin(), sorted.end());
        return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1) + 0.5)];
    }
    double Median() const { return Quantile(0.5); }
    // How far apart the middle half of the rounds lies, in percent of the median.
    double Spread() const { return 100 * (Quantile(0.75) - Quantile(0.25)) / Median(); }
    bool Missing() const { return failed || rounds.empty(); }
};

struct Row {
    std::string operation, baseline;
    Target target;
    Times ours, theirs;
};

std::vector<Row> rows;

class Reporter : public benchmark::ConsoleReporter {
public:
    Reporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const std::string& name = run.run_name.function_name;
            Row& row = rows[std::stoul(name.substr(0, name.find(' ')))];
            Times& times = name.ends_with("ours") ? row.ours : row.theirs;
            times.failed = times.failed || run.error_occurred;
            if (run.run_type == Run::RT_Iteration && run.iterations != 0)
                times.rounds.push_back(run.real_accumulated_time * 1e9 / static_cast<double>(run.iterations));
            if (run.aggregate_name != "median" || times.Missing()) continue;
            std::printf("%-100s %14.1f ns, %4.1f %% apart\n", name.c_str(), times.Median(), times.Spread());
            std::fflush(stdout);
        }
    }
};

struct Judged {
    std::string figure, wanted;
    bool met;
};

Judged Judge(const Row& row) {
    char figure[64], wanted[64];
    const double times = row.ours.Median() / row.theirs.Median();
    const double more = (row.ours.Median() - row.theirs.Median()) / 1e6;
    switch (row.target.kind) {
        case Target::kAtMostTimes:
            std::snprintf(figure, sizeof(figure), "%.2f of its time", times);
            std::snprintf(wanted, sizeof(wanted), "at most %.2f", row.target.value);
            return {figure, wanted, times <= row.target.value};
        case Target::kAtLeastAsFast:
            std::snprintf(figure, sizeof(figure), "%.2f times as fast", 1 / times);
            std::snprintf(wanted, sizeof(wanted), "at least %.2f", row.target.value);
            return {figure, wanted, 1 / times >= row.target.value};
        case Target::kReported:
            std::snprintf(figure, sizeof(figure), "%.2f of its time", times);
            return {figure, "reported", true};
        case Target::kAtMostMillisecondsMore:
            break;
    }
    std::snprintf(figure, sizeof(figure), "%.2f ms more", more);
    std::snprintf(wanted, sizeof(wanted), "at most %.1f ms more", row.target.value);
    return {figure, wanted, more <= row.target.value};
}

std::string InWords(double ns) {
    char text[32];
    const auto [number, unit] = ns < 1e4   ? std::pair(ns, "ns")
                                : ns < 1e7 ? std::pair(ns / 1e3, "µs")
                                           : std::pair(ns / 1e6, "ms");
    std::snprintf(text, sizeof(text), "%.*f %s", ns < 1e4 ? 0 : 1, number, unit);
    return text;
}

// Returns whether every target was met. Rows that a filter left out are passed over.
bool WriteTable(std::FILE* file) {
    bool all_met = true;
    std::fprintf(file,
                 "| operation | beside | ours | its | spread, %% | ratio | target | verdict |\n"
                 "|---|---|---:|---:|---:|---|---|---|\n");
    for (const Row& row : rows) {
        if (row.ours.rounds.empty() && row.theirs.rounds.empty() && !row.ours.failed && !row.theirs.failed) continue;
        if (row.ours.Missing() || row.theirs.Missing()) {
            std::fprintf(file, "| %s | %s | | | | one of them failed | | MISSED |\n", row.operation.c_str(),
                         row.baseline.c_str());
            all_met = false;
            continue;
        }
        const Judged judged = Judge(row);
        all_met = all_met && judged.met;
        const char* const verdict = row.target.kind == Target::kReported ? "" : judged.met ? "met" : "MISSED";
        std::fprintf(file, "| %s | %s | %s | %s | %.0f, %.0f | %s | %s | %s |\n", row.operation.c_str(),
                     row.baseline.c_str(), InWords(row.ours.Median()).c_str(), InWords(row.theirs.Median()).c_str(),
                     row.ours.Spread(), row.theirs.Spread(), judged.figure.c_str(), judged.wanted.c_str(), verdict);
    }
    return all_met;
}

// Takes "--name value" out of the arguments.
std::string TakeOption(const char* name, const char* otherwise, int& count, char** words) {
    for (int i = 1; i + 1 < count; ++i) {
        if (std::strcmp(words[i], name) != 0) continue;
        const std::string value = words[i + 1];
        for (int j = i; j + 2 < count; ++j) words[j] = words[j + 2];
        count -= 2;
        return value;
    }
    return otherwise;
}

}  // namespace

void Compare(const std::string& operation, const std::string& baseline, Target target, Body ours, Body theirs,
             bool manual) {
    const std::string number = std::to_string(rows.size());
    rows.push_back({operation, baseline, target, {}, {}});
    const std::string name = number + " " + operation + " | " + baseline + " | ";
    for (auto* const one : {benchmark::RegisterBenchmark((name + "ours").c_str(), std::move(ours)),
                            benchmark::RegisterBenchmark((name + "its").c_str(), std::move(theirs))}) {
        manual ? one->UseManualTime() : one->UseRealTime();
    }
}

}  // namespace tandor::bench

int main(int count, char** words) {
    using namespace tandor::bench;
    const std::string table = TakeOption("--table", "", count, words);
    const std::string rounds = "--benchmark_repetitions=" + TakeOption("--rounds", "15", count, words);
    std::vector<char*> options(words, words + count);
    // Without a warm-up a disturbed first call makes one call a whole round, and every round then measures a cold one.
    std::string fixed[] = {rounds, "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.02",
                           "--benchmark_min_warmup_time=0.005"};
    for (std::string& option : fixed) options.insert(options.begin() + 1, option.data());
    int option_count = static_cast<int>(options.size());
    benchmark::Initialize(&option_count, options.data());
    AddConcurrency();
    AddDevice();
    AddFoundation();
    AddLogging();
    AddLoading();
    AddScreen();
    AddSecurity();
    AddHttp();
    AddTelemetry();
    AddWatching();
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const bool met = WriteTable(stdout);
    if (!table.empty()) {
        std::FILE* const file = std::fopen(table.c_str(), "wb");
        if (file == nullptr) return 2;
        WriteTable(file);
        std::fclose(file);
    }
    return met ? 0 : 1;
}
