#pragma once

/// The one shape of what the functions named `sinew::diagnose` return. Each examines a host's data (a sparse matrix, a
/// mesh function, the points of an implicit function, bone weights) before the host relies on it.

#include <cstdint>
#include <string>
#include <vector>

namespace sinew {

/// One thing that a host should know about its data.
///
/// @tparam Kind  the enumeration of what can be found in one sort of data, e.g. `MatrixFault`. It documents, for each
/// of
///               its enumerators, what `indices` and `value` hold.
template <typename Kind>
struct Finding
{
    Kind kind;                         ///< What was found.
    std::vector<std::int64_t> indices; ///< Where, counted from 0; empty where no place can be named.
    double value = 0.0;                ///< The number that is at fault; 0 where there is none.
    std::string sentence;              ///< All of this in one English sentence with a full stop, without a line end.
};

/// All that was found, in an order that each `diagnose` states. Empty `findings` mean that nothing is wrong.
template <typename Kind>
struct Diagnosis
{
    std::vector<Finding<Kind>> findings;

    /// The sentences of all findings, one a line, each line ended by "\n". Empty if there are no findings.
    std::string text() const
    {
        std::string lines;
        for (Finding<Kind> const& finding : findings) lines += finding.sentence + '\n';
        return lines;
    }
};

} // namespace sinew
