// Reads the input as a sparse matrix. The result is a matrix whose entries lie in the lower triangle, each once and the
// diagonal last, or a UserError. A small matrix is factored as the reference implementation does.

#include <algorithm>
#include <string>
#include <vector>

#include <tool/io/matrix_market.h>
#include <tool/support/user_error.h>

#include "fuzz/input.h"
#include "sparse/reference_sparse.h"
#include "support/bits.h"

using fuzz::require;
using test::sameBits;

namespace {

constexpr std::size_t kMostRows = 60; // of a matrix that is factored

bool hasDiagonals(SPDMatrix const& matrix)
{
    for (std::size_t i = 0; i < matrix.rows.size(); ++i) {
        if (matrix.rows[i].empty() || matrix.rows[i].back().first != static_cast<int>(i)) return false;
    }
    return true;
}

void examine(SPDMatrix const& matrix)
{
    for (std::size_t i = 0; i < matrix.rows.size(); ++i) {
        std::vector<int> columns;
        for (auto const& [column, value] : matrix.rows[i]) {
            require(column >= 0 && static_cast<std::size_t>(column) <= i, "entries lie in the lower triangle");
            columns.push_back(column);
        }
        std::sort(columns.begin(), columns.end());
        require(std::adjacent_find(columns.begin(), columns.end()) == columns.end(), "entries occur once");
        bool const hasDiagonal = !columns.empty() && columns.back() == static_cast<int>(i);
        require(!hasDiagonal || matrix.rows[i].back().first == static_cast<int>(i), "the diagonal comes last");
    }
    if (matrix.rows.size() > kMostRows) return;
    if (!hasDiagonals(matrix)) {
        require(matrix.factor().rows.empty(), "no factor without a diagonal");
        return;
    }
    LLTMatrix const expected = reference::factor(matrix);
    LLTMatrix const factor = matrix.factor();
    require(factor.perm == expected.perm && sameBits(factor.rows, expected.rows), "factor as the reference");
    require(sameBits(factor.diag, expected.diag), "diagonal as the reference");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(reinterpret_cast<char const*>(data), size);
    try {
        examine(tool::parseMatrixMarket(text, "input.mtx"));
    } catch (tool::UserError const& error) {
        require(std::string(error.what()).rfind("input.mtx", 0) == 0, "the message names the file");
    }
    return 0;
}
