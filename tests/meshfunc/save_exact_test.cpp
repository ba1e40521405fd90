// Saving without loss: every vector is read back with its bits, and the text is that of the framework.

#include <sinew/meshfunc/save_exact.h>

#include <cmath>
#include <cstring>
#include <iomanip>
#include <limits>
#include <memory>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <sinew/framework/fields.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/type_handlers.h>

#include "meshfunc/mesh_digest.h"
#include "meshfunc/mesh_samples.h"
#include "support/bits.h"
#include "support/comma_locale.h"
#include "support/random.h"

using test::Mesh;
using test::Point;
using test::Random;
using test::sameBits;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string exactTextOf(MeshFunction2D const& f)
{
    std::ostringstream out;
    EXPECT_TRUE(sinew::saveExact(f, out));
    return out.str();
}

MeshFunction2D loaded(std::string const& text)
{
    MeshFunction2D f(false);
    std::istringstream in(text);
    sinew::readDocument(in, f);
    return f;
}

void expectSameVectors(MeshFunction2D const& a, MeshFunction2D const& b)
{
    EXPECT_TRUE(sameBits(a.params, b.params));
    EXPECT_TRUE(sameBits(a.values, b.values));
    EXPECT_TRUE(sameBits(a.normaldots, b.normaldots));
    EXPECT_EQ(a.facets, b.facets);
    EXPECT_EQ(a.extrapolateFlag, b.extrapolateFlag);
    EXPECT_EQ(b.saveString, "");
}

// A finite number with any pattern of bits: of any magnitude, also subnormal.
double anyFinite(Random& random)
{
    for (;;) {
        std::uint64_t word = random.bits();
        if (random.oneIn(8)) word &= 0x800fffffffffffffu; // subnormal
        double x = 0;
        std::memcpy(&x, &word, sizeof x);
        if (std::isfinite(x)) return x;
    }
}

float anyFloat(Random& random)
{
    auto const word = static_cast<std::uint32_t>(random.bits());
    float x = 0;
    std::memcpy(&x, &word, sizeof x);
    return x == x ? x : -0.0F;
}

// Vectors of any lengths with any numbers. It need not be a function that can be evaluated.
MeshFunction2D anyFunction(Random& random)
{
    MeshFunction2D f(random.oneIn(2));
    auto const fill = [&](std::vector<Point>& points) {
        for (int i = random.below(30); i > 0; --i) {
            double const x = anyFinite(random);
            points.emplace_back(x, random.oneIn(3) ? random.uniform() : anyFinite(random));
        }
    };
    fill(f.params);
    fill(f.values);
    for (int i = random.below(30); i > 0; --i) f.normaldots.push_back(anyFloat(random));
    for (int i = random.below(30); i > 0; --i) f.facets.push_back(static_cast<int>(random.bits()));
    return f;
}

// The fields of a mesh function, written by the framework.
class Fields : public Serializable
{
public:
    explicit Fields(MeshFunction2D const& f)
        : params(f.params), values(f.values), normaldots(f.normaldots), facets(f.facets), flag(f.extrapolateFlag)
    {
    }

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        sinew::addExact(desc, "params", &Fields::params);
        sinew::addExact(desc, "values", &Fields::values);
        sinew::addExact(desc, "normaldots", &Fields::normaldots);
        sinew::addExact(desc, "facets", &Fields::facets);
        sinew::addExact(desc, "extrapolateFlag", &Fields::flag);
        sinew::addExact(desc, "saveString", &Fields::saveString);
        return new CompositeField(name, desc);
    }

    std::vector<Point> params;
    std::vector<Point> values;
    std::vector<float> normaldots;
    std::vector<int> facets;
    bool flag;
    std::string saveString;
};

} // namespace

TEST(SaveExact, EveryNumberIsReadBackBitForBit)
{
    Random random(1541);
    for (int trial = 0; trial < 1500 && !testing::Test::HasFailure(); ++trial) {
        MeshFunction2D const f = anyFunction(random);
        expectSameVectors(f, loaded(exactTextOf(f)));
    }
}

TEST(SaveExact, TheLoadedFunctionHasTheSameBitsInAllResults)
{
    Random random(1542);
    for (Mesh const& mesh : {test::gridMesh(random, 12, 9), test::islands(3), test::soup(random, 50, 1e-3)}) {
        MeshFunction2D const f = mesh.function();
        EXPECT_TRUE(test::digestOf(f) == test::digestOf(loaded(exactTextOf(f))));
    }
}

TEST(SaveExact, TheTextIsThatOfTheFramework)
{
    Random random(1543);
    for (int trial = 0; trial < 300; ++trial) {
        MeshFunction2D const f = trial == 0 ? MeshFunction2D(true) : anyFunction(random);
        Fields fields(f);
        std::ostringstream expected;
        sinew::writeDocument(expected, fields, "MeshFunction2D");
        ASSERT_EQ(exactTextOf(f), expected.str());
    }
}

TEST(SaveExact, DocumentLooksAsDescribed)
{
    MeshFunction2D f(true);
    f.params = {{1.0 / 3, 15}};
    f.values = {{-0.0, 5e-324}};
    f.normaldots = {0.1F};
    f.facets = {0, 300000};
    EXPECT_EQ(exactTextOf(f), R"(<?xml version="1.0" encoding="UTF-8"?>
<MeshFunction2D>
  <params>
    <param u="0.3333333333333333" v="15"/>
  </params>
  <values>
    <value u="-0" v="5e-324"/>
  </values>
  <normaldots>
    <normaldot>0.1</normaldot>
  </normaldots>
  <facets>
    <facet>0</facet>
    <facet>300000</facet>
  </facets>
  <extrapolateFlag>1</extrapolateFlag>
  <saveString/>
</MeshFunction2D>
)");
}

TEST(SaveExact, KeepsWhatThePackedTextLoses)
{
    MeshFunction2D f(true);
    constexpr int kVertices = 262145; // beyond 18 bits
    for (int i = 0; i < kVertices; ++i) {
        f.params.emplace_back(i * 1e-6, 14.0 + i); // outside [-2, 14)
        f.values.emplace_back(-i / 3.0, 1e-9 * i); // between steps of 2^-20
    }
    f.facets = {0, kVertices - 1, kVertices - 2};
    expectSameVectors(f, loaded(exactTextOf(f)));
    std::stringstream packed;
    sinew::writeDocument(packed, f, "MeshFunction2D");
    MeshFunction2D wrapped(true);
    sinew::readDocument(packed, wrapped);
    EXPECT_EQ(wrapped.params.size(), 1u); // the lowest 18 bits of their number
}

TEST(SaveExact, CoordinatesThatAreNotFiniteAreRefusedWithNothingWritten)
{
    for (double const bad : {kNaN, -kNaN, kInfinity, -kInfinity}) {
        for (int place = 0; place < 4; ++place) {
            MeshFunction2D f = test::square().function();
            std::vector<Point>& points = place < 2 ? f.params : f.values;
            points[2][place % 2] = bad;
            std::ostringstream out;
            EXPECT_FALSE(sinew::saveExact(f, out));
            EXPECT_EQ(out.str(), "");
        }
    }
}

TEST(SaveExact, ScalarsThatAreNotFiniteAreReadBack)
{
    MeshFunction2D f = test::square().function();
    auto const infinity = std::numeric_limits<float>::infinity();
    f.normaldots = {infinity, -infinity, std::numeric_limits<float>::quiet_NaN(), -0.0F,
                    std::numeric_limits<float>::denorm_min()};
    MeshFunction2D const g = loaded(exactTextOf(f));
    EXPECT_TRUE(sameBits(f.normaldots, g.normaldots)); // all NaN are equal here
}

TEST(SaveExact, TheFunctionIsMadeByTheNameInTheDocument)
{
    MeshFunction2D const f = test::islands(2).function();
    std::istringstream in(exactTextOf(f));
    std::unique_ptr<Serializable> const made = sinew::createFromDocument(in);
    auto const* const g = dynamic_cast<MeshFunction2D const*>(made.get());
    ASSERT_TRUE(g);
    expectSameVectors(f, *g);
}

TEST(SaveExact, IsReadIntoAFunctionThatHoldsThePackedTextOfAFailedSave)
{
    MeshFunction2D const f = test::square().function();
    MeshFunction2D g = test::islands(2).function();
    g.saveString = "0??????";
    std::istringstream in(exactTextOf(f));
    sinew::readDocument(in, g);
    expectSameVectors(f, g);
}

TEST(SaveExact, IgnoresTheFormatAndTheLocaleOfTheStream)
{
    Random random(1544);
    MeshFunction2D const f = anyFunction(random);
    std::string const expected = exactTextOf(f);
    test::CommaLocale const comma;
    std::ostringstream out;
    out << std::hexfloat << std::setprecision(2) << std::setfill('*') << std::showpos << std::setw(9);
    EXPECT_TRUE(sinew::saveExact(f, out));
    EXPECT_EQ(out.str(), expected);
    expectSameVectors(f, loaded(expected));
}

TEST(SaveExact, EveryTruncatedDocumentFails)
{
    std::string const document = exactTextOf(test::square().function());
    for (std::size_t length = 0; length + 1 < document.size(); ++length) { // the last character is the line feed
        EXPECT_THROW(loaded(document.substr(0, length)), Serializable::LoadFail) << length;
    }
}

TEST(SaveExact, AFailureOfTheStreamShowsInItsState)
{
    struct Full : std::streambuf
    {
    } full; // accepts nothing
    std::ostream out(&full);
    EXPECT_TRUE(sinew::saveExact(test::square().function(), out));
    EXPECT_TRUE(out.bad());
    out.clear();
    out.exceptions(std::ios::badbit);
    EXPECT_THROW(sinew::saveExact(test::square().function(), out), std::ios_base::failure);
}
