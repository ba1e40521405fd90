#pragma once

/// Tells a host the progress of one call. Not installed.
///
/// Functions that can take long have a pointer to a meter as a parameter; it is null if the host does not ask for
/// progress. The host's answer to cancel becomes an exception: it must leave everything unchanged, as an exception of
/// the host's function and std::bad_alloc must, so all three take the same way.

#include <chrono>
#include <optional>
#include <utility>

#include <sinew/core/progress.h>

namespace sinew::detail {

/// The host has cancelled. It never leaves the library.
struct Cancelled
{
};

/// The progress of one call, in phases.
class ProgressMeter
{
public:
    explicit ProgressMeter(Progress const& progress) : progress_(progress), last_(Clock::now()) {}
    ProgressMeter(ProgressMeter const&) = delete;
    ProgressMeter& operator=(ProgressMeter const&) = delete;

    /// The following phases are those of a step of the call, which reaches from the fraction `begin` of the whole call
    /// to the fraction `end`. Until then the step is the whole call.
    void beginStep(double begin, double end)
    {
        stepBegin_ = begin;
        stepEnd_ = end;
    }

    /// Begins a phase of the step, which reaches from the fraction `begin` of the step to the fraction `end`. Until
    /// then the phase is the whole step. Throws as `reached`.
    void beginPhase(double begin, double end)
    {
        begin_ = begin;
        end_ = end;
        reached(0.0);
    }

    /// The last fraction of the whole call that the host received.
    double reported() const { return reported_; }

    /// Tells the fraction of the current phase that is done, if the interval has passed. NaN counts as no progress.
    /// Takes about as long as reading the clock. Throws `Cancelled`, and what the host's function throws.
    void reached(double fraction)
    {
        std::chrono::duration<double> const elapsed = Clock::now() - last_;
        if (elapsed.count() < progress_.interval()) return;
        double const inStep = begin_ + fraction * (end_ - begin_);
        double const whole = stepBegin_ + inStep * (stepEnd_ - stepBegin_);
        if (whole > reported_) reported_ = whole < kLargest ? whole : kLargest;
        tell(reported_);
        last_ = Clock::now(); // the time that the host takes does not count
    }

    /// Tells that everything is done except writing the outputs, which must not throw. Throws as `reached`.
    void finish() { tell(1.0); }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr double kLargest = 1 - 0x1p-53; // 1 is for the end

    void tell(double fraction)
    {
        if (!progress_(fraction)) throw Cancelled();
    }

    Progress progress_;
    Clock::time_point last_;
    double stepBegin_ = 0.0;
    double stepEnd_ = 1.0;
    double begin_ = 0.0;
    double end_ = 1.0;
    double reported_ = 0.0;
};

/// The fraction `done` of `total`, for counts.
template <typename Count>
double fractionOf(Count done, Count total)
{
    return static_cast<double>(done) / static_cast<double>(total);
}

/// `ProgressMeter::beginPhase`, if there is a meter.
inline void beginPhase(ProgressMeter* meter, double begin, double end)
{
    if (meter) meter->beginPhase(begin, end);
}

/// Runs work(meter), which calls `finish` before it writes any output, and returns its result; nothing if the host has
/// cancelled.
template <typename Work>
auto withProgress(Progress const& progress, Work const& work)
    -> std::optional<decltype(work(std::declval<ProgressMeter&>()))>
{
    try {
        ProgressMeter meter(progress);
        return work(meter);
    } catch (Cancelled const&) {
        return std::nullopt;
    }
}

} // namespace sinew::detail
