#include <sinew/sparse/detail/entry_slots.h>

#include <cassert>
#include <limits>

namespace sinew::detail {

namespace {

template <typename Visit>
void forEachOffDiagonal(SparseRows const& rows, Visit visit)
{
    std::size_t entry = 0;
    for (auto const& row : rows) {
        for (std::size_t k = 0; k + 1 < row.size(); ++k) visit(entry++, row[k].second);
    }
}

} // namespace

void EntrySlots::load(SparseRows const& rows, double* values) const
{
    assert(offDiagonalCount(rows) == slot.size());
    if (!hasRepeats) {
        forEachOffDiagonal(rows, [&](std::size_t entry, double v) { values[slot[entry]] = v; });
        return;
    }
    for (std::int64_t at : slot) values[at] = -std::numeric_limits<double>::infinity();
    forEachOffDiagonal(rows, [&](std::size_t entry, double v) {
        double& greatest = values[slot[entry]];
        bool const isNaN = greatest != greatest;
        if (!isNaN && !(v < greatest)) greatest = v; // a NaN v is not below the greatest value and replaces it
    });
}

} // namespace sinew::detail
