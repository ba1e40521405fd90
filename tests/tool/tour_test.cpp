#include <tool/tour/tour.h>

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <tuple>

#include <cairo/cairo.h>

#include <tool/io/files.h>

#include "scratch_folder.h"

namespace {

/// The whole tour on the bundled models, run once at a small scale.
class Tour : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        folder_ = new test::ScratchFolder;
        tool::TourOptions options;
        options.outputFolder = *folder_ / "out";
        options.pixels = 0.12;
        std::ostringstream out;
        status_ = tool::runTour(options, out, false);
        log_ = out.str();
    }
    static void TearDownTestSuite()
    {
        delete folder_;
        folder_ = nullptr;
    }

    static std::vector<std::string> pictures()
    {
        std::vector<std::string> paths;
        for (auto const& entry : std::filesystem::directory_iterator(*folder_ / "out")) {
            if (entry.path().extension() == ".png") paths.push_back(entry.path().string());
        }
        return paths;
    }
    static std::string page() { return tool::readFile(*folder_ / "out/index.html"); }

    static test::ScratchFolder* folder_;
    static int status_;
    static std::string log_;
};
test::ScratchFolder* Tour::folder_ = nullptr;
int Tour::status_ = -1;
std::string Tour::log_;

TEST_F(Tour, HoldsEverythingItClaims)
{
    EXPECT_EQ(status_, 0) << log_;
    EXPECT_EQ(log_.find("DOES NOT HOLD"), std::string::npos) << log_;
}

TEST_F(Tour, SaysWhereThePageIs)
{
    EXPECT_NE(log_.find("out/index.html"), std::string::npos) << log_;
    EXPECT_EQ(log_.find('\r'), std::string::npos) << "no redrawn lines off a terminal";
    EXPECT_EQ(log_.find('\033'), std::string::npos);
}

TEST_F(Tour, EveryPictureDecodesAndShowsSomething)
{
    std::vector<std::string> const paths = pictures();
    EXPECT_GE(paths.size(), 6u);
    for (std::string const& path : paths) {
        SCOPED_TRACE(path);
        cairo_surface_t* const surface = cairo_image_surface_create_from_png(path.c_str());
        ASSERT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS);
        int const width = cairo_image_surface_get_width(surface);
        int const height = cairo_image_surface_get_height(surface);
        EXPECT_GE(width, 40);
        EXPECT_GE(height, 20);
        std::set<std::tuple<int, int, int>> colours;
        unsigned char const* const bytes = cairo_image_surface_get_data(surface);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                unsigned char const* const p = bytes + y * cairo_image_surface_get_stride(surface) + 4 * x;
                colours.emplace(p[0] / 16, p[1] / 16, p[2] / 16);
            }
        }
        EXPECT_GE(colours.size(), 8u) << "coarse colours in the picture";
        cairo_surface_destroy(surface);
    }
}

TEST_F(Tour, ThePageHoldsEveryPictureItself)
{
    std::string const html = page();
    std::size_t embedded = 0;
    for (std::size_t at = html.find("src=\""); at != std::string::npos; at = html.find("src=\"", at + 1)) {
        EXPECT_EQ(html.compare(at, 27, "src=\"data:image/png;base64,"), 0) << html.substr(at, 60);
        ++embedded;
    }
    EXPECT_EQ(embedded, pictures().size());
    for (std::string const outside : {"http:", "https:", "<link", "<script", "@import", "url("}) {
        EXPECT_EQ(html.find(outside), std::string::npos) << outside;
    }
}

TEST_F(Tour, EveryPictureHasACaption)
{
    std::string const html = page();
    for (std::size_t at = html.find("<figcaption>"); at != std::string::npos; at = html.find("<figcaption>", at + 1)) {
        EXPECT_GT(html.find("</figcaption>", at) - at, 40u) << html.substr(at, 80);
    }
}

} // namespace
