#pragma once

/// The result type of every function named `sinew::diagnose`: `Diagnosis`, a list of `Finding`s. Such a function
/// examines data of a host (a sparse matrix, a mesh function, the points of an implicit function, bone weights) before
/// the host uses it.

#include <cstdint>
#include <string>
#include <vector>

#include <sinew/arithmetic.h>

namespace sinew {

/// One problem that a `diagnose` has found in the data.
///
/// @tparam Kind  the enumeration of the problems that one `diagnose` can find, e.g. `MatrixFault`. It documents what
///               `indices` and `value` contain for each enumerator.
template <typename Kind>
struct Finding
{
    Kind kind{};                       ///< Which problem was found.
    std::vector<std::int64_t> indices; ///< Where it was found, counted from 0; empty if it has no position.
    double value = 0.0;                ///< The number that is wrong; 0 if there is none. May be NaN or infinite.
    std::string sentence;              ///< The finding as one English sentence with a full stop and without a line end.

    Finding() = default;
    Finding(Finding const&) = default;
    Finding(Finding&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the finding is unchanged.
    Finding& operator=(Finding const& other) { return *this = Finding(other); }
    Finding& operator=(Finding&&) noexcept = default;
    ~Finding() = default;
};

/// All findings of one `diagnose`, in the order that the function states. An empty list means that it found no problem.
template <typename Kind>
struct Diagnosis
{
    std::vector<Finding<Kind>> findings;

    Diagnosis() = default;
    Diagnosis(Diagnosis const&) = default;
    Diagnosis(Diagnosis&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the diagnosis is unchanged.
    Diagnosis& operator=(Diagnosis const& other) { return *this = Diagnosis(other); }
    Diagnosis& operator=(Diagnosis&&) noexcept = default;
    ~Diagnosis() = default;

    /// The sentences of all findings in their order, each followed by "\n". Empty if there are no findings. Cost:
    /// linear in the length of the text. Strong guarantee.
    std::string text() const
    {
        std::string lines;
        for (Finding<Kind> const& finding : findings) lines += finding.sentence + '\n';
        return lines;
    }
};

} // namespace sinew
