// The exact form of members: reals in attributes with all the digits that give back the same bits.

#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/framework/fields.h>
#include <sinew/meshfunc/type_handlers.h>

#include "gallery.h"
#include "support/bits.h"
#include "support/comma_locale.h"
#include "support/random.h"

using gallery::parse;
using gallery::refusal;
using gallery::textOf;
using test::Random;
using test::sameBits;
using Point = tzNM::vect2<double>;

namespace host {

// A type with its own text form in both forms.
struct Glaze
{
    double depth = 0;
};

} // namespace host

template <>
class SimpleTypeHandler<host::Glaze>
{
public:
    static void save(host::Glaze const& glaze, OutTag& tag)
    {
        tag.setAttr("depth", glaze.depth);
        tag.writeSingleTag();
    }
    static void load(host::Glaze& glaze, InTag& tag)
    {
        glaze.depth = tag.getReal("depth");
        tag.readContent();
    }
};

template <>
class sinew::ExactTypeHandler<host::Glaze>
{
public:
    static void save(host::Glaze const& glaze, OutTag& tag)
    {
        sinew::setExactAttr(tag, "depth", glaze.depth);
        tag.writeSingleTag();
    }
};

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Members of every kind that has an exact form.
class Members : public Serializable
{
public:
    Vector3 position;
    Point place;
    std::vector<Vector3> outline;
    std::vector<std::vector<Point>> charts;
    host::Glaze glaze;
    double width = 0;
    float gilding = 0;
    bool hung = false;
    long long number = 0;
    std::string title;
    std::vector<double> weights;

    bool same(Members const& o) const
    {
        return sameBits(position, o.position) && sameBits(place, o.place) && sameBits(outline, o.outline) &&
               sameBits(charts, o.charts) && sameBits(glaze.depth, o.glaze.depth) && sameBits(width, o.width) &&
               sameBits(gilding, o.gilding) && hung == o.hung && number == o.number && title == o.title &&
               sameBits(weights, o.weights);
    }

protected:
    template <typename Add>
    smart_ptr<Field> describe(std::string const& name, Add const& add)
    {
        ClassDesc desc;
        add(desc, "position", &Members::position);
        add(desc, "place", &Members::place);
        add(desc, "outline", &Members::outline);
        add(desc, "charts", &Members::charts);
        add(desc, "glaze", &Members::glaze);
        add(desc, "width", &Members::width);
        add(desc, "gilding", &Members::gilding);
        add(desc, "hung", &Members::hung);
        add(desc, "number", &Members::number);
        add(desc, "title", &Members::title);
        add(desc, "weights", &Members::weights);
        return new CompositeField(name, desc);
    }
};

// The same class with its members in the exact form, and in the ordinary one.
class ExactMembers : public Members
{
public:
    smart_ptr<Field> describeFields(std::string const& name) override
    {
        return describe(name,
                        [](ClassDesc& desc, char const* field, auto member) { sinew::addExact(desc, field, member); });
    }
};
class OrdinaryMembers : public Members
{
public:
    smart_ptr<Field> describeFields(std::string const& name) override
    {
        return describe(name, [](ClassDesc& desc, char const* field, auto member) { desc.add(field, member); });
    }
};

// A finite number with any pattern of bits, or a special one.
double anyFinite(Random& random)
{
    for (;;) {
        std::uint64_t word = random.bits();
        if (random.oneIn(8)) word &= 0x800fffffffffffffu; // subnormal
        double x = 0;
        std::memcpy(&x, &word, sizeof x);
        if (random.oneIn(3)) x = random.hostile();
        if (std::isfinite(x)) return x;
    }
}

Vector3 anyVector(Random& random)
{
    double const x = anyFinite(random), y = anyFinite(random);
    return {x, y, anyFinite(random)};
}

Point anyPoint(Random& random)
{
    double const x = anyFinite(random);
    return {x, anyFinite(random)};
}

template <typename T>
T filled(Random& random)
{
    T m;
    m.position = anyVector(random);
    m.place = anyPoint(random);
    for (int i = random.below(4); i > 0; --i) m.outline.push_back(anyVector(random));
    for (int i = random.below(4); i > 0; --i) {
        m.charts.emplace_back();
        for (int k = random.below(3); k > 0; --k) m.charts.back().push_back(anyPoint(random));
    }
    m.glaze.depth = anyFinite(random);
    m.width = random.oneIn(9) ? kInfinity : anyFinite(random); // infinities are allowed in fields
    m.gilding = static_cast<float>(random.uniform());
    m.hung = random.oneIn(2);
    m.number = static_cast<long long>(random.bits());
    m.title = random.oneIn(2) ? "rain & steam" : "";
    for (int i = random.below(4); i > 0; --i) m.weights.push_back(anyFinite(random));
    return m;
}

// A class with one member.
template <typename T, bool isExact>
class One : public Serializable
{
public:
    T member{};

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        if (isExact) {
            sinew::addExact(desc, "member", &One::member);
        } else {
            desc.add("member", &One::member);
        }
        return new CompositeField(name, desc);
    }
};

} // namespace

TEST(ExactFields, EveryFiniteNumberIsReadBackBitForBit)
{
    Random random(1561);
    for (int trial = 0; trial < 3000; ++trial) {
        auto m = filled<ExactMembers>(random);
        ASSERT_TRUE(parse<ExactMembers>(textOf(m)).same(m)) << textOf(m);
    }
}

TEST(ExactFields, TheOrdinaryFormLosesWhatTheExactFormKeeps)
{
    One<Vector3, false> ordinary;
    One<Vector3, true> exact;
    ordinary.member = exact.member = {1.0 / 3, 2.0 / 3, 1e-300 / 3};
    EXPECT_EQ((parse<One<Vector3, false>>(textOf(ordinary)).member.x), 0.333333);
    EXPECT_TRUE(sameBits(parse<One<Vector3, true>>(textOf(exact)).member, exact.member));
}

TEST(ExactFields, EachFormIsReadByAClassThatWritesTheOther)
{
    Random random(1562);
    for (int trial = 0; trial < 300; ++trial) {
        auto exact = filled<ExactMembers>(random);
        auto const read = parse<OrdinaryMembers>(textOf(exact)); // the reader of earlier versions
        ASSERT_TRUE(read.same(exact));
        auto ordinary = filled<OrdinaryMembers>(random);
        ASSERT_TRUE(parse<ExactMembers>(textOf(ordinary)).same(parse<OrdinaryMembers>(textOf(ordinary))));
    }
}

TEST(ExactFields, NumbersOfSixDigitsHaveTheSameTextInBothForms)
{
    Random random(1563);
    for (int trial = 0; trial < 200; ++trial) {
        auto exact = filled<ExactMembers>(random);
        auto const tame = [&] { return random.below(2000) * 0.125 - 100; };
        exact.position = {tame(), tame(), tame()};
        exact.place = {tame(), -0.0};
        for (Vector3& v : exact.outline) v = {tame(), 0, tame()};
        for (auto& chart : exact.charts) {
            for (Point& p : chart) p = {tame(), tame()};
        }
        exact.glaze.depth = tame();
        OrdinaryMembers ordinary;
        static_cast<Members&>(ordinary) = exact;
        ASSERT_EQ(textOf(exact), textOf(ordinary));
    }
}

TEST(ExactFields, DocumentLooksAsDescribed)
{
    One<std::vector<Vector3>, true> m;
    m.member = {{1.0 / 3, 0, -0.0}, {5e-324, 1e22, 123456789}};
    EXPECT_EQ(textOf(m), R"(<?xml version="1.0" encoding="UTF-8"?>
<root>
  <member>
    <member x="0.3333333333333333" y="0" z="-0"/>
    <member x="5e-324" y="1e+22" z="123456789"/>
  </member>
</root>
)");
}

TEST(ExactFields, AttributesThatAreNotFiniteAreRefusedByTheReaderInBothForms)
{
    for (double const bad : {kNaN, kInfinity, -kInfinity}) {
        One<Vector3, true> exact;
        One<Vector3, false> ordinary;
        exact.member.y = ordinary.member.y = bad;
        EXPECT_EQ(textOf(exact), textOf(ordinary));
        EXPECT_NE((refusal<One<Vector3, true>>(textOf(exact))), "");
        EXPECT_NE((refusal<One<Vector3, false>>(textOf(ordinary))), "");
    }
}

TEST(ExactFields, EveryTruncatedPrefixIsRefused)
{
    Random random(1564);
    auto m = filled<ExactMembers>(random);
    std::string const text = textOf(m);
    for (std::size_t length = 0; length + 1 < text.size(); ++length) { // the last character is the line feed
        ASSERT_NE(refusal<ExactMembers>(text.substr(0, length)), "") << length;
    }
}

TEST(ExactFields, TheDecimalCommaOfTheProcessHasNoEffect)
{
    Random random(1565);
    auto m = filled<ExactMembers>(random);
    std::string const expected = textOf(m);
    test::CommaLocale const comma;
    EXPECT_EQ(textOf(m), expected);
    EXPECT_TRUE(parse<ExactMembers>(expected).same(m));
}

TEST(ExactFields, SetExactAttrReplacesAnAttributeAndKeepsItsPlace)
{
    std::ostringstream out;
    OutTag tag(out, "a");
    tag.setAttr("x", 1.0 / 3);
    tag.setAttr("y", "text");
    sinew::setExactAttr(tag, "x", 0.1F);
    tag.writeSingleTag();
    EXPECT_EQ(out.str(), "<a x=\"0.10000000149011612\" y=\"text\"/>\n");
    EXPECT_THROW(sinew::setExactAttr(tag, "no name", 1), std::invalid_argument);
}

TEST(ExactFields, TheDescriptionOfAnotherClassIsABadCast)
{
    One<Vector3, true> described;
    gallery::Frame other;
    std::ostringstream out;
    OutTag tag(out, "root");
    EXPECT_THROW(described.describeFields("root")->save(other, tag), std::bad_cast);
}
