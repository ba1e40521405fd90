#pragma once

/// A small scene for every outcome code of every intersection record, drawn and asked.

#include <string>
#include <vector>

#include <tool/draw/canvas.h>

namespace tool {

/// What came of one scene: the record's name, the code that the scene was built for and the code that was answered.
struct OutcomeScene
{
    std::string record;
    int expected = -1;
    int answered = -1;
};

constexpr double kOutcomePanelWidth = 1200;
constexpr double kOutcomePanelHeight = 1150;

/// Draws all scenes on a sheet of the size above, a row a record, and returns them in the order of the sheet.
std::vector<OutcomeScene> drawOutcomePanel(Canvas& sheet);

} // namespace tool
