#pragma once

/// Checks that all forms with progress keep the promises of `sinew::Progress`.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/core/progress.h>

namespace test {

/// Thrown by the function of the host.
struct Stop
{
};

/// A function of a host that records the fractions and ends the call at one of them.
struct Host
{
    static constexpr std::size_t kNever = ~std::size_t{0};

    std::size_t endAt = kNever;
    bool throws = false;
    std::vector<double> fractions;

    bool operator()(double fraction)
    {
        fractions.push_back(fraction);
        if (fractions.size() - 1 != endAt) return true;
        if (throws) throw Stop();
        return false;
    }
};

/// That the fractions are those of a call that finished.
inline void expectFinished(std::vector<double> const& fractions)
{
    ASSERT_FALSE(fractions.empty());
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_GE(fractions.front(), 0.0); // false for NaN, as every comparison of sorted numbers with it
    EXPECT_EQ(fractions.back(), 1.0);
    EXPECT_EQ(std::count(fractions.begin(), fractions.end(), 1.0), 1);
    for (double f : fractions) EXPECT_TRUE(f == f);
}

/// Compares a form with progress with the form without, and ends it at many of its fractions.
///
/// @param make     returns a new state with the outputs
/// @param plain    plain(state) runs the form without progress
/// @param form     form(state, progress) runs the form with it, and returns whether it finished
/// @param digest   digest(state) is a string of all outputs
/// @param fewest   the number of fractions that the call must tell at least, if the host asks for all of them
template <typename Make, typename Plain, typename Form, typename Digest>
void checkProgress(Make const& make, Plain const& plain, Form const& form, Digest const& digest, std::size_t fewest)
{
    auto expected = make();
    std::string const before = digest(expected);
    plain(expected);

    Host host;
    auto finished = make();
    ASSERT_TRUE(form(finished, sinew::Progress(host, 0.0)));
    EXPECT_TRUE(digest(finished) == digest(expected)) << "progress changes the result";
    expectFinished(host.fractions);
    EXPECT_GE(host.fractions.size(), fewest);

    std::size_t const count = host.fractions.size();
    std::size_t const step = std::max<std::size_t>(1, count / 12);
    for (bool const throws : {false, true}) {
        for (std::size_t k = 0; k < count; k = k + 1 == count ? count : std::min(k + step, count - 1)) {
            SCOPED_TRACE(testing::Message() << "ended at call " << k << " of " << count);
            Host ends{k, throws, {}};
            auto state = make();
            if (throws) {
                EXPECT_THROW(form(state, sinew::Progress(ends, 0.0)), Stop);
            } else {
                EXPECT_FALSE(form(state, sinew::Progress(ends, 0.0)));
            }
            EXPECT_TRUE(digest(state) == before) << "an output has changed";
            EXPECT_EQ(ends.fractions.size(), k + 1) << "no call follows the one that ends";
            EXPECT_TRUE(std::equal(ends.fractions.begin(), ends.fractions.end(), host.fractions.begin()));
            EXPECT_TRUE(form(state, sinew::Progress(Host()))) << "the call can be repeated";
            EXPECT_TRUE(digest(state) == digest(expected));
            if (testing::Test::HasFailure()) return;
        }
    }
}

/// That a call of some length tells its progress as often as the interval of 5 ms allows, not more often and not just
/// twice. `form(progress)` takes at least a tenth of a second on every machine.
template <typename Form>
void expectSaneNumberOfCalls(Form const& form)
{
    Host host;
    auto const begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(form(sinew::Progress(host)));
    std::chrono::duration<double> const seconds = std::chrono::steady_clock::now() - begin;
    expectFinished(host.fractions);
    EXPECT_LE(static_cast<double>(host.fractions.size()), seconds.count() / sinew::Progress::kDefaultInterval + 1);
    EXPECT_GT(host.fractions.size(), 3u) << seconds.count() << " s";
}

} // namespace test
