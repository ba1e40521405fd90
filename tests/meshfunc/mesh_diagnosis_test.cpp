#include <sinew/meshfunc/mesh_diagnosis.h>

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "meshfunc/mesh_samples.h"
#include "support/comma_locale.h"

using sinew::MeshFault;
using test::Mesh;

namespace {

using Found = sinew::Finding<MeshFault>;
using Indices = std::vector<std::int64_t>;
using Kinds = std::vector<std::pair<MeshFault, Indices>>;

std::vector<Found> findings(MeshFunction2D const& f)
{
    return sinew::diagnose(f).findings;
}
std::vector<Found> findings(Mesh const& mesh)
{
    return findings(mesh.function());
}

// The kinds and indices of all findings.
template <typename Function>
Kinds kinds(Function const& f)
{
    Kinds found;
    for (Found const& finding : findings(f)) found.emplace_back(finding.kind, finding.indices);
    return found;
}

// The value of the only finding of this kind.
template <typename Function>
double valueOf(MeshFault kind, Function const& f)
{
    double value = std::numeric_limits<double>::quiet_NaN();
    int count = 0;
    for (Found const& finding : findings(f)) {
        if (finding.kind != kind) continue;
        value = finding.value;
        ++count;
    }
    EXPECT_EQ(count, 1);
    return value;
}

} // namespace

TEST(MeshDiagnosis, SoundMeshesHaveNoFindings)
{
    test::Random random(51);
    EXPECT_EQ(kinds(test::gridMesh(random, 9, 9)), Kinds());
    EXPECT_EQ(kinds(test::islands(4)), Kinds());
    EXPECT_EQ(kinds(MeshFunction2D(true)), Kinds());
    EXPECT_EQ(sinew::diagnose(MeshFunction2D(true)).text(), "");
}

TEST(MeshDiagnosis, MirroredMeshHasNoFindings)
{
    Mesh mesh = test::square();
    mesh.facets = {0, 2, 1, 1, 2, 3};
    EXPECT_EQ(kinds(mesh), Kinds());
}

TEST(MeshDiagnosis, SentencesAreOneLineEach)
{
    Mesh mesh = test::square();
    mesh.facets = {0, 1, 2, 1, 3, 4, 0};
    sinew::MeshDiagnosis const diagnosis = sinew::diagnose(mesh.function());
    std::string expected;
    for (Found const& finding : diagnosis.findings) {
        ASSERT_FALSE(finding.sentence.empty());
        EXPECT_EQ(finding.sentence.back(), '.');
        EXPECT_EQ(finding.sentence.find('\n'), std::string::npos);
        expected += finding.sentence + "\n";
    }
    EXPECT_EQ(diagnosis.findings.size(), 3u);
    EXPECT_EQ(diagnosis.text(), expected);
}

TEST(MeshDiagnosis, ReportsMissingVerticesAndIncompleteFacets)
{
    Mesh mesh = test::square();
    mesh.facets = {0, 1, 2, 1, 3, 4, 0};
    EXPECT_EQ(kinds(mesh), (Kinds{{MeshFault::incompleteFacets, {6}},
                                  {MeshFault::missingVertex, {1, 1, 3, 4}},
                                  {MeshFault::unusedVertex, {3}}}));
    EXPECT_EQ(valueOf(MeshFault::incompleteFacets, mesh), 1);
    EXPECT_EQ(valueOf(MeshFault::missingVertex, mesh), 4);
    mesh.facets = {0, 1, 2, -7, 3, 4, 0, 1};
    EXPECT_EQ(valueOf(MeshFault::incompleteFacets, mesh), 2);
    EXPECT_EQ(valueOf(MeshFault::missingVertex, mesh), -7) << "the first of two missing vertices";
}

TEST(MeshDiagnosis, ReportsAVertexWithoutAValue)
{
    Mesh mesh = test::square();
    mesh.values.pop_back();
    EXPECT_EQ(kinds(mesh), (Kinds{{MeshFault::missingVertex, {1, 1, 3, 2}},
                                  {MeshFault::unusedVertex, {3}},
                                  {MeshFault::missingValue, {3}}}));
}

TEST(MeshDiagnosis, ReportsDegenerateTriangles)
{
    Mesh mesh = test::square();
    mesh.addTriangle(1, 1, 1);
    mesh.params[3] = {std::numeric_limits<double>::quiet_NaN(), 1};
    EXPECT_EQ(kinds(mesh), (Kinds{{MeshFault::degenerateTriangle, {1, 1, 3, 2}},
                                  {MeshFault::degenerateTriangle, {2, 1, 1, 1}},
                                  {MeshFault::unpackableNumber, {3}}}));
    EXPECT_TRUE(std::isnan(findings(mesh)[0].value));
    EXPECT_EQ(findings(mesh)[1].value, 0);
}

TEST(MeshDiagnosis, DegenerateThresholdIsStrict)
{
    for (double height : {1.0000000000000001e-16, -0.99e-16}) {
        Mesh mesh = test::oneTriangle();
        mesh.params[2] = {0, height};
        if (height > 0) {
            EXPECT_EQ(kinds(mesh), Kinds());
        } else {
            EXPECT_EQ(kinds(mesh), (Kinds{{MeshFault::degenerateTriangle, {0, 0, 1, 2}}}));
            EXPECT_EQ(valueOf(MeshFault::degenerateTriangle, mesh), height);
        }
    }
}

TEST(MeshDiagnosis, InvertedTrianglesAreThoseOfTheMinority)
{
    Mesh mesh = test::islands(2);
    std::swap(mesh.facets[3], mesh.facets[4]);
    EXPECT_EQ(kinds(mesh), (Kinds{{MeshFault::invertedTriangle, {1, 2, 0, 3}}}));
    EXPECT_LT(valueOf(MeshFault::invertedTriangle, mesh), 0);
    Mesh tie = test::square();
    std::swap(tie.facets[0], tie.facets[1]);
    EXPECT_EQ(kinds(tie), (Kinds{{MeshFault::invertedTriangle, {0, 1, 0, 2}}})) << "a tie inverts the negative one";
}

TEST(MeshDiagnosis, ReportsRepeatedTrianglesInAnyOrderOfCorners)
{
    Mesh mesh = test::square();
    mesh.addTriangle(2, 0, 1);
    EXPECT_EQ(kinds(mesh), (Kinds{{MeshFault::repeatedTriangle, {2, 0}}, {MeshFault::nonManifoldEdge, {2, 1, 2}}}));
    mesh.addTriangle(0, 1, 2);
    EXPECT_EQ(kinds(mesh)[1], (std::pair<MeshFault, Indices>{MeshFault::repeatedTriangle, {3, 0}}))
        << "the first triangle with these vertices";
}

TEST(MeshDiagnosis, ReportsTheThirdTriangleAtAnEdge)
{
    Mesh mesh = test::square();
    mesh.addVertex(0.9, 0.9);
    mesh.addTriangle(1, 4, 2);
    EXPECT_EQ(kinds(mesh), (Kinds{{MeshFault::nonManifoldEdge, {2, 1, 2}}}));
    EXPECT_EQ(valueOf(MeshFault::nonManifoldEdge, mesh), 3);
}

TEST(MeshDiagnosis, NamesATriangleOnceForAllItsCrowdedEdges)
{
    Mesh mesh = test::oneTriangle();
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(0, 1, 2);
    EXPECT_EQ(kinds(mesh), (Kinds{{MeshFault::repeatedTriangle, {1, 0}},
                                  {MeshFault::repeatedTriangle, {2, 0}},
                                  {MeshFault::nonManifoldEdge, {2, 0, 1}}}))
        << "the edge with the smallest vertices";
}

TEST(MeshDiagnosis, ReportsNumbersOutsideThePackedRange)
{
    double const largest = 14 - 0x1p-20; // the last step
    for (double fits : {-2.0, largest}) {
        Mesh mesh = test::oneTriangle();
        mesh.values[1] = {fits, 0};
        mesh.normaldots[2] = static_cast<float>(fits == largest ? 13.5 : fits);
        EXPECT_EQ(kinds(mesh), Kinds());
    }
    for (double changed : {-2.0000001, 14.0, std::numeric_limits<double>::quiet_NaN()}) {
        Mesh mesh = test::oneTriangle();
        mesh.values[1] = {0, changed};
        mesh.normaldots[2] = static_cast<float>(changed * 1.001);
        EXPECT_EQ(kinds(mesh), (Kinds{{MeshFault::unpackableNumber, {1}}, {MeshFault::unpackableScalar, {2}}}));
        if (changed != changed) continue;
        EXPECT_EQ(valueOf(MeshFault::unpackableNumber, mesh), changed);
        EXPECT_EQ(valueOf(MeshFault::unpackableScalar, mesh), static_cast<double>(mesh.normaldots[2]));
    }
    Mesh both = test::oneTriangle();
    both.params[1] = {1, 20};
    both.values[1] = {30, 40};
    EXPECT_EQ(valueOf(MeshFault::unpackableNumber, both), 20) << "the first of three numbers";
}

TEST(MeshDiagnosis, ReportsCountsBeyondThePackedRange)
{
    MeshFunction2D f = test::oneTriangle().function();
    f.normaldots.assign(262143, 0.0f);
    EXPECT_EQ(kinds(f), Kinds());
    f.normaldots.push_back(0);
    EXPECT_EQ(kinds(f), (Kinds{{MeshFault::unpackableCount, {}}}));
    EXPECT_EQ(valueOf(MeshFault::unpackableCount, f), 262144);
}

TEST(MeshDiagnosis, SentencesAreTheSameUnderADecimalComma)
{
    Mesh mesh;
    for (int i = 0; i < 1300; ++i) mesh.addVertex(i, 1234.5);
    mesh.addTriangle(1200, 1201, 4321);
    MeshFunction2D const f = mesh.function();
    std::string const expected = sinew::diagnose(f).text();
    EXPECT_NE(expected.find("4321"), std::string::npos) << "numbers that a locale may group";
    test::CommaLocale const comma;
    ASSERT_TRUE(test::CommaLocale::inCLibrary()) << "no locale with a decimal comma: install the package 'locales'";
    EXPECT_EQ(sinew::diagnose(f).text(), expected);
}
