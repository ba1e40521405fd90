// The comparison with the table, with groups and tables of our own: it must notice what it is there to notice.

#include <selftest/report.h>

#include <set>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include <sinew/core/vector_geometry.h>

using selftest::Expected;
using selftest::Group;
using selftest::Inputs;
using selftest::MathBuild;
using selftest::MathLibrary;
using selftest::Record;

namespace {

void basis(Inputs& in, Record& out)
{
    for (int i = 0; i < 100; ++i) {
        Vector3 e1;
        Vector3 e2;
        getBasis(in.tamePoint(), e1, e2);
        out.add(e1);
        out.add(e2);
    }
    out.countInputs(100);
}

// `basis` with one component that is off by the last bit.
void basisWithAWrongBit(Inputs& in, Record& out)
{
    for (int i = 0; i < 100; ++i) {
        Vector3 e1;
        Vector3 e2;
        getBasis(in.tamePoint(), e1, e2);
        if (i == 57) e2.y = std::nextafter(e2.y, 2.0);
        out.add(e1);
        out.add(e2);
    }
    out.countInputs(100);
}

Group const kBasis = {"core.getBasis", "vectors", MathLibrary::unused, basis};
Group const kBroken = {"core.getBasis", "vectors", MathLibrary::unused, basisWithAWrongBit};

Expected resultOf(Group const& group)
{
    Record const result = selftest::run(group);
    return {group.name, result.count(), result.hash()};
}

struct Outcome
{
    int status;
    std::string text;

    bool says(std::string const& words) const { return text.find(words) != std::string::npos; }
};

Outcome compare(std::vector<Group> const& groups, std::vector<Expected> const& expected,
                MathBuild math = MathBuild::system)
{
    std::ostringstream out;
    int const status = selftest::compare(groups, expected, math, out);
    return {status, out.str()};
}

Group asUserOfMath(Group group)
{
    group.math = MathLibrary::used;
    return group;
}

} // namespace

TEST(Selftest, EqualResultsAreOk)
{
    Outcome const outcome = compare({kBasis}, {resultOf(kBasis)});
    EXPECT_EQ(outcome.status, 0) << outcome.text;
    EXPECT_TRUE(outcome.says("  ok\ngroups: 1; different from the table: 0\n")) << outcome.text;
}

TEST(Selftest, OneWrongBitOfAnOperationFails)
{
    Outcome const outcome = compare({kBroken}, {resultOf(kBasis)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.says("  differs\ngroups: 1; different from the table: 1\n")) << outcome.text;
}

TEST(Selftest, AWrongHashInTheTableFails)
{
    Expected wrong = resultOf(kBasis);
    wrong.hash ^= 1;
    EXPECT_EQ(compare({kBasis}, {wrong}).status, 1);
}

TEST(Selftest, AnotherNumberOfInputsFails)
{
    Expected wrong = resultOf(kBasis);
    wrong.count += 1;
    EXPECT_EQ(compare({kBasis}, {wrong}).status, 1);
}

TEST(Selftest, AGroupThatIsNotInTheTableFails)
{
    Outcome const outcome = compare({kBasis}, {});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.says("  not in the table\n")) << outcome.text;
}

TEST(Selftest, OneBadGroupAmongGoodOnesFails)
{
    Group other = kBasis;
    other.name = "core.other";
    Expected wrong = resultOf(other);
    wrong.hash ^= 1;
    EXPECT_EQ(compare({kBasis, other, kBasis}, {wrong, resultOf(kBasis)}).status, 1);
}

TEST(Selftest, ResultsOfTheSystemsMathLibraryAreComparedButDoNotFail)
{
    Group const good = asUserOfMath(kBasis);
    Group const bad = asUserOfMath(kBroken);
    std::vector<Expected> const table = {resultOf(kBasis)};
    EXPECT_TRUE(compare({good}, table).says("  system math\n")) << "compared, even if equal";
    EXPECT_TRUE(compare({good}, table).says("system: 1, of which unlike a portable build: 0\n"));
    Outcome const outcome = compare({bad}, table);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.says("system: 1, of which unlike a portable build: 1\n")) << outcome.text;
    EXPECT_EQ(compare({good}, table, MathBuild::portable).status, 0);
    EXPECT_EQ(compare({bad}, table, MathBuild::portable).status, 1);
    Expected wrong = resultOf(kBasis);
    wrong.count += 1;
    EXPECT_EQ(compare({good}, {wrong}).status, 1) << "the number of inputs does not depend on the math library";
}

TEST(Selftest, NamesSelectGroupsByWholeParts)
{
    std::vector<Group> groups(4, kBasis);
    groups[1].name = "core.getBasisOfPlane";
    groups[2].name = "core.getBasis.more";
    groups[3].name = "corex";
    EXPECT_EQ(selftest::selectGroups(groups, {}).size(), 4u);
    EXPECT_EQ(selftest::selectGroups(groups, {"core"}).size(), 3u);
    EXPECT_EQ(selftest::selectGroups(groups, {"core.getBasis"}).size(), 2u);
    EXPECT_EQ(selftest::selectGroups(groups, {"corex", "core"}).size(), 4u);
    EXPECT_THROW(selftest::selectGroups(groups, {"core", "nothing"}), std::invalid_argument);
}

TEST(Selftest, TheNewTableKeepsTheResultsThatThisBuildCannotMake)
{
    Group other = asUserOfMath(kBasis);
    other.name = "core.other";
    std::ostringstream system;
    selftest::printTable({kBasis, other}, {{"core.other", 100, 0xabcdef}}, MathBuild::system, system);
    EXPECT_NE(system.str().find("{\"core.other\", 100, 0x0000000000abcdef}, // vectors; portable"), std::string::npos)
        << system.str();
    std::ostringstream portable;
    selftest::printTable({kBasis, other}, {{"core.other", 100, 0xabcdef}}, MathBuild::portable, portable);
    EXPECT_EQ(portable.str().find("0x0000000000abcdef"), std::string::npos) << portable.str();
}

TEST(Selftest, TheTableHoldsEachGroupOnceAndNothingElse)
{
    std::multiset<std::string_view> groups;
    for (Group const& group : selftest::allGroups()) groups.insert(group.name);
    std::multiset<std::string_view> entries;
    for (Expected const& entry : selftest::expectedResults()) {
        entries.insert(entry.name);
        EXPECT_GE(entry.count, selftest::kInputs) << entry.name;
        EXPECT_NE(entry.hash, 0u) << entry.name;
    }
    EXPECT_EQ(groups, entries);
    EXPECT_EQ(std::set<std::string_view>(groups.begin(), groups.end()).size(), groups.size());
}

// Each group begins with a generator of its own.
TEST(Selftest, AGroupGivesTheSameResultsAloneAndAfterOthers)
{
    Group other = kBasis;
    other.name = "core.other";
    Record const first = selftest::run(kBasis);
    EXPECT_NE(selftest::run(other).hash(), first.hash());
    EXPECT_EQ(selftest::run(kBasis).hash(), first.hash());
}
