// The program `sinew`, which applies the library to the user's models. `sinew --help` lists its commands.

#include <algorithm>
#include <exception>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include <selftest/report.h>
#include <tool/solve/solve.h>
#include <tool/support/arguments.h>
#include <tool/support/user_error.h>
#if defined(SINEW_TOOL_PICTURES)
#include <tool/tour/tour.h>
#endif

namespace {

constexpr int kUserErrorStatus = 1;
constexpr int kInternalErrorStatus = 3;

#if defined(SINEW_TOOL_PICTURES)
void addTour(CLI::App& app, tool::TourOptions& options, int& status)
{
    CLI::App* const tour =
        app.add_subcommand("tour", "Run every module of the library on a model, and write a page with pictures");
    tour->add_option(
        "--mesh", options.meshFile,
        "a textured mesh (Wavefront .obj, or binary glTF .glb, which may have a skeleton and weights); default: a "
        "koi that comes with the program");
    tour->add_option("--skeleton", options.skeletonFile,
                     "joints and bones (.tgf); default: a standing figure that comes with the program");
    tour->add_option("--weights", options.weightsFile, "bone weights of the mesh (.dmat)");
    tour->add_option("--output", options.outputFolder, "the folder for the page and its pictures")
        ->capture_default_str();
    tour->add_option("--scale", options.pixels, "the size of the pictures; 1 gives a width of 1200 pixels")
        ->check(CLI::Range(0.05, 8.0))
        ->capture_default_str();
    tour->callback([&] { status = tool::runTour(options, std::cout, tool::outputIsTerminal()); });
}
#endif

void addSolve(CLI::App& app, tool::SolveOptions& options, int& status)
{
    CLI::App* const solve = app.add_subcommand("solve", "Order, factor and solve a sparse symmetric system");
    solve->add_option("matrix", options.matrixFile, "a symmetric positive-definite matrix (Matrix Market .mtx)")
        ->required();
#if defined(SINEW_TOOL_PICTURES)
    solve
        ->add_option("--picture", options.pictureFile,
                     "the file for a picture of its pattern before and after the ordering")
        ->capture_default_str();
#endif
    solve->callback([&] { status = tool::runSolve(options, std::cout); });
}

void addSelftest(CLI::App& app, std::vector<std::string>& groups, int& status)
{
    CLI::App* const selftest = app.add_subcommand(
        "selftest", "Compare the bits of the library's results on this system with those of all others");
    selftest->add_option("groups", groups,
                         "names or beginnings of names, e.g. core or fields.PolylineProjector; default: all");
    selftest->callback([&] {
        try {
            status = selftest::runSelftest(groups, std::cout);
        } catch (std::invalid_argument const& error) {
            throw tool::UserError(error.what());
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("sinew: exact, fast low-level geometry, applied to real models", "sinew");
    app.require_subcommand(1);
    app.set_version_flag("--version", "sinew " SINEW_VERSION);
#if defined(SINEW_TOOL_PICTURES)
    app.footer("Try: sinew tour");
#else
    app.footer("Try: sinew selftest");
#endif
    app.allow_windows_style_options(false); // /models/box.obj is a path on Windows too
    int status = 0;
#if defined(SINEW_TOOL_PICTURES)
    tool::TourOptions tourOptions;
    addTour(app, tourOptions, status);
#endif
    tool::SolveOptions solveOptions;
    addSolve(app, solveOptions, status);
    std::vector<std::string> selftestGroups;
    addSelftest(app, selftestGroups, status);
    try {
        std::vector<std::string> arguments = tool::programArguments(argc, argv);
        if (arguments.empty()) {
            std::cout << app.help();
            return 0;
        }
        std::reverse(arguments.begin(), arguments.end()); // the parser takes them from the end
        app.parse(std::move(arguments));
        return status;
    } catch (CLI::ParseError const& error) {
        return app.exit(error);
    } catch (tool::UserError const& error) {
        std::cerr << "sinew: " << error.what() << std::endl;
        return kUserErrorStatus;
    } catch (std::bad_alloc const&) {
        std::cerr << "sinew: there is not enough memory for this model." << std::endl;
        return kUserErrorStatus;
    } catch (std::exception const& error) {
        std::cerr << "sinew: internal error: " << error.what() << std::endl;
        return kInternalErrorStatus;
    }
}
