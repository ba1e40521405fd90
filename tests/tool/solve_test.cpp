#include <tool/solve/solve.h>

#include <clocale>
#include <sstream>

#include <gtest/gtest.h>

#include <tool/io/files.h>
#include <tool/io/matrix_market.h>
#include <tool/support/user_error.h>

#include "scratch_folder.h"

namespace {

using test::ScratchFolder;

std::string const kBanner = "%%MatrixMarket matrix coordinate real symmetric\n";

// The error message for a text, or "accepted" if there is none.
std::string refusal(std::string const& text)
{
    try {
        tool::parseMatrixMarket(text, "a.mtx");
    } catch (tool::UserError const& error) {
        return error.what();
    }
    return "accepted";
}

TEST(MatrixMarket, ReadsTheLowerTriangleWithTheDiagonalLast)
{
    SPDMatrix const matrix =
        tool::parseMatrixMarket(kBanner + "% a comment\n\n3 3 5\n2 2 10\n1 1 4.5\n3 3 1e1\n2 1 -2\n1 3 .25\n", "a.mtx");
    std::vector<std::vector<std::pair<int, double>>> const expected = {
        {{0, 4.5}}, {{0, -2.0}, {1, 10.0}}, {{0, 0.25}, {2, 10.0}}};
    EXPECT_EQ(matrix.rows, expected);
}

TEST(MatrixMarket, ReadsIntegersCapitalsAndWindowsLineEnds)
{
    SPDMatrix const matrix =
        tool::parseMatrixMarket("%%MatrixMarket MATRIX Coordinate Integer Symmetric\r\n1 1 1\r\n1 1 4\r\n", "a.mtx");
    EXPECT_EQ(matrix.rows, (std::vector<std::vector<std::pair<int, double>>>{{{0, 4.0}}}));
}

TEST(MatrixMarket, ErrorsNameTheLineAndTheReason)
{
    EXPECT_NE(refusal("1 1 1\n1 1 4\n").find("a.mtx:1: this is not a Matrix Market matrix"), std::string::npos);
    EXPECT_NE(refusal("%%MatrixMarket matrix array real symmetric\n1 1\n4\n").find("coordinate"), std::string::npos);
    EXPECT_NE(refusal("%%MatrixMarket matrix coordinate real general\n1 1 1\n1 1 4\n").find("only symmetric"),
              std::string::npos);
    EXPECT_NE(refusal("%%MatrixMarket matrix coordinate pattern symmetric\n1 1 1\n1 1\n").find("values"),
              std::string::npos);
    EXPECT_NE(refusal(kBanner + "2 3 2\n").find("a.mtx:2: the matrix is not square"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "2 2\n").find("three sizes"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "-1 -1 5\n").find("out of range"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "99999999999 99999999999 99999999999\n").find("out of range"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "2000000000 2000000000 1\n").find("fewer entries"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "1 1 1\n2 1 4\n").find("a.mtx:3: the entry lies outside"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "1 1 1\n0 1 4\n").find("outside"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "1 1 1\n1 1 x\n").find("expected a row"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "1 1 1\n1 1 nan\n").find("expected a row"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "1 1 1\n1 1 0x1\n").find("expected a row"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "1 1 1\n1 1\n").find("expected a row"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "1 1 1\n1 1 4 4\n").find("expected a row"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "1 1 2\n1 1 4\n").find("ends before"), std::string::npos);
    EXPECT_NE(refusal(kBanner + "2 2 3\n1 1 4\n2 1 1\n1 2 1\n").find("row 2 gives column 1 twice"), std::string::npos);
}

TEST(MatrixMarket, RefusesEveryTruncation)
{
    std::string const whole = kBanner + "2 2 3\n1 1 4\n2 1 1\n2 2 5\n";
    for (std::size_t length = 0; length + 2 < whole.size(); ++length) {
        EXPECT_NE(refusal(whole.substr(0, length)), "accepted") << length;
    }
    EXPECT_EQ(refusal(whole), "accepted");
}

TEST(Solve, PrintsAReportAndDrawsThePattern)
{
    ScratchFolder const folder;
    std::string text = kBanner + "100 100 199\n";
    for (int i = 1; i <= 100; ++i) text += std::to_string(i) + " " + std::to_string(i) + " 2.5\n";
    for (int i = 2; i <= 100; ++i) text += std::to_string(i) + " " + std::to_string(i - 1) + " -1\n";
    tool::SolveOptions options;
    options.matrixFile = folder.write("chain.mtx", text);
    options.pictureFile = folder / "chain.png";
    std::ostringstream out;
    EXPECT_EQ(tool::runSolve(options, out), 0);
    EXPECT_NE(out.str().find("199 entries, 0 of them fill-in"), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("residual"), std::string::npos);
    EXPECT_EQ(tool::readFile(options.pictureFile).substr(1, 3), "PNG");
}

TEST(Solve, SaysWhyAMatrixHasNoFactor)
{
    ScratchFolder const folder;
    tool::SolveOptions options;
    options.pictureFile = "";
    std::ostringstream out;
    auto const message = [&](std::string const& entries) -> std::string {
        options.matrixFile = folder.write("bad.mtx", kBanner + entries);
        try {
            tool::runSolve(options, out);
        } catch (tool::UserError const& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_NE(message("2 2 3\n1 1 1\n2 1 2\n2 2 1\n").find("Row 1 has the pivot -3"), std::string::npos);
    EXPECT_NE(message("3 3 3\n1 1 1\n2 2 2\n3 1 1\n").find("Row 2 has no diagonal"), std::string::npos);
}

} // namespace
