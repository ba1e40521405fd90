#include <sinew/sparse/builders.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <sinew/core/detail/real_array.h>
#include <sinew/detail/as_index.h>
#include <sinew/detail/element_count.h>
#include <sinew/framework/detail/first_findings.h>
#include <sinew/framework/detail/number_text.h>

namespace sinew {

using detail::elementsOf;
using detail::integerAt;
using detail::numberAt;

namespace {

// Significant digits of a value in a sentence, enough to find it in a listing.
constexpr int kDigits = 6;

std::string entryText(std::vector<std::int64_t> const& indices)
{
    return "Entry " + std::to_string(indices[0]) + " (row " + std::to_string(indices[1]) + ", column " +
           std::to_string(indices[2]) + ")";
}

std::string segmentText(std::vector<std::int64_t> const& indices)
{
    return "Segment " + std::to_string(indices[0]);
}

// The sentence without its end.
std::string statement(Finding<EntryFault> const& finding)
{
    std::vector<std::int64_t> const& at = finding.indices;
    switch (finding.kind) {
    case EntryFault::sizeOutOfRange:
        return "The number of rows is " + std::to_string(at[0]) + ", which is " +
               (at[0] < 0 ? "negative" : "too large for an int");
    case EntryFault::notSquare:
        return "The matrix has " + std::to_string(at[0]) + " rows and " + std::to_string(at[1]) +
               " columns: it is not square";
    case EntryFault::shortArray:
        return "An array has " + std::to_string(at[1]) + " elements, and " + std::to_string(at[0]) + " are needed";
    case EntryFault::badSegment:
        return segmentText(at) + " begins at entry " + std::to_string(at[1]) + " and ends before entry " +
               std::to_string(at[2]) + ", which is not a range";
    case EntryFault::overlongSegment:
        return segmentText(at) + " ends before entry " + std::to_string(at[1]) + ", but the next one begins at entry " +
               std::to_string(at[2]);
    case EntryFault::rowOutOfRange:
        return entryText(at) + " has a row outside the matrix";
    case EntryFault::columnOutOfRange:
        return entryText(at) + " has a column outside the matrix";
    case EntryFault::notFinite:
        return entryText(at) + " has the value " + detail::numberText(finding.value, kDigits) + ", which is not finite";
    case EntryFault::asymmetric:
        return "The entry in row " + std::to_string(at[0]) + ", column " + std::to_string(at[1]) +
               " and its mirrored entry are not equal";
    case EntryFault::missingDiagonal:
        break;
    }
    return "Row " + std::to_string(at[0]) + " has no diagonal entry";
}

// Collects the reasons to refuse a matrix.
class Refusal : public detail::FirstFindings<EntryFault>
{
public:
    MatrixBuild take()
    {
        MatrixBuild result;
        result.findings = FirstFindings::take(statement);
        return result;
    }
};

// An entry, moved to the lower triangle. The sign bit of the column says whether the host gave it in the upper one, so
// that an entry takes 16 bytes.
struct Entry
{
    int row = 0;
    int signedColumn = 0;
    double value = 0.0;

    Entry() = default;
    Entry(int i, int j, double v) : row(std::max(i, j)), signedColumn(j > i ? ~i : j), value(v) {}

    bool isUpper() const { return signedColumn < 0; }
    int column() const { return isUpper() ? ~signedColumn : signedColumn; }
};

// Sorts by a key in [0, keyCount). Entries of equal keys stay in their order.
template <typename Key>
std::vector<Entry> sortedBy(std::vector<Entry> const& entries, std::size_t keyCount, Key key)
{
    std::vector<std::size_t> next(keyCount + 1, 0);
    for (Entry const& entry : entries) ++next[detail::asIndex(key(entry)) + 1];
    for (std::size_t k = 0; k < keyCount; ++k) next[k + 1] += next[k];
    std::vector<Entry> result(entries.size());
    for (Entry const& entry : entries) result[next[detail::asIndex(key(entry))]++] = entry;
    return result;
}

// The sum of the entries of one place, one by one in their order.
struct Sum
{
    double value = 0.0;
    bool isEmpty = true;

    void add(double v)
    {
        value = isEmpty ? v : value + v; // without a first sum 0 + v, which would change -0
        isEmpty = false;
    }
};

// Takes the entries of a host one by one, and makes the matrix of them.
class Assembly
{
public:
    Assembly(std::int64_t size, MirroredPairs mirrored) : size_(size), mirrored_(mirrored) {}

    Refusal& refusal() { return refusal_; }

    void reserve(std::uint64_t count) { entries_.reserve(detail::elementCount<Entry>(count)); }

    // @param position  of the entry in the arrays of the host
    void add(std::int64_t position, std::int64_t row, std::int64_t column, double value)
    {
        bool const rowFits = row >= 0 && row < size_;
        bool const columnFits = column >= 0 && column < size_;
        if (!rowFits) refusal_.add(EntryFault::rowOutOfRange, {position, row, column}, value);
        if (!columnFits) refusal_.add(EntryFault::columnOutOfRange, {position, row, column}, value);
        if (!std::isfinite(value)) refusal_.add(EntryFault::notFinite, {position, row, column}, value);
        if (!refusal_.isEmpty()) return;
        entries_.emplace_back(static_cast<int>(row), static_cast<int>(column), value);
    }

    MatrixBuild finish()
    {
        if (!refusal_.isEmpty()) return refusal_.take();
        std::size_t const n = detail::asIndex(size_);
        if (entries_.size() < n) return refuseMissingDiagonals();
        sortEntries(n);
        MatrixBuild result;
        result.matrix.rows.resize(n);
        auto next = entries_.cbegin();
        for (std::size_t i = 0; i < n; ++i) next = fillRow(static_cast<int>(i), next, result.matrix.rows[i]);
        return refusal_.isEmpty() ? std::move(result) : refusal_.take();
    }

private:
    using Iterator = std::vector<Entry>::const_iterator;
    using Row = std::vector<std::pair<int, double>>;

    static bool isBefore(Entry const& a, Entry const& b)
    {
        return a.row < b.row || (a.row == b.row && a.column() < b.column());
    }

    // With fewer entries than rows. Takes no memory for the rows, since a wrong size may be huge.
    MatrixBuild refuseMissingDiagonals()
    {
        std::stable_sort(entries_.begin(), entries_.end(), isBefore);
        Row row;
        auto next = entries_.cbegin();
        for (int i = 0; i < size_; ++i) {
            row.clear();
            next = fillRow(i, next, row);
        }
        return refusal_.take();
    }

    // Sorts by row, then by column. Entries of the same place stay in their order.
    void sortEntries(std::size_t n)
    {
        // Compressed arrays of one triangle are often sorted already.
        if (std::is_sorted(entries_.begin(), entries_.end(), isBefore)) return;
        entries_ = sortedBy(entries_, n, [](Entry const& entry) { return entry.column(); });
        entries_ = sortedBy(entries_, n, [](Entry const& entry) { return entry.row; });
    }

    // @param first  the first entry of row i
    // @return       the first entry of the next row
    Iterator fillRow(int i, Iterator first, Row& row)
    {
        Iterator const last = std::find_if(first, entries_.cend(), [i](Entry const& entry) { return entry.row != i; });
        std::size_t places = 0;
        for (Iterator e = first; e != last; ++e) places += e == first || e->column() != (e - 1)->column();
        row.reserve(places);
        while (first != last) {
            int const column = first->column();
            Sum lower, upper;
            for (; first != last && first->column() == column; ++first) {
                bool const isSeparate = mirrored_ != MirroredPairs::summed && first->isUpper();
                (isSeparate ? upper : lower).add(first->value);
            }
            if (mirrored_ == MirroredPairs::verified && column != i &&
                (lower.isEmpty || upper.isEmpty || lower.value != upper.value)) {
                refusal_.add(EntryFault::asymmetric, {i, column}, lower.value);
            }
            row.emplace_back(column, lower.isEmpty ? upper.value : lower.value);
        }
        if (row.empty() || row.back().first != i) refusal_.add(EntryFault::missingDiagonal, {i});
        return last;
    }

    std::int64_t size_;
    MirroredPairs mirrored_;
    Refusal refusal_;
    std::vector<Entry> entries_;
};

bool checkSize(std::int64_t size, Refusal& refusal)
{
    bool const fits = size >= 0 && size <= std::numeric_limits<int>::max();
    if (!fits) refusal.add(EntryFault::sizeOutOfRange, {size});
    return fits;
}

// The segments may need more elements than fit into memory where addresses have 32 bits.
template <typename Array>
void checkElements(Array const& array, std::uint64_t needed, Refusal& refusal)
{
    std::uint64_t const count = elementsOf(array);
    if (count < needed) refusal.add(EntryFault::shortArray, {detail::shownCount(needed), detail::shownCount(count)});
}

// The entries of one compressed row or column.
struct Segment
{
    std::int64_t begin;
    std::int64_t end;
};

// Arrays whose rows, or whose columns, are compressed. `size` is in the range of an int.
struct Compressed
{
    std::int64_t size;
    IntegerArray starts, indices;
    RealArray values;
    IntegerArray lengths;

    Segment segment(std::size_t s) const
    {
        std::int64_t const begin = integerAt(starts, s);
        if (elementsOf(lengths) == 0) return {begin, integerAt(starts, s + 1)};
        if (begin < 0) return {begin, begin};
        // A sum that would overflow ends at the greatest number, which is after the next start.
        return {begin, begin + std::min(integerAt(lengths, s), std::numeric_limits<std::int64_t>::max() - begin)};
    }

    // The number of entries of all segments. If one is malformed, or if an array is too short, it is refused.
    std::uint64_t checkSegments(Refusal& refusal) const
    {
        std::size_t const n = detail::asIndex(size);
        checkElements(starts, n > 0 ? n + 1 : 0, refusal);
        if (elementsOf(lengths) > 0) checkElements(lengths, n, refusal);
        if (!refusal.isEmpty()) return 0;
        std::uint64_t count = 0, end = 0;
        for (std::size_t s = 0; s < n; ++s) {
            Segment const range = segment(s);
            std::int64_t const next = integerAt(starts, s + 1);
            auto const position = static_cast<std::int64_t>(s);
            if (range.begin < 0 || range.end < range.begin) {
                refusal.add(EntryFault::badSegment, {position, range.begin, range.end});
            } else if (range.end > next) {
                refusal.add(EntryFault::overlongSegment, {position, range.end, next});
            } else if (range.end > range.begin) {
                count += static_cast<std::uint64_t>(range.end - range.begin);
                end = std::max(end, static_cast<std::uint64_t>(range.end));
            }
        }
        if (!refusal.isEmpty()) return 0;
        checkElements(indices, end, refusal);
        checkElements(values, end, refusal);
        return count;
    }

    // visit(position, segment, index, value)
    template <typename Visit>
    void forEach(Visit visit) const
    {
        for (std::size_t s = 0; s < detail::asIndex(size); ++s) {
            Segment const range = segment(s);
            for (std::int64_t k = range.begin; k < range.end; ++k) {
                auto const at = static_cast<std::size_t>(k);
                visit(k, static_cast<std::int64_t>(s), integerAt(indices, at), numberAt(values, at));
            }
        }
    }
};

MatrixBuild fromCompressed(Compressed const& arrays, MirroredPairs mirrored, bool byRows)
{
    Assembly assembly(arrays.size, mirrored);
    Refusal& refusal = assembly.refusal();
    if (!checkSize(arrays.size, refusal)) return refusal.take();
    std::uint64_t const count = arrays.checkSegments(refusal);
    if (!refusal.isEmpty()) return refusal.take();
    assembly.reserve(count);
    arrays.forEach([&](std::int64_t position, std::int64_t segment, std::int64_t index, double value) {
        assembly.add(position, byRows ? segment : index, byRows ? index : segment, value);
    });
    return assembly.finish();
}

} // namespace

MatrixBuild fromTriplets(std::int64_t size, IntegerArray const& rows, IntegerArray const& columns,
                         RealArray const& values, MirroredPairs mirrored)
{
    Assembly assembly(size, mirrored);
    Refusal& refusal = assembly.refusal();
    checkSize(size, refusal);
    std::size_t const count = std::max({elementsOf(rows), elementsOf(columns), elementsOf(values)});
    checkElements(rows, count, refusal);
    checkElements(columns, count, refusal);
    checkElements(values, count, refusal);
    if (!refusal.isEmpty()) return refusal.take();
    assembly.reserve(count);
    for (std::size_t k = 0; k < count; ++k) {
        assembly.add(static_cast<std::int64_t>(k), integerAt(rows, k), integerAt(columns, k), numberAt(values, k));
    }
    return assembly.finish();
}

MatrixBuild fromCsr(std::int64_t size, IntegerArray const& starts, IntegerArray const& columns, RealArray const& values,
                    MirroredPairs mirrored, IntegerArray const& lengths)
{
    return fromCompressed({size, starts, columns, values, lengths}, mirrored, true);
}

MatrixBuild fromCsc(std::int64_t size, IntegerArray const& starts, IntegerArray const& rows, RealArray const& values,
                    MirroredPairs mirrored, IntegerArray const& lengths)
{
    return fromCompressed({size, starts, rows, values, lengths}, mirrored, false);
}

MatrixBuild detail::refuseShape(std::int64_t rows, std::int64_t columns)
{
    Refusal refusal;
    refusal.add(EntryFault::notSquare, {rows, columns});
    return refusal.take();
}

} // namespace sinew
