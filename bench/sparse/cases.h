#pragma once

/// The matrices that all benches of this module use. Each is made once.

#include <map>
#include <memory>
#include <string>

#include "sparse/matrices.h"

namespace bench {

inline SPDMatrix makeMatrix(std::string const& name)
{
    test::Random random(20250401);
    auto const grid2D = [&](int side) { return test::matrixOf(test::grid2D(side, side), side * side, random); };
    auto const grid3D = [&](int side) { return test::matrixOf(test::grid3D(side), side * side * side, random); };
    if (name.rfind("2D ", 0) == 0) return grid2D(std::stoi(name.substr(3)));
    if (name.rfind("3D ", 0) == 0) return grid3D(std::stoi(name.substr(3)));
    constexpr int side = 224; // the surface has 50176 vertices
    return test::matrixOf(test::shuffled(test::surfaceMesh(side, random), side * side, random), side * side, random);
}

/// "2D 100" is a grid of 100 x 100 nodes, "3D 20" is a grid of 20 x 20 x 20 nodes, and "surface" is a triangle mesh in
/// random numbering.
inline SPDMatrix const& matrixNamed(std::string const& name)
{
    static std::map<std::string, SPDMatrix> made;
    auto const found = made.find(name);
    return found != made.end() ? found->second : made.emplace(name, makeMatrix(name)).first->second;
}

} // namespace bench
