#pragma once

/// Animated PNG files. Browsers play them; programs that know only PNG show the first frame.
/// Source of the format: Animated PNG (APNG), Mozilla, 2004; PNG, Third Edition, W3C.

#include <string>
#include <vector>

namespace tool {

/// An animation of PNG files, repeated without end. Programs that know only PNG show the first frame.
///
/// @param frames  the bytes of at least one PNG file; all pictures have equal sizes.
/// @param millisecondsPerFrame  1 to 65535.
///
/// Throws `std::runtime_error` without frames, or when a frame is not a PNG file.
std::string animatedPng(std::vector<std::string> const& frames, int millisecondsPerFrame);

} // namespace tool
