#pragma once

/// The command `sinew tour`.

#include <ostream>

#include <tool/tour/stage.h>

namespace tool {

/// Runs every stage on a model and writes a page of pictures to the output folder.
///
/// @param out  receives the progress and the paths of the page and the pictures.
/// @param terminal  whether `out` can redraw a line.
///
/// Returns 0, or 1 if a check of a stage fails; the failed checks are listed on `out` and on the page. Throws
/// `UserError` for bad input and for an output folder that cannot be written.
int runTour(TourOptions const& options, std::ostream& out, bool terminal);

} // namespace tool
