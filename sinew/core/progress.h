#pragma once

/// Progress and cancelling. Calls that can take longer than a tenth of a second have a form with a `sinew::Progress` as
/// the last argument: a function of the host that receives the fraction done, and returns whether to go on.
///
///     auto const report = [&](double fraction) {
///         bar.show(fraction);
///         return !bar.isCancelled();
///     };
///     std::optional<LLTMatrix> const factor = sinew::factor(matrix, report);
///     if (!factor) return; // cancelled

#include <memory>
#include <type_traits>

#include <sinew/arithmetic.h>

namespace sinew {

/// A function of the host that a long call tells its progress, and that answers whether to go on.
///
/// **The function** is called with a fraction in [0, 1], never NaN, and returns true to go on and false to cancel. The
/// fractions of one call never fall. The last one of a call that finishes is 1; it is reported once, after all work and
/// before the first output is written. The fraction is an estimate of the part of the work that is done; it need not
/// grow evenly with time.
///
/// **Results.** A form with progress gives the bits of the form without. It returns `std::optional` of what the form
/// without returns, empty if the function has answered false; where that is nothing, it returns whether it finished.
/// `makeX` is the constructor of the class X.
///
/// **Cancelling** leaves all outputs as they were, also if the function answers false to the fraction 1. If the
/// function throws, the exception reaches the caller of the form, with the same guarantee; std::bad_alloc from the form
/// itself has it, too. For this purpose, a form with progress computes its results in memory of its own and copies them
/// at the end, which takes as much more memory as the outputs have.
///
/// **How often.** At most once in an interval, 5 ms unless stated, except for the fraction 1. Calls that end sooner
/// tell only that. Between two fractions, a call can take longer than the interval where it allocates or sorts. All
/// calls come on the thread of the caller, while nothing is locked; the function may use the library, but must not
/// change the arguments of the call.
///
/// **Lifetime.** The object refers to the function and does not copy it, so that it never allocates and copies are
/// cheap. The function must outlive it. A lambda written as the argument of a call does so; a lambda that initialises a
/// named `Progress` does not, so name the lambda instead.
///
/// The forms without progress contain no additional work.
class Progress
{
public:
    /// The shortest time between two calls of the function, if the host states none.
    static constexpr double kDefaultInterval = 0.005;

    /// @param function  any object that can be called with a double and returns a bool; for a plain function its
    ///                  address. A null pointer to a function is not allowed; an empty std::function throws
    ///                  std::bad_function_call.
    /// @param interval  the shortest time in seconds between two calls of it. If it is 0, negative or NaN, there is no
    ///                  limit: some calls of the library then tell thousands of fractions.
    template <typename Function,
              typename = std::enable_if_t<std::is_object_v<std::remove_reference_t<Function>> &&
                                          std::is_invocable_r_v<bool, std::remove_reference_t<Function>&, double> &&
                                          !std::is_same_v<std::decay_t<Function>, Progress>>>
    Progress(Function&& function, double interval = kDefaultInterval) noexcept
        : call_([](void* object, double fraction) -> bool {
              return (*static_cast<std::remove_reference_t<Function>*>(object))(fraction);
          }),
          function_(const_cast<void*>(static_cast<void const*>(std::addressof(function)))), interval_(interval)
    {
    }

    /// The shortest time between two calls of the function, in seconds.
    double interval() const { return interval_; }

    /// The progress of one of several calls that together are one job of the host: a fraction f of that call is
    /// reported as begin + f * (end - begin), and as exactly `end` where f is 1. Both are clamped to [0, 1], NaN to 0,
    /// and `end` to at least `begin`. Parts of parts are allowed.
    Progress part(double begin, double end) const
    {
        Progress result = *this;
        result.begin_ = inPart(clamped(begin));
        result.end_ = inPart(clamped(end));
        if (result.end_ < result.begin_) result.end_ = result.begin_;
        return result;
    }

    /// Tells the function a fraction, clamped to [0, 1], NaN to 0, without any limit of time; returns its answer. For
    /// work that the host does itself between calls of the library.
    bool operator()(double fraction) const { return call_(function_, inPart(clamped(fraction))); }

private:
    static double clamped(double fraction) { return !(fraction > 0) ? 0.0 : fraction < 1 ? fraction : 1.0; }

    // Rounding must not carry a fraction beyond the end, since the next part begins there.
    double inPart(double fraction) const
    {
        double const result = begin_ + fraction * (end_ - begin_);
        return fraction < 1 && result < end_ ? result : end_;
    }

    bool (*call_)(void* object, double fraction);
    void* function_;
    double interval_;
    double begin_ = 0.0;
    double end_ = 1.0;
};

} // namespace sinew
