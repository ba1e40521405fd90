#include <tool/io/matrix_market.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <limits>
#include <locale>
#include <sstream>
#include <string_view>

#include <sinew/detail/number_reader.h>
#include <tool/io/files.h>
#include <tool/support/user_error.h>

namespace tool {
namespace {

class Parser
{
public:
    Parser(std::string const& text, std::string const& file) : in_(text), file_(file)
    {
        in_.imbue(std::locale::classic());
    }

    SPDMatrix parse()
    {
        readHeader();
        long long rows = 0, columns = 0, entries = 0;
        std::istringstream sizes = nextLine("the sizes");
        if (!(sizes >> rows >> columns >> entries) || hasMore(sizes)) fail("expected three sizes");
        if (rows != columns) fail("the matrix is not square");
        if (rows < 1 || rows > std::numeric_limits<int>::max() || entries < 0) fail("the sizes are out of range");
        // Every row needs its diagonal. A file with fewer entries than rows is refused before memory is allocated.
        if (entries < rows) fail("there are fewer entries than rows, so a diagonal entry is missing");
        matrix_.rows.resize(static_cast<std::size_t>(rows));
        for (long long k = 0; k < entries; ++k) readEntry(rows);
        finishRows();
        return std::move(matrix_);
    }

private:
    void readHeader()
    {
        std::string line;
        std::getline(in_, line);
        ++line_;
        std::transform(line.begin(), line.end(), line.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        std::istringstream words(line);
        std::string banner, object, format, field, symmetry;
        words >> banner >> object >> format >> field >> symmetry;
        if (banner != "%%matrixmarket" || object != "matrix") fail("this is not a Matrix Market matrix");
        if (format != "coordinate") fail("only sparse matrices (coordinate) are read");
        if (field != "real" && field != "integer") fail("only matrices with real or integer values are read");
        if (symmetry != "symmetric") fail("only symmetric matrices are read");
    }

    // The next line that is neither empty nor a comment.
    std::istringstream nextLine(char const* expected)
    {
        std::string line;
        while (std::getline(in_, line)) {
            ++line_;
            std::size_t const first = line.find_first_not_of(" \t\r");
            if (first == std::string::npos || line[first] == '%') continue;
            std::istringstream words(line);
            words.imbue(std::locale::classic());
            return words;
        }
        fail(std::string("the file ends before ") + expected);
    }

    void readEntry(long long size)
    {
        std::istringstream words = nextLine("the last entry");
        long long row = 0, column = 0;
        double value = 0;
        if (!(words >> row >> column) || !takeLast(words, value)) fail("expected a row, a column and a value");
        if (row < 1 || row > size || column < 1 || column > size) fail("the entry lies outside the matrix");
        if (row < column) std::swap(row, column);
        matrix_.rows[static_cast<std::size_t>(row - 1)].push_back({static_cast<int>(column - 1), value});
    }

    void finishRows()
    {
        for (std::size_t i = 0; i < matrix_.rows.size(); ++i) {
            auto& row = matrix_.rows[i];
            std::sort(row.begin(), row.end()); // puts the diagonal last
            auto const sameColumn = [](auto const& a, auto const& b) { return a.first == b.first; };
            auto const twice = std::adjacent_find(row.begin(), row.end(), sameColumn);
            if (twice == row.end()) continue;
            throw UserError(
                file_, "row " + std::to_string(i + 1) + " gives column " + std::to_string(twice->first + 1) + " twice",
                "Add their values and keep one entry");
        }
    }

    // Takes a number, which must be the last word. Not by the stream itself, since the texts that streams take for
    // numbers depend on the standard library.
    static bool takeLast(std::istringstream& words, double& value)
    {
        std::string text;
        std::getline(words, text);
        std::string_view rest = text;
        return sinew::detail::takeReal(rest, value) && std::all_of(rest.begin(), rest.end(), sinew::detail::isSpace);
    }

    static bool hasMore(std::istringstream& words)
    {
        std::string rest;
        return static_cast<bool>(words >> rest);
    }

    [[noreturn]] void fail(std::string const& what) const
    {
        throw UserError(file_, line_, what, "The file must be a Matrix Market file: coordinate real symmetric");
    }

    std::istringstream in_;
    std::string const& file_;
    std::size_t line_ = 0;
    SPDMatrix matrix_;
};

} // namespace

SPDMatrix parseMatrixMarket(std::string const& text, std::string const& file)
{
    return Parser(text, file).parse();
}

SPDMatrix readMatrixMarket(std::string const& path)
{
    return parseMatrixMarket(readFile(path), path);
}

} // namespace tool
