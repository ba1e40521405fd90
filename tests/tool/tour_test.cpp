#include <tool/tour/tour.h>

#include <set>
#include <sstream>
#include <tuple>

#include <cairo/cairo.h>
#include <gtest/gtest.h>

#include <tool/draw/renderer.h>
#include <tool/io/files.h>
#include <tool/io/glb.h>
#include <tool/io/obj_reader.h>
#include <tool/io/skeleton.h>

#include "scratch_folder.h"

namespace {

// The results of a tour.
struct Outcome
{
    int status = -1;
    std::string log;
    std::string page;
    std::vector<std::string> pictures; // paths
};

Outcome runTour(tool::TourOptions options, std::string const& folder)
{
    options.outputFolder = folder;
    options.pixels = 0.12;
    std::ostringstream out;
    Outcome outcome;
    outcome.status = tool::runTour(options, out, false);
    outcome.log = out.str();
    outcome.page = tool::readFile(folder + "/index.html");
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".png") outcome.pictures.push_back(entry.path().string());
    }
    return outcome;
}

void expectManyColours(std::string const& path)
{
    SCOPED_TRACE(path);
    cairo_surface_t* const surface = cairo_image_surface_create_from_png(path.c_str());
    ASSERT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS);
    int const width = cairo_image_surface_get_width(surface);
    int const height = cairo_image_surface_get_height(surface);
    EXPECT_GE(width, 40);
    EXPECT_GE(height, 20);
    std::set<std::tuple<int, int, int>> coarseColours;
    unsigned char const* const bytes = cairo_image_surface_get_data(surface);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            unsigned char const* const p = bytes + y * cairo_image_surface_get_stride(surface) + 4 * x;
            coarseColours.emplace(p[0] / 16, p[1] / 16, p[2] / 16);
        }
    }
    EXPECT_GE(coarseColours.size(), 8u);
    cairo_surface_destroy(surface);
}

void expectACompletePage(Outcome const& tour)
{
    std::size_t embedded = 0;
    for (std::size_t at = tour.page.find("src=\""); at != std::string::npos; at = tour.page.find("src=\"", at + 1)) {
        EXPECT_EQ(tour.page.compare(at, 27, "src=\"data:image/png;base64,"), 0) << tour.page.substr(at, 60);
        ++embedded;
    }
    EXPECT_EQ(embedded, tour.pictures.size());
    for (std::string const outside : {"http:", "https:", "<link", "<script", "@import", "url("}) {
        EXPECT_EQ(tour.page.find(outside), std::string::npos) << outside;
    }
    std::string const caption = "<figcaption>";
    for (std::size_t at = tour.page.find(caption); at != std::string::npos; at = tour.page.find(caption, at + 1)) {
        EXPECT_GT(tour.page.find("</figcaption>", at) - at, 40u) << tour.page.substr(at, 80);
    }
}

// One test makes all these checks, because the tour is slow and a test runner starts every test in a new process.
TEST(Tour, OfTheBundledModelsPassesItsChecksAndWritesACompletePage)
{
    test::ScratchFolder const folder;
    Outcome const tour = runTour({}, folder / "out");
    EXPECT_EQ(tour.status, 0) << tour.log;
    EXPECT_EQ(tour.log.find("CHECK FAILED"), std::string::npos) << tour.log;
    EXPECT_NE(tour.log.find("out/index.html"), std::string::npos) << tour.log;
    EXPECT_EQ(tour.log.find('\r'), std::string::npos) << "no line is redrawn outside a terminal";
    EXPECT_EQ(tour.log.find('\033'), std::string::npos);
    EXPECT_GE(tour.pictures.size(), 12u);
    for (std::string const& path : tour.pictures) expectManyColours(path);
    expectACompletePage(tour);
    EXPECT_TRUE(std::filesystem::exists(folder / "out/weights.dmat"));
}

// A bar of 2 x 2 x 8 with subdivided sides and without texture.
std::string barObj()
{
    std::ostringstream out;
    for (int z = 0; z <= 8; ++z)
        out << "v -1 -1 " << z << "\nv 1 -1 " << z << "\nv 1 1 " << z << "\nv -1 1 " << z << "\n";
    for (int z = 0; z < 8; ++z) {
        for (int k = 0; k < 4; ++k) {
            int const a = 4 * z + k + 1, b = 4 * z + (k + 1) % 4 + 1;
            out << "f " << a << " " << b << " " << b + 4 << " " << a + 4 << "\n";
        }
    }
    out << "f 4 3 2 1\nf 33 34 35 36\n";
    return out.str();
}

TEST(Tour, OfAUsersMeshSkeletonAndWeights)
{
    test::ScratchFolder const folder;
    tool::TourOptions options;
    options.meshFile = folder.write("bar.obj", barObj());
    options.skeletonFile = folder.write("bar.tgf", "1 0 0 0.5\n2 0 0 4\n3 0 0 7.5\n#\n1 2\n2 3\n");
    std::string weights = "2 36\n";
    for (int bone = 0; bone < 2; ++bone) {
        for (int v = 0; v < 36; ++v) weights += (v / 4 < 4) == (bone == 0) ? "1\n" : "0\n";
    }
    options.weightsFile = folder.write("bar.dmat", weights);
    Outcome const tour = runTour(options, folder / "out");
    EXPECT_EQ(tour.status, 0) << tour.log;
    EXPECT_TRUE(std::filesystem::exists(folder / "out/against-given.png"));
    EXPECT_NE(tool::readFile(folder / "out/weights.dmat").find("2 36\n"), std::string::npos);
    expectACompletePage(tour);
}

// The bar as a skinned model: two bones, each with one half.
std::string barGlb()
{
    tool::TexturedMesh const bar = tool::parseObj(barObj(), "bar.obj");
    tool::Skeleton const skeleton = tool::parseTgf("1 0 0 0.5\n2 0 0 4\n3 0 0 7.5\n#\n1 2\n2 3\n", "bar.tgf");
    tool::BoneWeights weights;
    for (int v = 0; v < 36; ++v) weights.push_back(v / 4 < 4 ? std::vector<double>{1, 0} : std::vector<double>{0, 1});
    std::vector<Vector3> const normals = tool::vertexNormals(bar.positions, bar.triangles);
    return tool::skinnedGlb({bar.positions, normals, bar.triangles, weights, skeleton}, {});
}

TEST(Tour, OfAUsersSkinnedModel)
{
    test::ScratchFolder const folder;
    tool::TourOptions options;
    options.meshFile = folder.write("bar.glb", barGlb());
    Outcome const tour = runTour(options, folder / "out");
    EXPECT_EQ(tour.status, 0) << tour.log;
    EXPECT_TRUE(std::filesystem::exists(folder / "out/against-given.png")) << "the weights of the file are compared";
    expectACompletePage(tour);
}

TEST(Tour, ASkeletonOfItsOwnReplacesThatOfTheModelAndItsWeights)
{
    test::ScratchFolder const folder;
    tool::TourOptions options;
    options.meshFile = folder.write("bar.glb", barGlb());
    options.skeletonFile = folder.write("three.tgf", "1 0 0 0.5\n2 0 0 3\n3 0 0 5\n4 0 0 7.5\n#\n1 2\n2 3\n3 4\n");
    Outcome const tour = runTour(options, folder / "out");
    EXPECT_EQ(tour.status, 0) << tour.log;
    EXPECT_NE(tool::readFile(folder / "out/weights.dmat").find("3 36\n"), std::string::npos) << "three bones, not two";
    EXPECT_FALSE(std::filesystem::exists(folder / "out/against-given.png"))
        << "the file's weights are of its own bones";
    EXPECT_NE(tour.page.find("the weights that heat gave to its vertices"), std::string::npos);
}

} // namespace
