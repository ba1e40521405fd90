#pragma once

/// The progress of a long command.

#include <chrono>
#include <ostream>
#include <string>

namespace tool {

/// Shows which step runs and how much of it is done. On a terminal it redraws one line. Elsewhere (a log, a pipe) it
/// prints one line for each finished step, so that logs stay readable.
class Progress
{
public:
    /// @param terminal  whether `out` can redraw a line.
    Progress(std::ostream& out, bool terminal) : out_(out), terminal_(terminal) {}

    /// Starts a step. If another one runs, ends it first.
    void begin(std::string const& step);

    /// Shows how much of the step is done.
    /// @param fraction  in [0, 1]; other values are clamped.
    /// Cheap enough for an inner loop: it draws at most 10 times a second.
    void update(double fraction);

    /// Ends the step: prints its time, its name and the remark.
    void end(std::string const& remark = "");

private:
    using Clock = std::chrono::steady_clock;

    std::ostream& out_;
    bool terminal_;
    std::string step_;
    Clock::time_point started_;
    Clock::time_point drawn_;
};

} // namespace tool
