#pragma once

/// The stages of the tour, and the data that they share.
///
/// A stage is a free function `void xyzStage(TourContext& tour)` in `tool/tour/xyz_stage.cpp`. It is declared at the
/// end of this header and listed, in the order of the tour, in `tool/tour/tour.cpp`. All geometry comes from the
/// library; a stage only prepares input, draws, and describes the results. It:
///
///   1. opens its section:            Section& section = tour.report.add("Distances");
///      and describes in one or two sentences what it shows: section.text("...");
///      the reader does not know sinew
///   2. draws on sheets:              Canvas sheet = tour.sheet(1200, 700);
///      in units, never in pixels; a picture that is computed pixel by pixel is an `Image` of `sheet.pixels(units)`
///      pixels, which is then put on the sheet
///   3. adds them with a caption:     section.picture("distances.png", sheet, "What is to be seen.", Width::half);
///   4. adds numbers and tables:      section.numbers("Sizes", {{"vertices", niceCount(n)}});
///   5. adds what it has tested:      section.check(open == 0, "The surface is closed", "0 open edges");
///      a check that fails gives the program a non-zero status, so check only what must hold for every input
///   6. reports progress:             tour.progress.update(fractionDone);
///   7. writes results that later stages need to the fields of the context that are documented for it.
///
/// Bad input from the user throws `UserError`; no other exception is caught. A stage takes at most a few seconds at
/// full size, and much less than a second at the scale of the tests. Its effort should therefore depend on
/// `tour.options.pixels`.

#include <optional>
#include <string>
#include <vector>

#include <tool/draw/canvas.h>
#include <tool/io/skeleton.h>
#include <tool/io/textured_mesh.h>
#include <tool/io/weights.h>
#include <tool/report/report.h>
#include <tool/support/progress.h>

namespace tool {

/// The surface that is posed.
struct Figure
{
    std::vector<Vector3> positions;
    std::vector<Vector3> normals; ///< unit, outwards, parallel to `positions`
    std::vector<Triangle> triangles;
};

/// What the user has chosen on the command line. An empty path stands for a model that comes with the program.
struct TourOptions
{
    std::string meshFile;
    std::string skeletonFile;
    std::string weightsFile;
    std::string outputFolder = "sinew-tour";
    double pixels = 1; ///< pixels for each unit of a picture; small in the tests
};

/// The input of the tour, its output, and the results that stages pass on.
struct TourContext
{
    TourOptions const& options;
    Progress& progress;
    Report& report;

    /// The textured model. It always has texture coordinates: if the user's mesh has none, this is the bundled one.
    TexturedMesh mesh = {};
    bool meshIsBundled = true;

    /// The skeleton: the user's, or the bundled standing figure (y up, in metres, facing +z).
    Skeleton skeleton = {};
    bool skeletonIsBundled = true;

    /// The surface that is posed: the user's `--mesh` if a `--skeleton` is given too, otherwise the body that the field
    /// stage makes around the skeleton. Empty before that stage.
    Figure figure = {};

    /// Bone weights of `figure`, computed by the heat stage. Empty before that stage.
    BoneWeights weights = {};

    /// The user's `--weights`, for comparison and for posing. Empty if there are none.
    BoneWeights givenWeights = {};

    /// A sheet of width x height units with the resolution that the user has chosen.
    Canvas sheet(double width, double height, Colour background = palette::paper) const
    {
        return {width, height, options.pixels, background};
    }
};

void meshFunctionStage(TourContext& tour);
void skeletonStage(TourContext& tour);
void fieldStage(TourContext& tour);
void poseStage(TourContext& tour);
void heatStage(TourContext& tour);
void saveStage(TourContext& tour);

} // namespace tool
