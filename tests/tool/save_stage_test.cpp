#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include <sinew/meshfunc/mesh_function_2d.h>

#include <tool/io/files.h>
#include <tool/io/obj_reader.h>
#include <tool/models/models.h>
#include <tool/tour/stage.h>
#include <tool/tour/textured_function.h>

#include "scratch_folder.h"

namespace {

/// The saving stage alone.
struct Outcome
{
    test::ScratchFolder folder;
    std::vector<std::string> failed;
    std::string page;

    explicit Outcome(tool::TexturedMesh const& mesh)
    {
        tool::TourOptions options;
        options.pixels = 0.1;
        std::ostringstream log;
        tool::Progress progress(log, false);
        tool::Report report(folder / "", "title", "subtitle");
        tool::TourContext tour{options, progress, report};
        tour.mesh = mesh;
        tool::saveStage(tour);
        failed = report.failedClaims();
        page = tool::readFile(report.write(""));
    }
};

tool::TexturedMesh koi()
{
    return tool::parseObj(tool::bundledKoiObj(), "koi.obj");
}

} // namespace

TEST(SaveStage, HoldsWhatItClaimsAndShowsBothSheetsAndBothModels)
{
    Outcome const outcome(koi());
    EXPECT_EQ(outcome.failed, std::vector<std::string>());
    EXPECT_NE(outcome.page.find("The picture of the model does not change"), std::string::npos);
    EXPECT_NE(outcome.page.find("decimal comma"), std::string::npos);
    for (char const* const file : {"sheet-before.png", "sheet-after.png", "model-before.png", "model-after.png"}) {
        EXPECT_FALSE(tool::readFile(outcome.folder / file).empty()) << file;
    }
    EXPECT_NE(tool::readFile(outcome.folder / "sheet-before.png"), tool::readFile(outcome.folder / "sheet-after.png"));
}

TEST(SaveStage, LeavesADocumentThatReadsBack)
{
    tool::TexturedMesh const mesh = koi();
    Outcome const outcome(mesh);
    std::ifstream document(outcome.folder / "mesh-function.xml");
    MeshFunction2D loaded(false);
    sinew::readDocument(document, loaded);
    EXPECT_EQ(loaded.facets, tool::sideViewFunction(mesh).facets);
    EXPECT_TRUE(loaded.extrapolateFlag);
}

TEST(SaveStage, SaysSoWhereCoordinatesDoNotFitThePackedText)
{
    tool::TexturedMesh mesh = koi();
    for (auto& p : mesh.texcoords) p *= 100.0;
    Outcome const outcome(mesh);
    EXPECT_EQ(outcome.failed, std::vector<std::string>()) << "shrinking works on any coordinates";
    EXPECT_NE(outcome.page.find("the tour leaves saving out"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(outcome.folder / "mesh-function.xml"));
}
