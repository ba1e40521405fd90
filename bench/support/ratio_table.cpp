// The main program of every bench. It runs Google Benchmark with randomly interleaved repetitions and prints a
// Markdown table with one row for each case: the median time of sinew, and the ratio of each contender's median
// time to it.
//
// Benchmarks are named "case/contender". The contenders of one case do the same work on the same input. A ratio above
// one means that sinew is faster. A benchmark that sets the counter "count" is compared by that number instead of its
// time. Times vary between machines and runs; only ratios of interleaved runs can be compared.
//
// --ratios=<file> also writes the rows as JSON, with the spread of each ratio: bench/history.py reads it.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

std::string const kOurs = "sinew";
std::string const kRatiosOption = "--ratios=";

// The compiler of this program, which is also that of the library in it.
std::string compiler()
{
#if defined(__clang__)
    return "clang++ " + std::to_string(__clang_major__) + "." + std::to_string(__clang_minor__);
#elif defined(__GNUC__)
    return "g++ " + std::to_string(__GNUC__) + "." + std::to_string(__GNUC_MINOR__);
#else
    return "another compiler";
#endif
}

std::string quoted(std::string const& text)
{
    std::string result = "\"";
    for (char const c : text) {
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result + "\"";
}

// The value below which a share of the values lies; between two values it is interpolated. `sorted` is ascending and
// not empty.
double quantile(std::vector<double> const& sorted, double share)
{
    double const place = share * static_cast<double>(sorted.size() - 1);
    std::size_t const below = static_cast<std::size_t>(place);
    std::size_t const above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (place - static_cast<double>(below)) * (sorted[above] - sorted[below]);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return quantile(values, 0.5);
}

// The ratios of each of `values` to each of `bases`, ascending.
std::vector<double> allRatios(std::vector<double> const& values, std::vector<double> const& bases)
{
    std::vector<double> ratios;
    for (double const value : values) {
        for (double const base : bases) ratios.push_back(value / base);
    }
    std::sort(ratios.begin(), ratios.end());
    return ratios;
}

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

    // All rows as JSON, one a line: the median, its ratio to that of sinew, and the quartiles of the ratios of all
    // pairs of a run of this contender and a run of sinew. For sinew itself, the quartiles are those of its own runs.
    std::string json()
    {
        std::ostringstream out;
        out.precision(6);
        out << "{\"compiler\": " << quoted(compiler()) << ",\n\"rows\": [";
        char const* separator = "\n";
        for (std::string const& name : inOrder(cases_)) {
            auto const& contenders = measures_[name];
            auto const ours = contenders.find(kOurs);
            if (ours == contenders.end() || !(median(ours->second) > 0)) continue;
            for (std::string const& contender : inOrder(contenders_)) {
                auto const entry = contenders.find(contender);
                if (entry == contenders.end()) continue;
                out << separator << row(name, contender, entry->second, ours->second);
                separator = ",\n";
            }
        }
        out << "\n]}\n";
        return out.str();
    }

private:
    std::string row(std::string const& name, std::string const& contender, std::vector<double> const& values,
                    std::vector<double> const& ours) const
    {
        std::vector<double> const ratios =
            contender == kOurs ? allRatios(values, {median(ours)}) : allRatios(values, ours);
        std::ostringstream out;
        out.precision(6);
        out << "{\"case\": " << quoted(name) << ", \"contender\": " << quoted(contender)
            << ", \"unit\": " << (counted_.count(name) ? "\"count\"" : "\"ns\"") << ", \"median\": " << median(values)
            << ", \"ratio\": " << median(values) / median(ours) << ", \"low\": " << quantile(ratios, 0.25)
            << ", \"high\": " << quantile(ratios, 0.75) << ", \"runs\": " << values.size() << "}";
        return out.str();
    }

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
    std::string ratiosFile;
    for (std::string& argument : defaults) arguments.push_back(argument.data());
    for (int i = 1; i < argc; ++i) {
        std::string const argument = argv[i];
        if (argument.rfind(kRatiosOption, 0) == 0) {
            ratiosFile = argument.substr(kRatiosOption.size());
        } else {
            arguments.push_back(argv[i]);
        }
    }
    int count = static_cast<int>(arguments.size());

    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
    RatioTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    if (!ratiosFile.empty() && !(std::ofstream(ratiosFile) << table.json() << std::flush)) {
        std::fprintf(stderr, "%s cannot be written\n", ratiosFile.c_str());
        return 1;
    }
    return table.failed() ? 1 : 0;
}
