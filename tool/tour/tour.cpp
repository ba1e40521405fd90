#include <tool/tour/tour.h>

#include <chrono>
#include <cmath>
#include <filesystem>

#include <tool/draw/renderer.h>
#include <tool/io/files.h>
#include <tool/io/obj_reader.h>
#include <tool/io/weights.h>
#include <tool/models/models.h>
#include <tool/support/user_error.h>

namespace tool {
namespace {

struct Stage
{
    char const* name;
    void (*run)(TourContext&);
};

/// In the order of the page; later stages use what earlier ones leave in the context.
constexpr Stage kStages[] = {
    {"mesh function", meshFunctionStage}, {"saving", saveStage}, {"skeleton", skeletonStage}, {"fields", fieldStage},
    {"bone weights", heatStage},          {"poses", poseStage},
};

constexpr double kLargestCoordinate = 1e100; // squares and cubes of it are still numbers

/// What reads well may still be nothing that can be shown.
void checkThatItShows(TexturedMesh const& mesh, std::string const& file)
{
    for (Vector3 const& p : mesh.positions) {
        for (int k = 0; k < 3; ++k) {
            if (!(std::fabs(p[k]) < kLargestCoordinate)) {
                throw UserError(file, "a coordinate is beyond 1e100", "Export the mesh in another unit");
            }
        }
    }
    double largest = 0;
    for (Triangle const& t : mesh.texTriangles) {
        auto const corner = [&](std::size_t k) { return mesh.texcoords[static_cast<std::size_t>(t[k])]; };
        auto const a = corner(1) - corner(0);
        auto const b = corner(2) - corner(0);
        largest = std::fmax(largest, std::fabs(a.x * b.y - a.y * b.x));
    }
    // The threshold of mesh functions: triangles below it answer nothing.
    if (mesh.hasTexture() && !(largest >= 1e-16)) {
        throw UserError(file, "its texture coordinates cover no area", "Unwrap the mesh and export it again");
    }
}

/// Smooth distances start from a square of 1e13 and see nothing beyond it; vectors below 1e-13 have no direction.
constexpr double kLargestSkeleton = 1e6;
constexpr double kSmallestSkeleton = 1e-6;

void checkThatItShows(Skeleton const& skeleton, std::string const& file)
{
    for (Vector3 const& joint : skeleton.joints) {
        if (!(joint.length() <= kLargestSkeleton)) {
            throw UserError(file, "a joint is more than 1e6 units away from the origin",
                            "Export the skeleton in another unit");
        }
    }
    Vector3 low, high;
    boundsOf(skeleton.joints, low, high);
    if (low != high && dist(low, high) < kSmallestSkeleton) {
        throw UserError(file, "the skeleton is smaller than 1e-6 units", "Export the skeleton in another unit");
    }
}

void readInput(TourContext& tour)
{
    TourOptions const& options = tour.options;
    tour.skeletonIsBundled = options.skeletonFile.empty();
    tour.skeleton = tour.skeletonIsBundled ? parseTgf(bundledFigureTgf(), "figure.tgf") : readTgf(options.skeletonFile);
    if (!tour.skeletonIsBundled) checkThatItShows(tour.skeleton, options.skeletonFile);

    if (!options.meshFile.empty()) {
        tour.mesh = readObj(options.meshFile);
        tour.meshIsBundled = false;
        checkThatItShows(tour.mesh, options.meshFile);
        if (!tour.skeletonIsBundled) {
            tour.figure.positions = tour.mesh.positions;
            tour.figure.triangles = tour.mesh.triangles;
            tour.figure.normals = vertexNormals(tour.figure.positions, tour.figure.triangles);
        } else if (!tour.mesh.hasTexture()) {
            throw UserError(options.meshFile, "this mesh has no texture coordinates (no vt lines)",
                            "Unwrap it in a modelling program and export it again, or add --skeleton to pose it");
        }
    }
    if (!options.weightsFile.empty()) {
        if (tour.figure.positions.empty()) {
            throw UserError(options.weightsFile, "weights need the mesh and the bones they are for",
                            "Add --mesh and --skeleton");
        }
        tour.givenWeights = parseDmat(readFile(options.weightsFile), options.weightsFile, tour.figure.positions.size(),
                                      tour.skeleton.bones.size());
    }
    if (!tour.mesh.hasTexture()) {
        tour.mesh = parseObj(bundledKoiObj(), "koi.obj");
        tour.meshIsBundled = true;
    }
}

} // namespace

int runTour(TourOptions const& options, std::ostream& out, bool terminal)
{
    auto const started = std::chrono::steady_clock::now();
    Progress progress(out, terminal);
    Report report(options.outputFolder, "A tour of sinew",
                  "Everything on this page was computed by the library while the page was made: "
                  "the pictures, the numbers and the checks.");
    TourContext tour{options, progress, report};
    readInput(tour);
    makeWritableFolder(options.outputFolder);

    for (Stage const& stage : kStages) {
        progress.begin(stage.name);
        stage.run(tour);
        progress.end();
    }

    double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::string const page = report.write("Made in " + niceNumber(seconds, 3) + " seconds.");
    out << "\nThe page:     " << std::filesystem::absolute(page).lexically_normal().string()
        << "\nThe pictures: the .png files beside it\n";
    for (std::string const& claim : report.failedClaims()) out << "DOES NOT HOLD: " << claim << "\n";
    return report.failedClaims().empty() ? 0 : 1;
}

} // namespace tool
