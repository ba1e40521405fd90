#include <sinew/meshfunc/mesh_function_2d.h>

#include <cstdio>
#include <limits>
#include <memory>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <sinew/framework/fields.h>
#include <sinew/framework/registry.h>
#include <sinew/meshfunc/type_handlers.h>

#include "meshfunc/mesh_samples.h"
#include "meshfunc/reference_persistence.h"
#include "support/bits.h"
#include "support/comma_locale.h"
#include "support/random.h"

#if defined(SINEW_TEST_PUGIXML)
#include "support/xml_text.h"
#endif

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string documentOf(MeshFunction2D& f)
{
    std::ostringstream out;
    sinew::writeDocument(out, f, "MeshFunction2D");
    return out.str();
}

// A document around a packed text, as `save` writes it.
std::string documentAround(std::string const& packed)
{
    return "<MeshFunction2D><saveString>" + packed + "</saveString></MeshFunction2D>";
}

std::string packedIn(std::string const& document)
{
#if defined(SINEW_TEST_PUGIXML)
    pugi::xml_document parsed;
    EXPECT_TRUE(parsed.load_string(document.c_str()));
    return parsed.child("MeshFunction2D").child_value("saveString");
#else
    std::string const open = "<saveString>";
    std::size_t const begin = document.find(open) + open.size();
    return document.substr(begin, document.find("</saveString>") - begin);
#endif
}

std::string packed(MeshFunction2D& f)
{
    return packedIn(documentOf(f));
}

void read(std::string const& document, MeshFunction2D& f)
{
    std::istringstream in(document);
    sinew::readDocument(in, f);
}

// The message of the exception that loading `document` throws; empty if it throws none.
std::string failureOf(std::string const& document, MeshFunction2D* f = nullptr)
{
    MeshFunction2D scratch(true);
    try {
        read(document, f ? *f : scratch);
        return "";
    } catch (Serializable::LoadFail const& failure) {
        return failure.what();
    }
}

test::Mesh randomMesh(test::Random& random, int vertices, int triangles, bool hostile)
{
    test::Mesh mesh;
    for (int i = 0; i < vertices; ++i) {
        mesh.addVertex(random.uniform(-2, 13.9), random.uniform(-2, 13.9));
        if (!hostile) continue;
        mesh.params.back() = {random.hostile(), random.spread(0, 80)};
        mesh.values.back() = {random.spread(0, 1000), random.hostile()};
        mesh.normaldots.back() = static_cast<float>(random.spread(-20, 120));
    }
    for (int i = 0; i < 3 * triangles; ++i) {
        mesh.facets.push_back(hostile ? static_cast<int>(random.bits()) : random.below(std::max(vertices, 1)));
    }
    if (random.oneIn(3)) mesh.normaldots.resize(static_cast<std::size_t>(random.below(vertices + 3)));
    return mesh;
}

void expectSameVectors(MeshFunction2D const& a, MeshFunction2D const& b)
{
    EXPECT_TRUE(test::sameBits(a.params, b.params));
    EXPECT_TRUE(test::sameBits(a.values, b.values));
    EXPECT_TRUE(test::sameBits(a.normaldots, b.normaldots));
    EXPECT_EQ(a.facets, b.facets);
}

} // namespace

TEST(PackedText, EmptyFunctionIsTheMarkAndNineQuestionMarks)
{
    MeshFunction2D f(true);
    EXPECT_EQ(packed(f), "0?????????");
}

TEST(PackedText, DocumentLooksAsDescribed)
{
    MeshFunction2D f(true);
    EXPECT_EQ(documentOf(f), R"(<?xml version="1.0" encoding="UTF-8"?>
<MeshFunction2D>
  <params/>
  <values/>
  <normaldots/>
  <facets/>
  <extrapolateFlag>1</extrapolateFlag>
  <saveString>0?????????</saveString>
</MeshFunction2D>
)");
}

TEST(PackedText, KnownNumbers)
{
    MeshFunction2D f(true);
    f.params = {{0.5, -2.0}};
    f.values = {{14.0, 0.0}};
    f.facets = {0, 63, 262143};
    // 0.5 is q = 2621440 = 40 * 64^3 / 4; low groups are zero.
    std::string const half = {'?', '?', '?', static_cast<char>(63 + 10)};
    std::string const zero = {'?', '?', '?', static_cast<char>(63 + 8)};
    EXPECT_EQ(packed(f), "0@??" + half + "????" + "????" + zero + "???" + "B??" + "???" + "~??" + "~~~");
    MeshFunction2D loaded(true);
    read(documentOf(f), loaded);
    EXPECT_EQ(loaded.params[0], test::Point(0.5, -2.0));
    EXPECT_EQ(loaded.values[0], test::Point(-2.0, 0.0)) << "14 wraps to -2";
}

TEST(PackedText, MinusOneScalarsSurvive)
{
    MeshFunction2D f(true);
    f.params = {{0, 0}};
    f.values = {{0, 0}};
    f.normaldots = {-1, -1, 0.25f};
    MeshFunction2D loaded(true);
    read(documentOf(f), loaded);
    EXPECT_EQ(loaded.normaldots, f.normaldots);
}

TEST(PackedText, RoundsUpFromHalfAStepAndTruncatesTowardsZeroBelowTheRange)
{
    double const step = 0x1p-20;
    struct Case
    {
        double x;
        int q;
    };
    for (Case const c : {Case{0.49 * step, 2097152}, Case{0.5 * step, 2097153}, Case{-0.5 * step, 2097152},
                         Case{-0.51 * step, 2097151}, Case{-2 - step, 0}, Case{-2 - 2 * step, 0xFFFFFF},
                         Case{-2 - 1.6 * step, 0xFFFFFF}}) {
        MeshFunction2D f(true);
        f.params = {{c.x, -2}};
        f.values = {{-2, -2}};
        std::string expected;
        for (int group = 0; group < 4; ++group) expected += static_cast<char>((c.q >> 6 * group & 63) + 63);
        EXPECT_EQ(packed(f).substr(4, 4), expected) << c.x / step;
    }
}

TEST(PackedText, NumbersOutsideTheRangeKeepTheirLowBits)
{
    auto const charactersOf = [](double x) {
        MeshFunction2D f(true);
        f.params = {{x, -2}};
        f.values = {{-2, -2}};
        return packed(f).substr(4, 4);
    };
    EXPECT_EQ(charactersOf(0x1p20 + 0.5), charactersOf(0.5)) << "more than 32 bits: the lowest 24 of 64 are kept";
    EXPECT_EQ(charactersOf(-0x1p30 - 1.0), charactersOf(-1.0 + 0x1p-20)) << "below zero, truncation rounds up";
    for (double const x : {0x1p43, -0x1p44, 1e300, kInfinity, -kInfinity, kNaN, -kNaN}) {
        EXPECT_EQ(charactersOf(x), "????") << x;
    }
}

TEST(PackedText, SameAsTheReferenceOnRandomAndHostileMeshes)
{
    test::Random random(501);
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        test::Mesh const mesh = randomMesh(random, random.below(300), random.below(300), trial % 2 == 1);
        MeshFunction2D f(true);
        f.params = mesh.params;
        f.values = mesh.values;
        f.normaldots = mesh.normaldots;
        f.facets = mesh.facets;
        std::string const text = packed(f);
        ASSERT_EQ(text, reference::pack(f));
        ASSERT_EQ(text.size(), 10 + 16 * f.params.size() + 4 * f.normaldots.size() + 3 * f.facets.size());

        MeshFunction2D loaded(false);
        MeshFunction2D expected(false);
        ASSERT_EQ(failureOf(documentAround(text), &loaded), "");
        ASSERT_EQ(reference::Unpacker(text).unpack(expected), "");
        expectSameVectors(loaded, expected);
    }
}

TEST(PackedText, MissingValuesAreWrittenAsZero)
{
    MeshFunction2D f(true);
    f.params = {{1, 1}, {0.25, 0.5}};
    f.values = {{3, 3}};
    MeshFunction2D loaded(true);
    read(documentOf(f), loaded);
    EXPECT_EQ(loaded.values, (std::vector<test::Point>{{3, 3}, {0, 0}}));
    EXPECT_EQ(f.values.size(), 1u);
}

TEST(Save, DoesNotChangeTheFunction)
{
    test::Random random(502);
    MeshFunction2D f = test::gridMesh(random, 5, 4).function();
    MeshFunction2D const before = f;
    std::string const once = documentOf(f);
    expectSameVectors(f, before);
    EXPECT_TRUE(f.saveString.empty());
    EXPECT_EQ(documentOf(f), once) << "saving twice gives the same bytes";
}

TEST(Save, RestoresTheVectorsWhenWritingThrows)
{
    MeshFunction2D f = test::square().function();
    MeshFunction2D const before = f;
    struct Full : std::streambuf
    {
    } full;
    std::ostream nowhere(&full);
    nowhere.exceptions(std::ios::badbit | std::ios::failbit);
    EXPECT_ANY_THROW(sinew::writeDocument(nowhere, f, "f"));
    expectSameVectors(f, before);
    nowhere.clear(); // not every standard library throws at a second write to a broken stream
    OutTag tag(nowhere, "f");
    EXPECT_ANY_THROW(f.save(tag));
    expectSameVectors(f, before);
    EXPECT_EQ(f.saveString, reference::pack(f)) << "saveString keeps the packed text";
}

TEST(Load, GivesTheSameFunctionWithGridAndBoundaries)
{
    test::Random random(503);
    MeshFunction2D f = test::gridMesh(random, 8, 8).function();
    MeshFunction2D loaded(false);
    read(documentOf(f), loaded);
    EXPECT_TRUE(loaded.extrapolateFlag);
    EXPECT_TRUE(loaded.saveString.empty());
    EXPECT_EQ(loaded.facets, f.facets);
    EXPECT_EQ(loaded.boundaryFacets, f.boundaryFacets);
    EXPECT_EQ(loaded.gridSize[0], 20);
    std::string const text = documentOf(loaded);
    MeshFunction2D again(false);
    read(text, again);
    expectSameVectors(again, loaded);
    EXPECT_EQ(documentOf(again), text) << "multiples of the step are kept exactly";
    for (int i = 0; i < 1000; ++i) {
        test::Point const p = random.point2(-1, 2);
        test::Point a, b;
        ASSERT_EQ(again.extrapolate(p, &a, nullptr), loaded.extrapolate(p, &b, nullptr));
        ASSERT_TRUE(test::sameBits(a, b));
    }
}

TEST(Load, EachFailureHasItsMessage)
{
    std::string const begin = "Error loading MeshFunction2D: ";
    auto const message = [](std::string const& text) { return failureOf(documentAround(text)); };
    EXPECT_EQ(message(""), "") << "an empty text is the older form of the document";
    for (char const* const text : {"0", "0?", "0??", "1", "1??"}) {
        EXPECT_EQ(message(text), begin + "saveString way too short") << text;
    }
    EXPECT_EQ(message("1???"), begin + "wrong magic number");
    EXPECT_EQ(message(" 0??????????"), begin + "wrong magic number") << "white space is not skipped";
    EXPECT_EQ(message("0???"), begin + "first part of saveString too short");
    EXPECT_EQ(message("0~~~"), begin + "first part of saveString too short");

    // One vertex, two scalars, three facets; cut to lengths on both sides of each test.
    MeshFunction2D f(true);
    f.params = {{0, 0}};
    f.values = {{0, 0}};
    f.normaldots = {0, 0};
    f.facets = {0, 0, 0};
    std::string const text = reference::pack(f);
    auto const cut = [&](std::size_t length) { return message(text.substr(0, length)); };
    EXPECT_EQ(cut(21), begin + "first part of saveString too short");
    EXPECT_EQ(cut(22), begin + "second part of saveString too short");
    EXPECT_EQ(cut(23), begin + "second part of saveString too short");
    EXPECT_EQ(cut(24), begin + "third part of saveString too short") << "16 + 4 * 2 characters";
    EXPECT_EQ(cut(29), begin + "third part of saveString too short");
    EXPECT_EQ(cut(30), "") << "the number of facet entries is missing and read as 0";
    EXPECT_EQ(cut(34), begin + "third part of saveString too short");
    EXPECT_EQ(cut(38), begin + "third part of saveString too short");
    EXPECT_EQ(cut(39), "") << "16 + 8 + 9 + 6 characters, four less than a whole text";
    f.normaldots.clear();
    f.facets.clear();
    EXPECT_EQ(message(reference::pack(f).substr(0, 21)), begin + "first part of saveString too short");
    EXPECT_EQ(message(reference::pack(f).substr(0, 22)), "") << "(8 * 1 + 3) * 2 characters";
}

TEST(Load, NegativeCountsFailWithTheMessageOfTheirPart)
{
    std::string const begin = "Error loading MeshFunction2D: ";
    std::string const below = "!!!"; // 33 is less than 63
    std::string const tail(40, '?');
    EXPECT_EQ(failureOf(documentAround("0" + below + tail)), begin + "first part of saveString too short");
    EXPECT_EQ(failureOf(documentAround("0???" + below + tail)), begin + "second part of saveString too short");
    EXPECT_EQ(failureOf(documentAround("0??????" + below + tail)), begin + "third part of saveString too short");
}

TEST(Load, CharactersOutsideTheRangeDecodeByTheSameFormula)
{
    MeshFunction2D f(true);
    // Three indices: "   " below the range, DEL above it, and the two bytes of an accented letter, which are negative.
    ASSERT_EQ(failureOf(documentAround("0??????B??   \x7F\x7F\x7F\xC3\xA9?"), &f), "");
    EXPECT_EQ(f.facets, (std::vector<int>{32 + 64 * 32 + 4096 * 32 - 262143, 127 + 64 * 127 + 4096 * 127 - 262143,
                                          -61 + 64 * -87 + 4096 * 63 - 262143}));
    test::Point value;
    EXPECT_FALSE(f.evaluate({0, 0}, &value, nullptr));
}

TEST(Load, FailsAsTheReferenceForEveryTruncatedPrefix)
{
    test::Random random(504);
    MeshFunction2D f = test::gridMesh(random, 3, 3).function();
    std::string const text = reference::pack(f);
    for (std::size_t length = 1; length <= text.size(); ++length) {
        SCOPED_TRACE(length);
        MeshFunction2D loaded(true), expected(true);
        std::string const wrong = reference::Unpacker(text.substr(0, length)).unpack(expected);
        EXPECT_EQ(failureOf(documentAround(text.substr(0, length)), &loaded),
                  wrong.empty() ? "" : "Error loading MeshFunction2D: " + wrong);
        if (wrong.empty()) expectSameVectors(loaded, expected);
    }
}

TEST(Load, FailsAsTheReferenceForEveryDamagedCharacter)
{
    test::Random random(505);
    MeshFunction2D f = test::gridMesh(random, 2, 2).function();
    std::string const text = reference::pack(f);
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (char const damage : {' ', '!', '0', '?', '~', '\x7F'}) {
            std::string damaged = text;
            damaged[at] = damage;
            MeshFunction2D loaded(true), expected(true);
            std::string const wrong = reference::Unpacker(damaged).unpack(expected);
            ASSERT_EQ(failureOf(documentAround(damaged), &loaded),
                      wrong.empty() ? "" : "Error loading MeshFunction2D: " + wrong)
                << at << damage;
            if (wrong.empty()) expectSameVectors(loaded, expected);
        }
    }
}

TEST(Load, EveryTruncatedDocumentFails)
{
    MeshFunction2D f = test::square().function();
    std::string const document = documentOf(f);
    for (std::size_t length = 0; length + 1 < document.size(); ++length) { // the last character is the line feed
        ASSERT_NE(failureOf(document.substr(0, length)), "") << length;
    }
}

TEST(Load, OlderFormOfTheDocumentIsReadWhenSaveStringIsEmpty)
{
    std::string const document = R"(<any>
  <facets><facet>0</facet><facet>1</facet><facet>2</facet></facets>
  <extrapolateFlag>true</extrapolateFlag>
  <values><value u="0" v="0"/><value u="1" v="0"/><value u="0" v="2"/></values>
  <normaldots><normaldot>-1</normaldot><normaldot>0.5</normaldot><normaldot>1e-3</normaldot></normaldots>
  <params><param v="0" u="0">ignored <b/></param><param u="1" v="0"></param><param u="0" v="1"/></params>
  <saveString></saveString>
  <super/>
</any>)";
    MeshFunction2D f(false);
    ASSERT_EQ(failureOf(document, &f), "");
    EXPECT_EQ(f.params, (std::vector<test::Point>{{0, 0}, {1, 0}, {0, 1}}));
    EXPECT_EQ(f.normaldots, (std::vector<float>{-1, 0.5f, 1e-3f}));
    EXPECT_TRUE(f.extrapolateFlag);
    test::Point value;
    ASSERT_TRUE(f.evaluate({0.25, 0.5}, &value, nullptr));
    EXPECT_EQ(value, test::Point(0.25, 1.0));
    EXPECT_EQ(f.boundaryProjectors.size(), 1u);
}

TEST(Load, OneDamagedFieldFails)
{
    auto const with = [](std::string const& params, std::string const& scalars, std::string const& facets,
                         std::string const& flag) {
        return failureOf("<f><params>" + params + "</params><normaldots>" + scalars + "</normaldots><facets>" + facets +
                         "</facets><extrapolateFlag>" + flag + "</extrapolateFlag></f>");
    };
    std::string const p = "<param u='0' v='1'/>", s = "<normaldot>1</normaldot>", t = "<facet>1</facet>";
    EXPECT_EQ(with(p, s, t, "1"), "");
    for (char const* const bad :
         {"<param u='0'/>", "<param v='0'/>", "<param u='' v='0'/>", "<param u='0' v='x'/>", "<param u='1,5' v='0'/>",
          "<param u='0' v='0 1'/>", "<param u='nan' v='0'/>", "<param u='1e999' v='0'/>", "<param u='0x1' v='0'/>",
          "<param u='0' v='0' u='0'/>", "<value u='0' v='0'/>", "0 1", "<param u='0' v='0'>"}) {
        EXPECT_NE(with(bad, s, t, "1"), "") << bad;
        EXPECT_NE(with(p + bad, s, t, "1"), "") << bad;
    }
    for (char const* const bad : {"<normaldot/>", "<normaldot>1,5</normaldot>", "<normaldot>1e50</normaldot>", "1"}) {
        EXPECT_NE(with(p, bad, t, "1"), "") << bad;
    }
    for (char const* const bad :
         {"<facet/>", "<facet>1.5</facet>", "<facet>3000000000</facet>", "<facet><a/></facet>"}) {
        EXPECT_NE(with(p, s, bad, "1"), "") << bad;
    }
    for (char const* const bad : {"", "2", "yes", "1 1"}) EXPECT_NE(with(p, s, t, bad), "") << bad;
}

#if defined(SINEW_TEST_PUGIXML)
TEST(Load, ReadsDocumentsRewrittenByAnotherParser)
{
    test::Random random(506);
    MeshFunction2D f = test::gridMesh(random, 6, 6).function();
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(documentOf(f).c_str(), pugi::parse_full));
    pugi::xml_node root = document.first_child().next_sibling();
    root.append_move(root.child("params")); // another order
    root.prepend_child(pugi::node_comment).set_value(" rewritten ");
    std::string const packedText = root.child_value("saveString");
    root.child("saveString").remove_children();
    root.child("saveString").append_child(pugi::node_cdata).set_value(packedText.c_str());
    for (unsigned const format :
         {pugi::format_default, pugi::format_raw | 0u, pugi::format_default | pugi::format_write_bom}) {
        std::string text = test::writtenText(document, "        ", format);
        for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) text.replace(at, 1, "\r\n");
        MeshFunction2D loaded(false), direct(false);
        ASSERT_EQ(failureOf(text, &loaded), "");
        read(documentOf(f), direct);
        expectSameVectors(loaded, direct);
    }
}
#endif

TEST(Load, NumbersIgnoreTheLocaleOfTheProcess)
{
    test::Random random(507);
    MeshFunction2D f = test::gridMesh(random, 4, 4).function();
    std::string const classic = documentOf(f);
    std::string const olderForm =
        "<f><params><param u=\"1234.5\" v=\"1e+06\"/></params>"
        "<normaldots><normaldot>1234.5</normaldot></normaldots><facets><facet>12345</facet></facets></f>";
    test::CommaLocale const comma;
    std::ostringstream foreign;
    foreign << 1234.5;
    ASSERT_EQ(foreign.str(), "1.234,5") << "the locale is active";

    EXPECT_EQ(documentOf(f), classic);
    MeshFunction2D loaded(false);
    ASSERT_EQ(failureOf(classic, &loaded), "");
    EXPECT_EQ(loaded.facets, f.facets);
    ASSERT_EQ(failureOf(olderForm, &loaded), "");
    EXPECT_EQ(loaded.params[0], test::Point(1234.5, 1e6));
    EXPECT_EQ(loaded.normaldots[0], 1234.5f);
    EXPECT_EQ(loaded.facets[0], 12345);

    std::ostringstream out;
    OutTag tag(out, "p");
    SimpleTypeHandler<Vector3>::save({1234.5, 1234567.0, -0.5}, tag);
    EXPECT_EQ(out.str(), "<p x=\"1234.5\" y=\"1.23457e+06\" z=\"-0.5\"/>\n");
}

TEST(CommaLocale, IsInForceInStreamsAndInTheCLibrary)
{
    test::CommaLocale const comma;
    std::ostringstream out;
    out << 1234.5 << ' ' << 1000;
    EXPECT_EQ(out.str(), "1.234,5 1.000");
    ASSERT_TRUE(test::CommaLocale::inCLibrary()) << "no locale with a decimal comma: install the package 'locales'";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", 1234.5);
    EXPECT_STREQ(text, "1234,5");
}

TEST(TypeHandlers, WriteOneEmptyTagOfAttributes)
{
    EXPECT_STREQ(SimpleTypeHandler<tzNM::vect2<double>>::_attrs[0], "u");
    EXPECT_STREQ(SimpleTypeHandler<tzNM::vect2<double>>::_attrs[1], "v");
    EXPECT_STREQ(SimpleTypeHandler<Vector3>::_attrs[0], "x");
    EXPECT_STREQ(SimpleTypeHandler<Vector3>::_attrs[1], "y");
    EXPECT_STREQ(SimpleTypeHandler<Vector3>::_attrs[2], "z");
    std::ostringstream out;
    OutTag tag(out, "param");
    SimpleTypeHandler<tzNM::vect2<double>>::save({1.0 / 3.0, 1e-7}, tag);
    EXPECT_EQ(out.str(), "<param u=\"0.333333\" v=\"1e-07\"/>\n");
}

TEST(MeshFunctionRegistration, CreatesEmptyFunctionsByBothKeys)
{
    auto const* byName = FactoryByName::find("MeshFunction2D");
    auto const* byType = FactoryByTypeID::find(typeid(MeshFunction2D).name());
    ASSERT_TRUE(byName && byType);
    std::unique_ptr<Serializable> const a(byName->createObject());
    std::unique_ptr<Serializable> const b(byType->createObject());
    ASSERT_NE(dynamic_cast<MeshFunction2D*>(a.get()), nullptr);
    ASSERT_NE(dynamic_cast<MeshFunction2D*>(b.get()), nullptr);
    EXPECT_TRUE(dynamic_cast<MeshFunction2D*>(a.get())->params.empty());
}

TEST(MeshFunctionRegistration, CreatesFromADocument)
{
    MeshFunction2D f = test::square().function();
    std::istringstream in(documentOf(f));
    std::unique_ptr<Serializable> const made = sinew::createFromDocument(in);
    auto const* loaded = dynamic_cast<MeshFunction2D*>(made.get());
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->facets, f.facets);
    EXPECT_TRUE(loaded->extrapolateFlag);
}

TEST(MeshFunctionPersistence, WorksAsAMemberOfAnotherClassAndInADerivedClass)
{
    struct Tagged : MeshFunction2D
    {
        std::string label;
        Tagged() : MeshFunction2D(true) {}
        smart_ptr<Field> describeFields(std::string const& name) override
        {
            ClassDesc desc;
            desc.add("label", &Tagged::label);
            desc.add(MeshFunction2D::describeFields("super"));
            return new CompositeField(name, desc);
        }
    };
    struct Host : Serializable
    {
        MeshFunction2D map{true};
        std::vector<Tagged> maps;
        smart_ptr<Field> describeFields(std::string const& name) override
        {
            ClassDesc desc;
            desc.add("map", &Host::map);
            desc.add("maps", &Host::maps);
            return new CompositeField(name, desc);
        }
    };
    Host host;
    host.map = test::square().function();
    host.map.normaldots.clear(); // sines, which the format rounds
    host.maps.resize(2);
    host.maps[1].label = "second";
    host.maps[1].params = {{0.5, 0.5}};
    host.maps[1].values = {{0.25, 0.25}};
    std::stringstream text;
    sinew::writeDocument(text, host, "host");
    Host loaded;
    sinew::readDocument(text, loaded);
    expectSameVectors(loaded.map, host.map);
    ASSERT_EQ(loaded.maps.size(), 2u);
    EXPECT_EQ(loaded.maps[1].label, "second");
    expectSameVectors(loaded.maps[1], host.maps[1]);
}
