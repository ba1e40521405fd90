#include <tool/support/progress.h>

#include <algorithm>
#include <cstdio>

#include <tool/support/as_index.h>

namespace tool {
namespace {

constexpr int kBarWidth = 24;
constexpr std::chrono::milliseconds kRedrawEvery(100);
char const* const kEraseLine = "\r\033[K";

} // namespace

void Progress::begin(std::string const& step)
{
    if (!step_.empty()) end();
    step_ = step;
    started_ = drawn_ = Clock::now();
    if (terminal_) out_ << kEraseLine << "  " << step_ << std::flush;
}

void Progress::update(double fraction)
{
    Clock::time_point const now = Clock::now();
    if (!terminal_ || now - drawn_ < kRedrawEvery) return;
    drawn_ = now;
    int const filled = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * kBarWidth);
    out_ << kEraseLine << "  " << step_ << "  [" << std::string(asIndex(filled), '=')
         << std::string(asIndex(kBarWidth - filled), ' ') << "]" << std::flush;
}

void Progress::end(std::string const& remark)
{
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%6.2f s", std::chrono::duration<double>(Clock::now() - started_).count());
    if (terminal_) out_ << kEraseLine;
    out_ << "  " << seconds << "  " << step_ << (remark.empty() ? "" : ": " + remark) << std::endl;
    step_.clear();
}

} // namespace tool
