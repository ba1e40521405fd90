#include <sinew/framework/findings.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include <gtest/gtest.h>

namespace {

enum class Fault
{
    wrongIndex,
    wrongValue,
    empty
};

using Finding = sinew::Finding<Fault>;
using Diagnosis = sinew::Diagnosis<Fault>;

} // namespace

TEST(Finding, HasNoPositionAndTheValueZeroUnlessTheyAreGiven)
{
    Finding const finding{};
    EXPECT_EQ(finding.kind, Fault::wrongIndex) << "the first enumerator";
    EXPECT_TRUE(finding.indices.empty());
    EXPECT_EQ(finding.value, 0.0);
    EXPECT_EQ(finding.sentence, "");
}

TEST(Finding, IsInitialisedInMemoryThatWasUsedBefore)
{
    alignas(Finding) unsigned char memory[sizeof(Finding)];
    std::memset(memory, 0x5a, sizeof memory);
    auto* const finding = new (memory) Finding; // without (), which would clear it first
    EXPECT_EQ(finding->kind, Fault::wrongIndex);
    EXPECT_EQ(finding->value, 0.0);
    finding->~Finding();
}

TEST(Diagnosis, IsEmptyUnlessSomethingWasFound)
{
    Diagnosis const diagnosis;
    EXPECT_TRUE(diagnosis.findings.empty());
    EXPECT_EQ(diagnosis.text(), "");
}

TEST(Diagnosis, TextHasOneLineForEachFindingInTheirOrder)
{
    Diagnosis diagnosis;
    diagnosis.findings.push_back({Fault::wrongValue, {3, 0}, 0.5, "Entry (3, 0) is 0.5."});
    EXPECT_EQ(diagnosis.text(), "Entry (3, 0) is 0.5.\n");
    diagnosis.findings.push_back({Fault::wrongIndex, {-1}, 0.0, "Index -1 does not exist."});
    diagnosis.findings.push_back({Fault::wrongIndex, {7}, 0.0, "Index 7 does not exist."});
    EXPECT_EQ(diagnosis.text(), "Entry (3, 0) is 0.5.\nIndex -1 does not exist.\nIndex 7 does not exist.\n");
}

TEST(Diagnosis, AFindingWithoutASentenceIsAnEmptyLine)
{
    Diagnosis diagnosis;
    diagnosis.findings.push_back({Fault::empty, {}, 0.0, ""});
    EXPECT_EQ(diagnosis.text(), "\n");
}

TEST(Diagnosis, CopiesAreIndependent)
{
    Diagnosis original;
    original.findings.push_back({Fault::wrongIndex, {std::int64_t{1} << 40}, 0.0, "The index is large."});
    Diagnosis copy = original;
    copy.findings[0].indices[0] = 0;
    copy.findings.push_back({Fault::empty, {}, 0.0, "It is empty."});
    EXPECT_EQ(original.findings.size(), 1u);
    EXPECT_EQ(original.findings[0].indices[0], std::int64_t{1} << 40);
    EXPECT_EQ(original.text(), "The index is large.\n");
}
