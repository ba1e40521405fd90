#pragma once

/// Animated PNG: frames that browsers play, still frames for programs that only know PNG.
/// Source of the format: Animated PNG (APNG), Mozilla, 2004; PNG, Third Edition, W3C.

#include <string>
#include <vector>

namespace tool {

/// One endlessly repeated animation of PNG files of equal size; the first one is also what a still shows.
/// @param millisecondsPerFrame  1 to 65535.
std::string animatedPng(std::vector<std::string> const& frames, int millisecondsPerFrame);

} // namespace tool
