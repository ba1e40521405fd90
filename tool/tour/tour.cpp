#include <tool/tour/tour.h>

#include <chrono>
#include <filesystem>

#include <tool/io/files.h>
#include <tool/io/obj_reader.h>
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
    {"mesh function", meshFunctionStage},
};

void readInput(TourContext& tour)
{
    TourOptions const& options = tour.options;
    tour.skeletonIsBundled = options.skeletonFile.empty();
    tour.skeleton = tour.skeletonIsBundled ? parseTgf(bundledFigureTgf(), "figure.tgf") : readTgf(options.skeletonFile);

    if (!options.meshFile.empty()) {
        tour.mesh = readObj(options.meshFile);
        tour.meshIsBundled = false;
        if (!tour.skeletonIsBundled) {
            tour.figure.positions = tour.mesh.positions;
            tour.figure.triangles = tour.mesh.triangles;
        } else if (!tour.mesh.hasTexture()) {
            throw UserError(options.meshFile, "this mesh has no texture coordinates (no vt lines)",
                            "Unwrap it in a modelling program and export it again, or add --skeleton to pose it");
        }
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
