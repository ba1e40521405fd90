// The state of the process that belongs to the host: no operation of the library changes it. The operations are those
// of the fingerprints, which are all public ones.

#include <cerrno>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <locale>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <selftest/group.h>

#if defined(__x86_64__) || defined(_M_X64)
#include <xmmintrin.h>
#endif

namespace {

namespace fs = std::filesystem;
using selftest::Group;

struct Module
{
    char const* name;
    std::vector<Group> (*groups)();
};

Module const kModules[] = {
    {"framework", selftest::frameworkGroups}, {"core", selftest::coreGroups},
    {"queries", selftest::queriesGroups},     {"fields", selftest::fieldsGroups},
    {"skinning", selftest::skinningGroups},   {"meshfunc", selftest::meshfuncGroups},
    {"sparse", selftest::sparseGroups},
};

// How the processor computes: rounding, flushing to zero, which exceptions trap. Without the flags of exceptions that
// have occurred.
std::uint64_t controlBits()
{
    std::uint64_t bits = static_cast<std::uint64_t>(std::fegetround());
#if defined(__x86_64__) || defined(_M_X64)
    bits |= static_cast<std::uint64_t>(_mm_getcsr() & ~0x3Fu) << 32;
#endif
#if defined(__x86_64__) && defined(__GNUC__)
    std::uint16_t x87 = 0;
    __asm__("fnstcw %0" : "=m"(x87));
    bits |= static_cast<std::uint64_t>(x87) << 16;
#endif
    return bits;
}

// The number of entries of a folder that describes this process; 0 on other systems than Linux. (Wine shows such
// folders too, but their entries belong to Wine.)
std::size_t entriesOf([[maybe_unused]] char const* folder)
{
    std::size_t count = 0;
#if defined(__linux__)
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) ++count;
#endif
    return count;
}

// The signals that are blocked, and those that have a handler.
std::string signals()
{
    std::string text;
#if defined(__linux__)
    sigset_t blocked;
    sigemptyset(&blocked);
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    for (int s = 1; s < 32; ++s) {
        struct sigaction action = {};
        sigaction(s, nullptr, &action);
        text += sigismember(&blocked, s) ? 'b' : '-';
        text += action.sa_handler == SIG_DFL ? 'd' : action.sa_handler == SIG_IGN ? 'i' : 'h';
    }
#endif
    return text;
}

struct HostState
{
    std::uint64_t control = controlBits();
    std::string cLocale = std::setlocale(LC_ALL, nullptr);
    std::locale locale;
    std::string signalState = signals();
    std::size_t descriptors = entriesOf("/proc/self/fd");
    std::size_t threads = entriesOf("/proc/self/task");
    fs::path folder = fs::current_path();
};

void expectSame(HostState const& before, HostState const& after)
{
    EXPECT_EQ(before.control, after.control) << "rounding mode or traps";
    EXPECT_EQ(before.cLocale, after.cLocale);
    EXPECT_TRUE(before.locale == after.locale) << "global locale";
    EXPECT_EQ(before.signalState, after.signalState);
    EXPECT_EQ(before.descriptors, after.descriptors) << "open files";
    EXPECT_EQ(before.threads, after.threads);
    EXPECT_EQ(before.folder, after.folder);
}

class HostStateOf : public testing::TestWithParam<Module>
{
};

// In the list of tests; without it, GoogleTest prints the addresses in the struct.
[[maybe_unused]] void PrintTo(Module const& module, std::ostream* out)
{
    *out << module.name;
}

std::string nameOf(testing::TestParamInfo<Module> const& info)
{
    return info.param.name;
}

// Another rounding mode while it exists, then the default one.
struct [[maybe_unused]] Rounding
{
    explicit Rounding(int mode) { std::fesetround(mode); }
    ~Rounding() { std::fesetround(FE_TONEAREST); }
};

} // namespace

// Flags of exceptions may be raised, and are never cleared. The C library may set errno where a sine or a power has no
// value; nothing else sets it.
TEST_P(HostStateOf, StaysAsItWas)
{
    int const mark = 4242;
    for (Group const& group : GetParam().groups()) {
        SCOPED_TRACE(std::string(group.name));
        HostState const before;
        std::feraiseexcept(FE_ALL_EXCEPT);
        errno = mark;
        selftest::run(group);
        int const error = errno;
        EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), FE_ALL_EXCEPT);
        if (group.math == selftest::MathLibrary::unused) {
            EXPECT_EQ(error, mark);
        }
        expectSame(before, HostState());
    }
    std::feclearexcept(FE_ALL_EXCEPT);
}

#if defined(FE_UPWARD) && defined(FE_DOWNWARD) && defined(FE_TOWARDZERO) // a platform may have no other modes

// Other roundings than to the nearest number give other bits. They neither crash nor hang. Each module meets every
// mode, each operation one of them; with SINEW_TEST_ROUNDINGS=all, every operation meets all.
TEST_P(HostStateOf, OtherRoundingModesAreSurvivedAndKept)
{
    int const modes[] = {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};
    char const* const wanted = std::getenv("SINEW_TEST_ROUNDINGS");
    bool const all = wanted && std::string(wanted) == "all";
    std::vector<Group> const groups = GetParam().groups();
    for (std::size_t i = 0; i < groups.size(); ++i) {
        SCOPED_TRACE(std::string(groups[i].name));
        for (std::size_t m = 0; m < 3; ++m) {
            if (!all && m != i % 3) continue;
            Rounding const rounding(modes[m]);
            selftest::run(groups[i]);
            EXPECT_EQ(std::fegetround(), modes[m]);
        }
    }
}

#endif

INSTANTIATE_TEST_SUITE_P(Modules, HostStateOf, testing::ValuesIn(kModules), nameOf);

// The comparison itself: what it must notice.
TEST(HostState, ChangesAreNoticed)
{
    HostState const before;
#if defined(FE_UPWARD)
    {
        Rounding const rounding(FE_UPWARD);
        EXPECT_NE(HostState().control, before.control);
    }
    EXPECT_EQ(HostState().control, before.control);
#endif
    std::locale const changed(std::locale::classic(), new std::numpunct<char>);
    std::locale const global = std::locale::global(changed);
    EXPECT_FALSE(HostState().locale == before.locale);
    std::locale::global(global);
#if defined(__linux__)
    EXPECT_GT(before.descriptors, 2u);
    EXPECT_GE(before.threads, 1u);
    auto const handler = std::signal(SIGUSR1, [](int) {});
    EXPECT_NE(HostState().signalState, before.signalState);
    std::signal(SIGUSR1, handler);
#endif
}
