// Random operations on all classes that own something: sinew_endurance [count] [seed].
//
// The operations come in sessions. Each session makes its objects, runs its operations and destroys the objects; then
// nothing may be left allocated. It runs twice, and both runs must give the same bits. In one operation of a few dozen
// an allocation fails.

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include "endurance/subject.h"
#include "support/failing_new.h"

namespace {

using endurance::Hash;
using endurance::Subject;
using test::Random;

constexpr long long kOperations = 10000000;
constexpr long long kOperationsPerSession = 100000;
constexpr int kFaultEvery = 40;
constexpr int kMostAllowed = 30;

struct Subjects
{
    // Cheap operations come more often: each kind has this many of the shares.
    struct Kind
    {
        std::unique_ptr<Subject> subject;
        int share;
    };
    std::vector<Kind> kinds;
    int shares = 0;

    Subjects()
    {
        add(endurance::makeHandles(), 40);
        add(endurance::makeRegistries(), 15);
        add(endurance::makeDocuments(), 2);
        add(endurance::makeGeometry(), 15);
        add(endurance::makePolylines(), 15);
        add(endurance::makeFunctions(), 8);
        add(endurance::makeSystems(), 5);
    }

    void add(std::unique_ptr<Subject> subject, int share)
    {
        kinds.push_back({std::move(subject), share});
        shares += share;
    }

    Subject& any(Random& random)
    {
        int left = random.below(shares);
        std::size_t k = 0;
        while (left >= kinds[k].share) left -= kinds[k++].share;
        return *kinds[k].subject;
    }
};

// One operation, of which an allocation may fail. Returns whether that ended it.
bool step(Subject& subject, Random& random, Hash& hash)
{
    bool const fault = random.oneIn(kFaultEvery);
    long const allowed = fault ? random.below(kMostAllowed) : -1;
    test::FailingNew const failing(allowed, random.oneIn(2) ? test::Failing::onlyNext : test::Failing::all);
    try {
        subject.step(random, hash);
        return false;
    } catch (std::bad_alloc const&) {
        if (!failing.hasFailed()) throw;
        return true;
    }
}

struct Result
{
    std::uint64_t hash;
    long long failures;
};

Result runSession(std::uint64_t seed, long long operations)
{
    Random random(seed);
    Hash hash;
    Result result = {};
    Subjects subjects;
    for (long long i = 0; i < operations; ++i) result.failures += step(subjects.any(random), random, hash) ? 1 : 0;
    result.hash = hash.value();
    return result;
}

int run(long long count, std::uint64_t seed)
{
    runSession(seed, 1000); // makes what the library keeps until the end of the process: its registries
    Hash all;
    long long failures = 0;
    for (long long done = 0; done < count; ++seed) {
        long long const operations = count - done < kOperationsPerSession ? count - done : kOperationsPerSession;
        long long const live = test::liveAllocations();
        Result const first = runSession(seed, operations);
        Result const second = runSession(seed, operations);
        long long const left = test::liveAllocations() - live;
        if (first.hash != second.hash || left != 0) {
            std::printf("seed %" PRIu64 ": hashes %016" PRIx64 " and %016" PRIx64 ", %lld allocations not released\n",
                        seed, first.hash, second.hash, left);
            return EXIT_FAILURE;
        }
        all.add(first.hash);
        failures += first.failures;
        done += operations;
    }
    std::printf("%lld operations, %lld of them ended by a failed allocation; twice the same hash, %016" PRIx64
                "; nothing left allocated\n",
                count, failures, all.value());
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    long long const count = argc > 1 ? std::strtoll(argv[1], nullptr, 10) : kOperations;
    std::uint64_t const seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    if (count <= 0) {
        std::fprintf(stderr, "usage: sinew_endurance [count] [seed]\n");
        return EXIT_FAILURE;
    }
    try {
        return run(count, seed);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "failed: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
