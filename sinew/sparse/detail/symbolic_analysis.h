#pragma once

/// What a `SymbolicFactor` holds, for the sources of the classes that share it.

#include <memory>

#include <sinew/sparse/detail/pattern_analysis.h>
#include <sinew/sparse/symbolic_factor.h>

namespace sinew {

struct SymbolicFactor::Analysis
{
    std::shared_ptr<detail::PatternAnalysis const> shared;
};

} // namespace sinew
