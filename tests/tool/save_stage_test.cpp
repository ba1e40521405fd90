#include <fstream>

#include <gtest/gtest.h>

#include <sinew/meshfunc/mesh_function_2d.h>

#include <tool/io/obj_reader.h>
#include <tool/models/models.h>
#include <tool/tour/textured_function.h>

#include "stage_run.h"

namespace {

// The stage, run on one mesh.
struct SaveRun : test::StageRun
{
    explicit SaveRun(tool::TexturedMesh const& mesh)
    {
        tour.mesh = mesh;
        tool::saveStage(tour);
    }
};

tool::TexturedMesh koi()
{
    return tool::parseObj(tool::bundledKoiObj(), "koi.obj");
}

} // namespace

TEST(SaveStage, PassesItsChecksAndShowsBothSheetsAndBothModels)
{
    SaveRun const run(koi());
    std::string const page = run.page();
    EXPECT_EQ(run.report.failedClaims(), std::vector<std::string>());
    EXPECT_NE(page.find("The picture of the model does not change"), std::string::npos);
    EXPECT_NE(page.find("decimal comma"), std::string::npos);
    for (char const* const file : {"sheet-before.png", "sheet-after.png", "model-before.png", "model-after.png"}) {
        EXPECT_FALSE(tool::readFile(run.folder / file).empty()) << file;
    }
    EXPECT_NE(tool::readFile(run.folder / "sheet-before.png"), tool::readFile(run.folder / "sheet-after.png"));
}

TEST(SaveStage, WritesADocumentThatCanBeRead)
{
    tool::TexturedMesh const mesh = koi();
    SaveRun const run(mesh);
    std::ifstream document(run.folder / "mesh-function.xml");
    MeshFunction2D loaded(false);
    sinew::readDocument(document, loaded);
    EXPECT_EQ(loaded.facets, tool::sideViewFunction(mesh).facets);
    EXPECT_TRUE(loaded.extrapolateFlag);
}

TEST(SaveStage, ReportsCoordinatesThatThePackedTextCannotRepresent)
{
    tool::TexturedMesh mesh = koi();
    for (auto& p : mesh.texcoords) p *= 100.0;
    SaveRun const run(mesh);
    EXPECT_EQ(run.report.failedClaims(), std::vector<std::string>()) << "compaction works with any coordinates";
    EXPECT_NE(run.page().find("omits saving"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(run.folder / "mesh-function.xml"));
}

TEST(SaveStage, TextureTrianglesWithoutAreaDoNotChangeThePicture)
{
    tool::TexturedMesh mesh = koi();
    // A point outside all other triangles, in place of every tenth triangle.
    int const outside = static_cast<int>(mesh.texcoords.size());
    mesh.texcoords.emplace_back(3, -2);
    for (std::size_t t = 0; t < mesh.texTriangles.size(); t += 10) mesh.texTriangles[t] = {outside, outside, outside};
    SaveRun const run(mesh);
    EXPECT_EQ(run.report.failedClaims(), std::vector<std::string>());
}
