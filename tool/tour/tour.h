#pragma once

/// The guided tour: runs every stage on a model and leaves a page of pictures.

#include <ostream>

#include <tool/tour/stage.h>

namespace tool {

/// Runs the tour. Progress and the place of the pictures go to `out`, which `terminal` says can redraw a line.
///
/// Returns 0, or 1 when something that a stage checked does not hold (it is listed on `out` and on the page). Bad input
/// and an output folder that cannot be written throw `UserError`.
int runTour(TourOptions const& options, std::ostream& out, bool terminal);

} // namespace tool
