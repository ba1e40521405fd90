#pragma once

/// Tries a call with every allocation failing in turn. Link support/failing_new.cpp.

#include <memory>
#include <new>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "support/failing_new.h"

namespace faults {

/// What a call promises if an allocation fails.
enum class Guarantee
{
    strong, ///< Nothing has changed.
    basic   ///< Objects can be used and destroyed, but what they hold may have changed.
};

/// One attempt with a failing allocation.
template <typename Make, typename Act, typename Digest>
class Attempt
{
public:
    Attempt(Make const& make, Act const& act, Digest const& digest) : make_(make), act_(act), digest_(digest)
    {
        auto const state = make();
        before_ = digest(*state);
        act(*state);
        after_ = digest(*state);
    }

    /// Runs the call with allocation `k` failing. Returns whether there was such an allocation.
    bool run(Guarantee guarantee, test::Failing failing, long k) const
    {
        auto const state = make_();
        bool completed = false;
        bool failed = false;
        {
            test::FailingNew const faults(k, failing);
            try {
                act_(*state);
                completed = true;
            } catch (std::bad_alloc const&) {
            }
            failed = faults.hasFailed();
        }
        if (!completed) {
            EXPECT_TRUE(failed) << "std::bad_alloc without a failed allocation";
            std::string const now = digest_(*state); // the state can be used, whatever it holds
            if (guarantee == Guarantee::strong) {
                EXPECT_TRUE(now == before_) << "the failed call has changed something";
            }
            act_(*state);
        }
        EXPECT_TRUE(digest_(*state) == after_) << "the call gives other bits after a failure";
        return failed;
    }

private:
    Make const& make_;
    Act const& act_;
    Digest const& digest_;
    std::string before_;
    std::string after_;
};

/// Runs `act(*make())` with its first, second, ... allocation failing until none does: first with one failure, then
/// with all later allocations failing as well.
///
/// After a failure `digest(state)`, a string of all that can be observed, must be as the guarantee promises. The call
/// is then repeated, and must give the same digest as without a failure. Whatever was allocated must have been released
/// in the end. A call may also complete in spite of a failure, with the same digest.
template <typename Make, typename Act, typename Digest>
void sweep(Guarantee guarantee, Make const& make, Act const& act, Digest const& digest)
{
    Attempt<Make, Act, Digest> const attempt(make, act, digest);
    long most = 0;
    for (test::Failing const failing : {test::Failing::onlyNext, test::Failing::all}) {
        for (long k = 0;; ++k) {
            long long const live = test::liveAllocations();
            bool const failed = attempt.run(guarantee, failing, k);
            long long const left = test::liveAllocations() - live;
            EXPECT_EQ(left, 0) << "allocations not released";
            if (left != 0 || testing::Test::HasFailure()) {
                ADD_FAILURE() << "with allocation " << k << (failing == test::Failing::all ? " and all later ones" : "")
                              << " failing";
                return;
            }
            if (!failed) break;
            most = k + 1;
        }
    }
    EXPECT_GT(most, 0) << "the call allocates nothing";
}

/// The call `compute()` that returns an object, whose digest is `digestOf(object)`.
template <typename Compute, typename DigestOf>
void sweepResult(Compute const& compute, DigestOf const& digestOf)
{
    struct State
    {
        std::optional<decltype(compute())> value;
    };
    sweep(
        Guarantee::strong, [] { return std::make_unique<State>(); }, [&](State& s) { s.value.emplace(compute()); },
        [&](State& s) { return s.value ? digestOf(*s.value) : std::string("none"); });
}

/// Copy construction and copy assignment of `T`: onto an object that holds less, one that holds more, and itself.
template <typename T, typename Small, typename Large, typename Digest>
void sweepCopies(Small const& makeSmall, Large const& makeLarge, Digest const& digestOf)
{
    struct State
    {
        T target;
        T source;
        std::unique_ptr<T> copy;
    };
    auto const digest = [&](State& s) {
        return digestOf(s.target) + digestOf(s.source) + (s.copy ? digestOf(*s.copy) : std::string("none"));
    };
    auto const smallFromLarge = [&] { return std::unique_ptr<State>(new State{makeSmall(), makeLarge(), nullptr}); };
    auto const largeFromSmall = [&] { return std::unique_ptr<State>(new State{makeLarge(), makeSmall(), nullptr}); };
    {
        SCOPED_TRACE("copy construction");
        sweep(
            Guarantee::strong, smallFromLarge, [](State& s) { s.copy = std::make_unique<T>(s.source); }, digest);
    }
    {
        SCOPED_TRACE("assignment to a smaller object");
        sweep(
            Guarantee::strong, smallFromLarge, [](State& s) { s.target = s.source; }, digest);
    }
    {
        SCOPED_TRACE("assignment to a larger object");
        sweep(
            Guarantee::strong, largeFromSmall, [](State& s) { s.target = s.source; }, digest);
    }
    {
        SCOPED_TRACE("self-assignment");
        auto const state = smallFromLarge();
        std::string const before = digest(*state);
        T const& self = state->target;
        state->target = self;
        EXPECT_TRUE(digest(*state) == before);
    }
}

/// Runs a call while every allocation fails: it allocates nothing, or completes without what it would allocate.
template <typename Act>
void expectNoAllocation(Act const& act)
{
    long long const before = test::allocationCount();
    {
        test::FailingNew const faults(0);
        EXPECT_NO_THROW(act());
    }
    EXPECT_EQ(test::allocationCount(), before) << "the call allocates";
}

} // namespace faults
