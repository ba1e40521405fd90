#pragma once

/// What is being done and how far it is. On a terminal one line that is redrawn; elsewhere (a log, a pipe) one plain
/// line for each finished step, so that logs stay readable.

#include <chrono>
#include <ostream>
#include <string>

namespace tool {

class Progress
{
public:
    /// @param terminal  whether `out` can redraw a line.
    Progress(std::ostream& out, bool terminal) : out_(out), terminal_(terminal) {}

    /// Starts a step and ends the one before it.
    void begin(std::string const& step);

    /// How much of the step is done, in [0, 1]. Cheap enough for an inner loop: it draws at most 10 times a second.
    void update(double fraction);

    /// Ends the step with its time and, if given, a remark.
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
