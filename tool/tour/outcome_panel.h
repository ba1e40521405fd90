#pragma once

/// A picture with a small scene for every outcome code of every intersection record.

#include <string>
#include <vector>

#include <tool/draw/canvas.h>

namespace tool {

/// One scene and its outcome.
struct OutcomeScene
{
    std::string record; ///< name of the record's class
    int expected = -1;  ///< the code that the scene is made for
    int result = -1;    ///< the code that the record returned
};

constexpr double kOutcomePanelWidth = 1200;
constexpr double kOutcomePanelHeight = 1150;

/// Draws all scenes on a sheet of the size above, with one row for each record. Returns them in the order of the sheet.
std::vector<OutcomeScene> drawOutcomePanel(Canvas& sheet);

} // namespace tool
