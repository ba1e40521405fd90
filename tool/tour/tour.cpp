#include <tool/tour/tour.h>

#include <cmath>
#include <filesystem>

#include <tool/draw/renderer.h>
#include <tool/io/files.h>
#include <tool/io/glb_reader.h>
#include <tool/io/obj_reader.h>
#include <tool/io/weights.h>
#include <tool/models/models.h>
#include <tool/support/as_index.h>
#include <tool/support/bounds.h>
#include <tool/support/stopwatch.h>
#include <tool/support/user_error.h>

namespace tool {
namespace {

struct Stage
{
    char const* name;
    void (*run)(TourContext&);
};

// In the order of the page. Later stages use results of earlier ones from the context.
constexpr Stage kStages[] = {
    {"mesh function", meshFunctionStage}, {"saving", saveStage}, {"skeleton", skeletonStage}, {"fields", fieldStage},
    {"bone weights", heatStage},          {"poses", poseStage},
};

// Twice the area of a triangle of the domain, below which a mesh function has no value in it.
constexpr double kSmallestTwiceArea = 1e-16;
constexpr double kLargestCoordinate = 1e100; // its square and its cube are finite

// Refuses a mesh that can be read but not shown.
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
        auto const corner = [&](std::size_t k) { return mesh.texcoords[asIndex(t[k])]; };
        auto const a = corner(1) - corner(0);
        auto const b = corner(2) - corner(0);
        largest = std::fmax(largest, std::fabs(a.x * b.y - a.y * b.x));
    }
    if (mesh.hasTexture() && !(largest >= kSmallestTwiceArea)) {
        throw UserError(file, "its texture coordinates cover no area", "Unwrap the mesh and export it again");
    }
}

// Smooth distances find no points farther than the square root of 1e13. Vectors shorter than 1e-13 have no direction.
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

// The mesh of the user, and the skeleton and the weights that its file may have.
GlbModel readModel(std::string const& file)
{
    std::string const bytes = readFile(file);
    if (isGlb(bytes)) return parseGlb(bytes, file);
    return {parseObj(bytes, file), {}, {}};
}

// A skeleton of its own file replaces that of the mesh's file, and the weights that belong to it.
void readSkeleton(TourContext& tour, GlbModel& model)
{
    std::string const& file = tour.options.skeletonFile;
    tour.skeletonIsBundled = file.empty() && model.skeleton.bones.empty();
    if (tour.skeletonIsBundled) {
        tour.skeleton = parseTgf(bundledFigureTgf(), "figure.tgf");
    } else if (!file.empty()) {
        tour.skeleton = readTgf(file);
        checkThatItShows(tour.skeleton, file);
    } else {
        tour.skeleton = std::move(model.skeleton);
        tour.givenWeights = std::move(model.weights);
        checkThatItShows(tour.skeleton, tour.options.meshFile);
    }
}

// With a skeleton of the user the mesh is the surface that is posed; it then needs no texture.
void readMesh(TourContext& tour, TexturedMesh& mesh)
{
    std::string const& file = tour.options.meshFile;
    tour.mesh = std::move(mesh);
    tour.meshIsBundled = false;
    checkThatItShows(tour.mesh, file);
    if (!tour.skeletonIsBundled) {
        tour.figure.positions = tour.mesh.positions;
        tour.figure.triangles = tour.mesh.triangles;
        tour.figure.normals = vertexNormals(tour.figure.positions, tour.figure.triangles);
    } else if (!tour.mesh.hasTexture()) {
        throw UserError(file, "this mesh has no texture coordinates",
                        "Unwrap it in a modelling program and export it again, or add --skeleton to pose it");
    }
}

void readWeights(TourContext& tour)
{
    std::string const& file = tour.options.weightsFile;
    if (file.empty()) return;
    if (tour.figure.positions.empty()) {
        throw UserError(file, "weights need a mesh and a skeleton", "Add --mesh and --skeleton");
    }
    tour.givenWeights = parseDmat(readFile(file), file, tour.figure.positions.size(), tour.skeleton.bones.size());
}

void readInput(TourContext& tour)
{
    std::string const& meshFile = tour.options.meshFile;
    GlbModel model = meshFile.empty() ? GlbModel() : readModel(meshFile);
    readSkeleton(tour, model);
    if (!meshFile.empty()) readMesh(tour, model.mesh);
    readWeights(tour);
    if (!tour.mesh.hasTexture()) {
        tour.mesh = parseObj(bundledKoiObj(), "koi.obj");
        tour.meshIsBundled = true;
    }
}

} // namespace

int runTour(TourOptions const& options, std::ostream& out, bool terminal)
{
    Stopwatch const watch;
    Progress progress(out, terminal);
    Report report(options.outputFolder, "A tour of sinew",
                  "The library computed everything on this page while the page was made: "
                  "the pictures, the numbers and the checks.");
    TourContext tour{options, progress, report};
    readInput(tour);
    makeWritableFolder(options.outputFolder);

    for (Stage const& stage : kStages) {
        progress.begin(stage.name);
        stage.run(tour);
        progress.end();
    }

    std::string const page = report.write("Made in " + niceNumber(watch.seconds(), 3) + " seconds.");
    out << "\nThe page:     " << textOf(std::filesystem::absolute(pathOf(page)).lexically_normal())
        << "\nThe pictures: the .png files in the same folder\n";
    for (std::string const& claim : report.failedClaims()) out << "CHECK FAILED: " << claim << "\n";
    return report.failedClaims().empty() ? 0 : 1;
}

} // namespace tool
