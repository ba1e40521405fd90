#pragma once

/// Input for the skinning tests: surfaces with random influences and placements.

#include <sinew/skinning/bone_transform_vector.h>

#include "support/random.h"

namespace test {

inline BoneTransform randomBone(Random& random)
{
    return BoneTransform(random.point(), random.point(), random.point(), random.point(), random.uniform(-3, 3));
}

inline smart_ptr<BoneTransformVector> randomBones(Random& random, int count)
{
    std::vector<BoneTransform> bones;
    for (int i = 0; i < count; ++i) bones.push_back(randomBone(random));
    return smart_ptr<BoneTransformVector>(new BoneTransformVector(std::move(bones)));
}

inline Transform randomPlacement(Random& random)
{
    Transform placement(random.point(), random.uniform(-3, 3));
    placement.translation = random.point();
    placement.scale = random.uniform(0.1, 3.0) * (random.oneIn(2) ? 1 : -1);
    return placement;
}

/// A surface of random vertices, normals and triangles.
inline smart_ptr<SurfaceGeometryData> randomSurface(Random& random, int vertices)
{
    smart_ptr<SurfaceGeometryData> surface(new SurfaceGeometryData);
    for (int i = 0; i < vertices; ++i) {
        surface->positions.push_back(random.point());
        surface->normals.push_back(UVector3(random.point()));
    }
    for (int i = 0; i + 2 < vertices; ++i) surface->indices.insert(surface->indices.end(), {i, i + 1, i + 2});
    return surface;
}

/// Influence lists of 0 to `most` elements that refer to `bones` bones. The weights do not sum to 1.
inline smart_ptr<BoneWeightTable> randomWeights(Random& random, int vertices, int bones, int most)
{
    smart_ptr<BoneWeightTable> table(new BoneWeightTable);
    for (int i = 0; i < vertices; ++i) {
        std::vector<std::pair<int, double>> list;
        for (int k = random.below(most + 1); k > 0; --k) {
            int const bone = random.below(bones);
            list.emplace_back(bone, random.uniform(-0.2, 1.0));
        }
        table->influences.push_back(list);
    }
    return table;
}

inline smart_ptr<DisplayData> randomDisplay(Random& random, int vertices, int bones, int most = 4)
{
    smart_ptr<DisplayData> display(new DisplayData);
    display->surface = randomSurface(random, vertices);
    display->boneWeights = randomWeights(random, vertices, bones, most);
    display->placement = randomPlacement(random);
    return display;
}

} // namespace test
