#pragma once

/// Results of mesh functions that are computed apart from the arrays of the host, and copied at the end.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <sinew/detail/element_count.h>
#include <sinew/framework/vect2.h>

namespace sinew::detail {

/// The output arrays of a host; each may be null.
struct ValueArrays
{
    tzNM::vect2<double>* values;
    float* scalars;
    bool* found;

    bool hasAny() const { return values || scalars || found; }
};

/// Arrays for those results that the host wants.
class OwnValueArrays
{
public:
    OwnValueArrays(ValueArrays const& wanted, std::int64_t count)
        : values_(wanted.values ? elementCount<tzNM::vect2<double>>(count) : 0),
          scalars_(wanted.scalars ? elementCount<float>(count) : 0),
          found_(wanted.hasAny() ? std::make_unique<bool[]>(elementCount<bool>(count)) : nullptr), wanted_(wanted)
    {
    }

    /// Null where the host's array is null, except `found`, which says where the others are written.
    ValueArrays arrays()
    {
        return {wanted_.values ? values_.data() : nullptr, wanted_.scalars ? scalars_.data() : nullptr, found_.get()};
    }

    /// Copies `count` results from index `from` on to the arrays of the host from index `to` on. Values and scalars are
    /// left unwritten where there is none.
    void copy(std::size_t from, std::size_t to, std::size_t count) const
    {
        if (!wanted_.hasAny()) return;
        for (std::size_t i = 0; i < count; ++i) {
            bool const isFound = found_[from + i];
            if (wanted_.found) wanted_.found[to + i] = isFound;
            if (wanted_.values && isFound) wanted_.values[to + i] = values_[from + i];
            if (wanted_.scalars && isFound) wanted_.scalars[to + i] = scalars_[from + i];
        }
    }

private:
    std::vector<tzNM::vect2<double>> values_;
    std::vector<float> scalars_;
    std::unique_ptr<bool[]> found_;
    ValueArrays wanted_;
};

} // namespace sinew::detail
