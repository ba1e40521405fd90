#include <sinew/core/stream.h>

#include <iomanip>
#include <sstream>

#include <gtest/gtest.h>

#include "support/comma_locale.h"

namespace {

template <typename T>
std::string textOf(T const& value)
{
    std::ostringstream out;
    out << value;
    return out.str();
}

} // namespace

TEST(Stream, WritesMatricesRowByRow)
{
    EXPECT_EQ(textOf(Matrix3({1, 4, 7}, {2, 5, 8}, {3, 6, 9.5})), "((1, 2, 3), (4, 5, 6), (7, 8, 9.5))");
    Matrix m;
    m(0, 3) = -2.5;
    EXPECT_EQ(textOf(m), "((1, 0, 0, -2.5), (0, 1, 0, 0), (0, 0, 1, 0), (0, 0, 0, 1))");
    EXPECT_EQ(textOf(Matrixf()), textOf(Matrix()));
}

TEST(Stream, WritesTransformsAndBoxes)
{
    EXPECT_EQ(textOf(Transform(2.0)), "{linear ((1, 0, 0), (0, 1, 0), (0, 0, 1)), translation (0, 0, 0), scale 2}");
    EXPECT_EQ(textOf(Bbox()), "{min (0, 0, 0), max (0, 0, -2)}");
}

TEST(Stream, WritesVectorsOfThePlane)
{
    EXPECT_EQ(textOf(tzNM::vect2<double>(1, 2.5)), "(1, 2.5)");
    EXPECT_EQ(textOf(tzNM::vect2<float>(1, 2.5f)), "(1, 2.5)");
}

TEST(Stream, UsesTheNumberFormatOfTheStream)
{
    std::ostringstream out;
    out << std::fixed << std::setprecision(2) << tzNM::vect2<double>(1, 2.345) << Bbox();
    EXPECT_EQ(out.str(), "(1.00, 2.35){min (0.00, 0.00, 0.00), max (0.00, 0.00, -2.00)}");
}

TEST(Stream, UsesTheLocaleOfTheStreamAndNotThatOfTheProcess)
{
    std::ostringstream classic;
    test::CommaLocale const comma;
    ASSERT_TRUE(test::CommaLocale::inCLibrary()) << "no locale with a decimal comma: install the package 'locales'";
    classic << Vector3(1234.5, 0, 0) << tzNM::vect2<double>(0.5, 0) << Transform(0.5) << Bbox();
    EXPECT_EQ(classic.str(), "(1234.5, 0, 0)(0.5, 0){linear ((1, 0, 0), (0, 1, 0), (0, 0, 1)), translation (0, 0, 0), "
                             "scale 0.5}{min (0, 0, 0), max (0, 0, -2)}");
    EXPECT_EQ(textOf(Transform(1234.5)),
              "{linear ((1, 0, 0), (0, 1, 0), (0, 0, 1)), translation (0, 0, 0), scale 1.234,5}");
}
