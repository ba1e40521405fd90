// The program from the command line: its statuses and its messages.

#include <gtest/gtest.h>

#include "scratch_folder.h"

namespace {

using test::Outcome;
using test::quoted;
using test::ScratchFolder;

Outcome tour(std::string const& arguments)
{
    return test::run(quoted(SINEW_PROGRAM) + " tour --scale 0.05 " + arguments);
}

// Expects the status 1 and one line with the words.
void expectRefusal(Outcome const& outcome, std::string const& words)
{
    EXPECT_EQ(outcome.status, 1) << outcome.output;
    EXPECT_EQ(outcome.output.rfind("sinew: ", 0), 0u) << outcome.output;
    EXPECT_NE(outcome.output.find(words), std::string::npos) << outcome.output;
    EXPECT_EQ(outcome.output.find('\n'), outcome.output.size() - 1) << "one line: " << outcome.output;
}

std::string const kTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0.2\nvt 0.1 0.1\nvt 0.9 0.1\nvt 0.1 0.9\n";

TEST(Program, WithoutACommandPrintsItsHelpWithALineThatWorks)
{
    Outcome const outcome = test::run(quoted(SINEW_PROGRAM));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.output.find("selftest"), std::string::npos);
    EXPECT_NE(outcome.output.find("Try: sinew tour"), std::string::npos);
    EXPECT_EQ(test::run(quoted(SINEW_PROGRAM) + " --help").output, outcome.output);
    EXPECT_EQ(test::run(quoted(SINEW_PROGRAM) + " --version").output.rfind("sinew ", 0), 0u);
    EXPECT_EQ(test::run(quoted(SINEW_PROGRAM) + " --version").status, 0);
    EXPECT_NE(test::run(quoted(SINEW_PROGRAM) + " dance").status, 0);
}

TEST(Program, ToursTheUsersMesh)
{
    ScratchFolder const folder;
    std::string const mesh = folder.write("my mesh.obj", kTriangle + "f 1/1 2/2 3/3\n");
    Outcome const outcome = tour("--mesh " + quoted(mesh) + " --output " + quoted(folder / "new folder/out"));
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_TRUE(std::filesystem::exists(folder / "new folder/out/index.html"));
}

TEST(Program, RefusesMissingFilesFoldersAndEmptyFiles)
{
    ScratchFolder const folder;
    expectRefusal(tour("--mesh " + quoted(folder / "none.obj")), "none.obj: no such file");
    expectRefusal(tour("--skeleton " + quoted(folder / "none.tgf")), "none.tgf: no such file");
    expectRefusal(tour("--mesh " + quoted(folder / "")), "this is a folder");
    expectRefusal(tour("--mesh " + quoted(folder.write("empty.obj", ""))), "empty.obj: the file is empty");
}

TEST(Program, RefusesDamagedFilesWithTheirLine)
{
    ScratchFolder const folder;
    expectRefusal(tour("--mesh " + quoted(folder.write("nan.obj", "v 0 0 0\nv nan 0 0\n"))), "nan.obj:2: ");
    expectRefusal(tour("--mesh " + quoted(folder.write("far.obj", kTriangle + "f 1/1 2/2 30/3\n"))), "far.obj:7: ");
    expectRefusal(tour("--skeleton " + quoted(folder.write("s.tgf", "1 0 0 0\n#\n1 2\n"))), "s.tgf:3: ");
}

TEST(Program, RefusesAMeshWithoutTexture)
{
    ScratchFolder const folder;
    expectRefusal(tour("--mesh " + quoted(folder.write("bare.obj", kTriangle + "f 1 2 3\n"))),
                  "bare.obj: this mesh has no texture coordinates");
}

TEST(Program, RefusesWeightsOfAnotherModel)
{
    ScratchFolder const folder;
    std::string const weights = " --weights " + quoted(folder.write("w.dmat", "1 2\n1\n1\n"));
    expectRefusal(tour(weights), "w.dmat: weights need a mesh and a skeleton");
    std::string const mesh = " --mesh " + quoted(folder.write("m.obj", kTriangle + "f 1/1 2/2 3/3\n"));
    std::string const bones = " --skeleton " + quoted(folder.write("s.tgf", "1 0 0 0\n2 1 0 0\n#\n1 2\n"));
    expectRefusal(tour(mesh + bones + weights), "w.dmat:1: 2 rows (vertices), but the model has 3");
}

TEST(Program, RefusesAFolderItCannotWrite)
{
    ScratchFolder const folder;
    std::string const file = folder.write("file", "x");
    expectRefusal(tour("--output " + quoted(file)), "file: this is a file, not a folder");
    expectRefusal(tour("--output " + quoted(file + "/below")), "the folder cannot be created");
}

TEST(Program, RefusesMeshesThatCannotBeShown)
{
    ScratchFolder const folder;
    std::string const point = "v 0 0 0\nvt 0 0\nf 1/1 1/1 1/1\n";
    std::string const line = "v 0 0 0\nv 1 0 0\nvt 0 0\nvt 1 0\nf 1/1 2/2 1/1\n";
    std::string const huge = "v 1e300 0 0\nv 0 1e300 0\nv 0 0 1\nvt 1 0\nvt 0 1\nvt 0 0\nf 1/1 2/2 3/3\n";
    expectRefusal(tour("--mesh " + quoted(folder.write("p.obj", point))),
                  "p.obj: its texture coordinates cover no area");
    expectRefusal(tour("--mesh " + quoted(folder.write("l.obj", line))),
                  "l.obj: its texture coordinates cover no area");
    expectRefusal(tour("--mesh " + quoted(folder.write("h.obj", huge))), "h.obj: a coordinate is beyond 1e100");
}

TEST(Program, RefusesSkeletonsThatAreTooLargeOrTooSmall)
{
    ScratchFolder const folder;
    expectRefusal(tour("--skeleton " + quoted(folder.write("s.tgf", "1 2e6 0 0\n2 0 0 0\n#\n1 2\n"))),
                  "s.tgf: a joint is more than 1e6 units away");
    expectRefusal(tour("--skeleton " + quoted(folder.write("s.tgf", "1 2e-7 0 0\n2 0 0 0\n#\n1 2\n"))),
                  "s.tgf: the skeleton is smaller than 1e-6 units");
}

TEST(Program, ToursDegenerateMeshes)
{
    ScratchFolder const folder;
    std::string const flatInSpace = "v 0 0 0\nvt 0 0\nvt 1 0\nvt 0 1\nf 1/1 1/2 1/3\n";
    std::string const large = "v 1e99 0 0\nv 0 1e99 0\nv 0 0 1\nvt 1e9 0\nvt 0 1e9\nvt 0 0\nf 1/1 2/2 3/3\n";
    std::string const tiny = "v 1e-300 0 0\nv 0 1e-300 0\nv 0 0 0\nvt 1 0\nvt 0 1\nvt 0 0\nf 1/1 2/2 3/3\n";
    std::string const twice = kTriangle + "f 1/1 2/2 3/3\nf 1/1 2/2 3/3\nf 3/3 2/2 1/1\nf 1/1 1/1 2/2\n";
    for (std::string const& text : {flatInSpace, large, tiny, twice}) {
        Outcome const outcome =
            tour("--mesh " + quoted(folder.write("degenerate.obj", text)) + " --output " + quoted(folder / "out"));
        EXPECT_EQ(outcome.status, 0) << text << outcome.output;
    }
}

} // namespace
