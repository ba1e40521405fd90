#include <sinew/meshfunc/mesh_diagnosis.h>

#include <gtest/gtest.h>

#include "meshfunc/mesh_samples.h"

using sinew::MeshFault;
using test::Mesh;

namespace {

using Finding = std::pair<MeshFault, std::size_t>;

std::vector<Finding> findings(MeshFunction2D const& f)
{
    std::vector<Finding> found;
    for (auto const& problem : sinew::diagnose(f)) {
        found.emplace_back(problem.fault, problem.index);
        EXPECT_FALSE(problem.sentence.empty());
    }
    return found;
}
std::vector<Finding> findings(Mesh const& mesh)
{
    return findings(mesh.function());
}

using Findings = std::vector<Finding>;

} // namespace

TEST(MeshDiagnosis, SoundMeshesHaveNoFindings)
{
    test::Random random(51);
    EXPECT_EQ(findings(test::gridMesh(random, 9, 9)), Findings());
    EXPECT_EQ(findings(test::islands(4)), Findings());
    EXPECT_EQ(findings(MeshFunction2D(true)), Findings());
}

TEST(MeshDiagnosis, MirroredMeshesAreSoundToo)
{
    Mesh mesh = test::square();
    mesh.facets = {0, 2, 1, 1, 2, 3};
    EXPECT_EQ(findings(mesh), Findings());
}

TEST(MeshDiagnosis, MissingVertexAndIncompleteFacets)
{
    Mesh mesh = test::square();
    mesh.facets = {0, 1, 2, 1, 3, 4, 0};
    EXPECT_EQ(
        findings(mesh),
        (Findings{{MeshFault::incompleteFacets, 6}, {MeshFault::missingVertex, 1}, {MeshFault::unusedVertex, 3}}));
}

TEST(MeshDiagnosis, MissingValue)
{
    Mesh mesh = test::square();
    mesh.values.pop_back();
    EXPECT_EQ(findings(mesh),
              (Findings{{MeshFault::missingVertex, 1}, {MeshFault::unusedVertex, 3}, {MeshFault::missingValue, 3}}));
}

TEST(MeshDiagnosis, DegenerateTriangles)
{
    Mesh mesh = test::square();
    mesh.addTriangle(1, 1, 1);
    mesh.params[3] = {std::numeric_limits<double>::quiet_NaN(), 1};
    EXPECT_EQ(findings(mesh), (Findings{{MeshFault::degenerateTriangle, 1},
                                        {MeshFault::degenerateTriangle, 2},
                                        {MeshFault::unpackableNumber, 3}}));
}

TEST(MeshDiagnosis, InvertedTriangleIsTheMinoritys)
{
    Mesh mesh = test::islands(2);
    std::swap(mesh.facets[3], mesh.facets[4]);
    EXPECT_EQ(findings(mesh), (Findings{{MeshFault::invertedTriangle, 1}}));
    Mesh tie = test::square();
    std::swap(tie.facets[0], tie.facets[1]);
    EXPECT_EQ(findings(tie), (Findings{{MeshFault::invertedTriangle, 0}})) << "between equals, positive is right";
}

TEST(MeshDiagnosis, RepeatedTriangleInAnyOrder)
{
    Mesh mesh = test::square();
    mesh.addTriangle(2, 0, 1);
    EXPECT_EQ(findings(mesh), (Findings{{MeshFault::repeatedTriangle, 2}, {MeshFault::nonManifoldEdge, 2}}));
}

TEST(MeshDiagnosis, ThirdTriangleAtAnEdge)
{
    Mesh mesh = test::square();
    mesh.addVertex(0.9, 0.9);
    mesh.addTriangle(1, 4, 2);
    EXPECT_EQ(findings(mesh), (Findings{{MeshFault::nonManifoldEdge, 2}}));
}

TEST(MeshDiagnosis, NumbersOutsideThePackedRange)
{
    double const largest = 14 - 0x1p-20; // the last step
    for (double fits : {-2.0, largest}) {
        Mesh mesh = test::oneTriangle();
        mesh.values[1] = {fits, 0};
        mesh.normaldots[2] = static_cast<float>(fits == largest ? 13.5 : fits);
        EXPECT_EQ(findings(mesh), Findings());
    }
    for (double lost : {-2.0000001, 14.0, std::numeric_limits<double>::quiet_NaN()}) {
        Mesh mesh = test::oneTriangle();
        mesh.values[1] = {0, lost};
        mesh.normaldots[2] = static_cast<float>(lost * 1.001);
        EXPECT_EQ(findings(mesh), (Findings{{MeshFault::unpackableNumber, 1}, {MeshFault::unpackableScalar, 2}}));
    }
}

TEST(MeshDiagnosis, CountsBeyondThePackedRange)
{
    MeshFunction2D f = test::oneTriangle().function();
    f.normaldots.assign(262143, 0.0f);
    EXPECT_EQ(findings(f), Findings());
    f.normaldots.push_back(0);
    EXPECT_EQ(findings(f), (Findings{{MeshFault::unpackableCount, 262144}}));
}
