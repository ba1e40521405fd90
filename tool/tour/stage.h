#pragma once

/// The stages of the tour, and what they share.
///
/// A stage is a free function `void xyzStage(TourContext& tour)` in a file of its own, `tool/tour/xyz_stage.cpp`. It is
/// declared at the end of this header and listed, in the order of the tour, in `tool/tour/tour.cpp`. All geometry comes
/// from the library; a stage only prepares input, draws and tells. It:
///
///   1. opens its section:            Section& section = tour.report.add("Distances");
///      and says in a sentence or two, to somebody who has never heard of sinew, what is shown: section.text("...")
///   2. draws on sheets of its own:   Canvas sheet = tour.sheet(1200, 700);
///      in units, never in pixels; per-pixel pictures ask `sheet.pixels(units)` how many pixels they need, fill an
///      `Image` of that size and put it on the sheet
///   3. adds them with a caption:     section.picture("distances.png", sheet, "What one sees.", Width::half);
///   4. adds numbers and tables:      section.numbers("Sizes", {{"vertices", niceCount(n)}});
///   5. adds what it tested:          section.check(open == 0, "The surface is closed", "0 open edges");
///      a check that fails makes the whole tour end with a non-zero status, so check what must hold, not what is pretty
///   6. tells of long work:           tour.progress.update(fractionDone);
///   7. leaves for later stages what they need in the fields of the context that say so.
///
/// Bad input from the user throws `UserError`; nothing else is caught. A stage takes at most a few seconds at full
/// size, and well under a second at the tests' scale: let the effort follow `tour.pixels`.

#include <optional>
#include <string>
#include <vector>

#include <tool/draw/canvas.h>
#include <tool/figure/bone_heat.h>
#include <tool/io/skeleton.h>
#include <tool/io/textured_mesh.h>
#include <tool/report/report.h>
#include <tool/support/progress.h>

namespace tool {

/// A closed surface around a skeleton: what is posed.
struct Figure
{
    std::vector<Vector3> positions;
    std::vector<Vector3> normals; ///< unit, outwards, parallel to `positions`
    std::vector<Triangle> triangles;
};

/// What the user asked for; empty paths stand for the models that come with the program.
struct TourOptions
{
    std::string meshFile;
    std::string skeletonFile;
    std::string weightsFile;
    std::string outputFolder = "sinew-tour";
    double pixels = 1; ///< pixels a unit of every picture has; the tests take few
};

struct TourContext
{
    TourOptions const& options;
    Progress& progress;
    Report& report;

    /// The textured model. It always has texture coordinates: where the user's has none, but came with a skeleton, this
    /// is the bundled one.
    TexturedMesh mesh = {};
    bool meshIsBundled = true;

    /// The skeleton, the user's or the bundled standing figure (y up, metres, facing +z).
    Skeleton skeleton = {};
    bool skeletonIsBundled = true;

    /// The surface that is posed: the user's `--mesh` if it came with a `--skeleton`, otherwise made around the
    /// skeleton by the field stage. Empty until then.
    Figure figure = {};

    /// Bone weights of `figure`, made by the heat stage. Empty until then.
    BoneWeights weights = {};

    /// The weights the user gave with `--weights`, for comparison and for posing; empty without.
    BoneWeights givenWeights = {};

    /// A sheet of width x height units with the resolution the user asked for.
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
