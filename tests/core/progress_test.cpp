#include <sinew/core/progress.h>

#include <limits>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/core/detail/progress_meter.h>

using sinew::Progress;

namespace {

std::vector<double> toldToPlainFunction;

bool plainFunction(double fraction)
{
    toldToPlainFunction.push_back(fraction);
    return true;
}

struct Unrelated
{
};

} // namespace

TEST(Progress, TakesAnyFunctionThatAnswers)
{
    double told = -1;
    auto const lambda = [&](double fraction) {
        told = fraction;
        return fraction < 0.5;
    };
    Progress const progress(lambda);
    EXPECT_TRUE(progress(0.25));
    EXPECT_EQ(told, 0.25);
    EXPECT_FALSE(progress(0.5)) << "the answer comes back";

    int calls = 0;
    auto counting = [&calls, n = 0](double) mutable {
        calls = ++n;
        return true;
    };
    Progress const changing(counting);
    changing(0.0);
    changing(0.0);
    EXPECT_EQ(calls, 2) << "the function itself is called, not a copy";

    bool (*const pointer)(double) = &plainFunction;
    EXPECT_TRUE(Progress(pointer)(0.75));
    EXPECT_EQ(toldToPlainFunction, std::vector<double>{0.75});

    static_assert(std::is_convertible_v<decltype(lambda), Progress>);
    static_assert(!std::is_constructible_v<Progress, Unrelated>);
    static_assert(!std::is_constructible_v<Progress, void (*)(double)>, "a function without an answer");
    static_assert(std::is_trivially_copyable_v<Progress>);
    static_assert(std::is_nothrow_constructible_v<Progress, decltype(lambda)&>);
}

TEST(Progress, TellsOnlyFractions)
{
    double told = -1;
    auto const function = [&](double fraction) {
        told = fraction;
        return true;
    };
    Progress const progress(function);
    constexpr double kInf = std::numeric_limits<double>::infinity();
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    double const input[] = {-kInf, -1, -0.0, 0, 0.3, 1, 1.5, kInf, kNaN};
    double const expected[] = {0, 0, 0, 0, 0.3, 1, 1, 1, 0};
    for (int i = 0; i < 9; ++i) {
        progress(input[i]);
        EXPECT_EQ(told, expected[i]) << input[i];
    }
}

TEST(Progress, PartsCoverTheirRangeAndNothingElse)
{
    double told = -1;
    auto const function = [&](double fraction) {
        told = fraction;
        return true;
    };
    Progress const progress(function, 0.25);
    auto const at = [&](Progress const& p, double fraction) {
        p(fraction);
        return told;
    };
    Progress const half = progress.part(0.5, 1.0);
    EXPECT_EQ(half.interval(), 0.25);
    EXPECT_EQ(at(half, 0.0), 0.5);
    EXPECT_EQ(at(half, 0.5), 0.75);
    EXPECT_EQ(at(half, 1.0), 1.0);
    Progress const quarter = half.part(0.0, 0.5);
    EXPECT_EQ(at(quarter, 0.0), 0.5);
    EXPECT_EQ(at(quarter, 1.0), 0.75);
    EXPECT_EQ(at(progress.part(0.7, 0.2), 1.0), 0.7) << "never falls";
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(at(progress.part(kNaN, 2.0), 0.0), 0.0);
    EXPECT_EQ(at(progress.part(kNaN, 2.0), 1.0), 1.0);
    for (int n = 1; n < 200; ++n) { // neighbouring parts meet, whatever the rounding
        double last = 0;
        for (int i = 0; i < n; ++i) {
            Progress const part = progress.part(i / static_cast<double>(n), (i + 1) / static_cast<double>(n));
            for (double f : {0.0, 0.1, 0.999999999999999889, 1.0}) {
                EXPECT_GE(at(part, f), last);
                last = told;
            }
        }
        EXPECT_EQ(last, 1.0);
    }
}

namespace {

// A function that records what it is told, without any limit of time, and answers no from a fraction on.
struct Recorder
{
    double noFrom = 2;
    std::vector<double> told;

    bool operator()(double fraction)
    {
        told.push_back(fraction);
        return fraction < noFrom;
    }
};

} // namespace

TEST(ProgressMeter, MapsStepsAndPhasesToTheWholeCall)
{
    Recorder host;
    sinew::detail::ProgressMeter meter(Progress(host, 0.0));
    meter.reached(0.125);
    meter.beginStep(0.5, 1.0);
    meter.beginPhase(0.0, 0.5);
    meter.reached(0.5);
    meter.beginPhase(0.5, 1.0);
    meter.reached(0.5);
    EXPECT_EQ(meter.reported(), 0.875);
    meter.finish();
    EXPECT_EQ(host.told, (std::vector<double>{0.125, 0.5, 0.625, 0.75, 0.875, 1.0}));
}

TEST(ProgressMeter, NeverFallsAndTellsOneOnlyAtTheEnd)
{
    Recorder host;
    sinew::detail::ProgressMeter meter(Progress(host, 0.0));
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    for (double const fraction : {kNaN, 0.5, 0.25, kNaN, -1.0, 1.0, 7.0}) meter.reached(fraction);
    double const last = 1 - 0x1p-53;
    EXPECT_EQ(host.told, (std::vector<double>{0.0, 0.5, 0.5, 0.5, 0.5, last, last}));
    meter.finish();
    EXPECT_EQ(host.told.back(), 1.0);
}

TEST(ProgressMeter, WaitsForTheInterval)
{
    Recorder host;
    sinew::detail::ProgressMeter meter(Progress(host, 1e9));
    for (int i = 0; i < 1000; ++i) meter.reached(i / 1000.0);
    EXPECT_TRUE(host.told.empty());
    meter.finish();
    EXPECT_EQ(host.told, std::vector<double>{1.0});
    for (double const none : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        Recorder always;
        sinew::detail::ProgressMeter unlimited(Progress(always, none));
        for (int i = 0; i < 10; ++i) unlimited.reached(0.5);
        EXPECT_EQ(always.told.size(), 10U);
    }
}

TEST(ProgressMeter, EndsTheWorkWhereTheHostAnswersNo)
{
    for (double const noFrom : {0.0, 0.5, 1.0, 2.0}) {
        Recorder host{noFrom, {}};
        double done = -1;
        auto const result = sinew::detail::withProgress(Progress(host, 0.0), [&](sinew::detail::ProgressMeter& meter) {
            for (double const fraction : {0.0, 0.25, 0.5, 0.75}) {
                meter.reached(fraction);
                done = fraction;
            }
            meter.finish();
            done = 1;
            return 42;
        });
        EXPECT_EQ(result.has_value(), noFrom > 1);
        if (noFrom > 1) {
            EXPECT_EQ(*result, 42);
        }
        EXPECT_EQ(done, noFrom == 0 ? -1 : noFrom == 0.5 ? 0.25 : noFrom == 1 ? 0.75 : 1);
    }
}
