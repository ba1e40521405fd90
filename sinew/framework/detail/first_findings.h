#pragma once

/// Collects the findings of a refusal that has at most one of each kind. Not installed.

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <sinew/framework/findings.h>

namespace sinew::detail {

/// The first finding of each kind, and the number of others of this kind.
template <typename Kind>
class FirstFindings
{
public:
    void add(Kind kind, std::initializer_list<std::int64_t> indices, double value = 0.0)
    {
        for (Open& open : open_) {
            if (open.finding.kind != kind) continue;
            ++open.count;
            return;
        }
        Open open = {{}, 1};
        open.finding.kind = kind;
        open.finding.indices = indices;
        open.finding.value = value;
        open_.push_back(std::move(open));
    }

    bool isEmpty() const { return open_.empty(); }

    /// The findings in the order of the kinds, with their sentences. Afterwards the object is not used.
    ///
    /// @param statement  statement(finding) returns the sentence without its end
    template <typename Statement>
    std::vector<Finding<Kind>> take(Statement const& statement)
    {
        std::sort(open_.begin(), open_.end(),
                  [](Open const& a, Open const& b) { return a.finding.kind < b.finding.kind; });
        std::vector<Finding<Kind>> result;
        for (Open& open : open_) {
            open.finding.sentence = statement(open.finding);
            if (open.count == 2) open.finding.sentence += "; 1 other has the same fault";
            if (open.count > 2) {
                open.finding.sentence += "; " + std::to_string(open.count - 1) + " others have the same fault";
            }
            open.finding.sentence += '.';
            result.push_back(std::move(open.finding));
        }
        return result;
    }

private:
    struct Open
    {
        Finding<Kind> finding;
        std::int64_t count;
    };
    std::vector<Open> open_;
};

/// A number of elements as an index of a finding; at most 2^63 - 1.
inline std::int64_t shownCount(std::uint64_t count)
{
    constexpr std::uint64_t kGreatest = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::min(count, kGreatest));
}

} // namespace sinew::detail
