#pragma once

// Runs single stages of the tour with small pictures, in a scratch folder.

#include <sstream>
#include <string>

#include <tool/io/files.h>
#include <tool/tour/stage.h>

#include "scratch_folder.h"

namespace test {

// The context of a stage. A test fills `tour`, calls the stage, and reads `report`, `folder` and `page()`.
struct StageRun
{
    ScratchFolder folder;
    tool::TourOptions options;
    std::ostringstream log;
    tool::Progress progress{log, false};
    tool::Report report{folder / "", "title", "subtitle"};
    tool::TourContext tour{options, progress, report};

    StageRun() { options.pixels = 0.1; }

    std::string page() const { return tool::readFile(report.write("")); }
};

} // namespace test
