// The main program of every bench. It runs Google Benchmark with randomly interleaved repetitions and prints a
// Markdown table with one row for each case: the median time of sinew, and the ratio of each contender's median
// time to it.
//
// Benchmarks are named "case/contender". The contenders of one case do the same work on the same input. A ratio above
// one means that sinew is faster. A benchmark that sets the counter "count" is compared by that number instead of its
// time. Times vary between machines and runs; only ratios of interleaved runs can be compared.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

std::string const kOurs = "sinew";

class RatioTable : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(Context const&) override { return true; }

    void ReportRuns(std::vector<Run> const& runs) override
    {
        for (Run const& run : runs) {
            if (run.error_occurred) {
                std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
                failed_ = true;
            } else if (run.run_type == Run::RT_Iteration) {
                record(run);
            }
        }
    }

    void Finalize() override
    {
        std::vector<std::string> columns = inOrder(contenders_);
        columns.erase(std::remove(columns.begin(), columns.end(), kOurs), columns.end());
        std::printf("\n| case | sinew |");
        for (std::string const& column : columns) std::printf(" %s / sinew |", column.c_str());
        std::printf("\n|---|---:|");
        for (std::size_t i = 0; i < columns.size(); ++i) std::printf("---:|");
        std::printf("\n");
        for (std::string const& name : inOrder(cases_)) printRow(name, columns);
    }

    bool failed() const { return failed_; }

private:
    // The number by which a run is compared: its count if it reports one, otherwise its time.
    double measureOf(Run const& run, std::string const& caseName)
    {
        auto const count = run.counters.find("count");
        if (count == run.counters.end()) return nanosecondsPerItem(run);
        counted_.insert(caseName);
        return count->second.value;
    }

    static double nanosecondsPerItem(Run const& run)
    {
        double const perIteration = run.real_accumulated_time / static_cast<double>(run.iterations) * 1e9;
        auto const items = run.counters.find("items_per_second");
        return items == run.counters.end() ? perIteration : 1e9 / items->second.value;
    }

    void record(Run const& run)
    {
        std::string const& name = run.run_name.function_name;
        std::size_t const slash = name.rfind('/');
        std::string const caseName = name.substr(0, slash);
        std::string const contender = slash == std::string::npos ? kOurs : name.substr(slash + 1);
        // Interleaved runs arrive in random order. The index is the order of registration, which is the order
        // of the rows.
        noteFirst(cases_, caseName, run.family_index);
        noteFirst(contenders_, contender, run.family_index);
        measures_[caseName][contender].push_back(measureOf(run, caseName));
    }

    static void noteFirst(std::map<std::string, std::int64_t>& places, std::string const& name, std::int64_t place)
    {
        auto const [entry, isNew] = places.emplace(name, place);
        if (!isNew) entry->second = std::min(entry->second, place);
    }

    static std::vector<std::string> inOrder(std::map<std::string, std::int64_t> const& places)
    {
        std::vector<std::string> names;
        for (auto const& entry : places) names.push_back(entry.first);
        std::sort(names.begin(), names.end(),
                  [&places](std::string const& a, std::string const& b) { return places.at(a) < places.at(b); });
        return names;
    }

    static double median(std::vector<double> values)
    {
        std::sort(values.begin(), values.end());
        std::size_t const middle = values.size() / 2;
        return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    }

    static std::string duration(double nanoseconds)
    {
        char text[32];
        if (nanoseconds < 1e3) {
            std::snprintf(text, sizeof text, "%.3g ns", nanoseconds);
        } else if (nanoseconds < 1e6) {
            std::snprintf(text, sizeof text, "%.3g us", nanoseconds / 1e3);
        } else {
            std::snprintf(text, sizeof text, "%.4g ms", nanoseconds / 1e6);
        }
        return text;
    }

    void printRow(std::string const& name, std::vector<std::string> const& columns)
    {
        auto const& contenders = measures_[name];
        auto const ours = contenders.find(kOurs);
        double const base = ours == contenders.end() ? 0.0 : median(ours->second);
        std::string const ourValue = counted_.count(name) ? std::to_string(std::llround(base)) : duration(base);
        std::printf("| %s | %s |", name.c_str(), base > 0 ? ourValue.c_str() : "-");
        for (std::string const& column : columns) {
            auto const other = contenders.find(column);
            if (other == contenders.end() || !(base > 0)) {
                std::printf(" - |");
            } else {
                std::printf(" %.2f |", median(other->second) / base);
            }
        }
        std::printf("\n");
    }

    std::set<std::string> counted_; // cases whose runs report a count
    std::map<std::string, std::int64_t> cases_;
    std::map<std::string, std::int64_t> contenders_;
    std::map<std::string, std::map<std::string, std::vector<double>>> measures_;
    bool failed_ = false;
};

} // namespace

int main(int argc, char** argv)
{
    // The defaults come first, so that the command line can override them.
    std::vector<std::string> defaults = {argv[0], "--benchmark_repetitions=7",
                                         "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.05"};
    std::vector<char*> arguments;
    for (std::string& argument : defaults) arguments.push_back(argument.data());
    for (int i = 1; i < argc; ++i) arguments.push_back(argv[i]);
    int count = static_cast<int>(arguments.size());

    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
    RatioTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    return table.failed() ? 1 : 0;
}
