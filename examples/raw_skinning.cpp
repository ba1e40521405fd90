// Skinning of an interleaved buffer of floats, as a host without the classes of sinew/skinning/display_data.h holds it:
// a bar with 4 influences a vertex is bent by two bones, straight into a second buffer, frame by frame.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <sinew/skinning/skin.h>

namespace {

// What a vertex buffer on a graphics card often looks like. Unused places of `bones` hold 255.
struct RestVertex
{
    float position[3];
    float normal[3];
    float uv[2];
    std::uint8_t bones[4];
    float weights[4];
};

struct PosedVertex
{
    float position[3];
    float normal[3];
};

// A square bar along x from 0 to 2. Bone 0 moves the first half, bone 1 the second one; around x = 1 both share.
std::vector<RestVertex> makeBar(int rings)
{
    std::vector<RestVertex> bar;
    for (int ring = 0; ring < rings; ++ring) {
        float const x = 2.0f * static_cast<float>(ring) / static_cast<float>(rings - 1);
        float const second = std::fmin(1.0f, std::fmax(0.0f, 2.0f * (x - 0.75f)));
        for (int corner = 0; corner < 4; ++corner) {
            float const y = corner % 2 == 0 ? -0.1f : 0.1f;
            float const z = corner / 2 == 0 ? -0.1f : 0.1f;
            bar.push_back({{x, y, z}, {0, y, z}, {x, 0}, {0, 1, 255, 255}, {1 - second, second, 0, 0}});
        }
    }
    return bar;
}

// The poses of a frame: the first bone rests, the second one turns upwards about its start (1, 0, 0).
std::vector<BoneTransform> poseOf(double angle)
{
    Vector3 const start(1, 0, 0);
    Vector3 const end(2, 0, 0);
    Vector3 const posedEnd = start + Vector3(std::cos(angle), std::sin(angle), 0);
    return {BoneTransform(), BoneTransform(start, end, start, posedEnd, 0)};
}

sinew::SkinInput inputOf(std::vector<RestVertex> const& bar)
{
    using sinew::Strided;
    constexpr std::size_t kStride = sizeof(RestVertex);
    sinew::SkinInput input;
    input.positions = Strided<float const>(bar[0].position, bar.size(), kStride);
    input.normals = Strided<float const>(bar[0].normal, bar.size(), kStride);
    input.influences = {4, Strided<std::uint8_t const>(bar[0].bones, bar.size(), kStride),
                        Strided<float const>(bar[0].weights, bar.size(), kStride)};
    return input;
}

sinew::SkinOutput outputTo(std::vector<PosedVertex>& posed)
{
    using sinew::Strided;
    return {Strided<float>(posed[0].position, posed.size(), sizeof(PosedVertex)),
            Strided<float>(posed[0].normal, posed.size(), sizeof(PosedVertex))};
}

bool isNear(float const (&v)[3], double x, double y, double z)
{
    return std::fabs(v[0] - x) < 1e-6 && std::fabs(v[1] - y) < 1e-6 && std::fabs(v[2] - z) < 1e-6;
}

} // namespace

int main()
{
    std::vector<RestVertex> const bar = makeBar(21);
    std::vector<PosedVertex> posed(bar.size());
    sinew::SkinInput input = inputOf(bar);
    for (int frame = 0; frame <= 4; ++frame) {
        std::vector<BoneTransform> const bones = poseOf(frame * 0.39269908169872414); // steps of 22.5 degrees
        input.bones = bones.data();
        input.boneCount = bones.size();
        if (sinew::skin(input, outputTo(posed)) != bar.size()) return 1;
        PosedVertex const& tip = posed.back();
        std::printf("frame %d: the last corner is at (%.3f, %.3f, %.3f), its normal is (%.3f, %.3f, %.3f)\n", frame,
                    tip.position[0], tip.position[1], tip.position[2], tip.normal[0], tip.normal[1], tip.normal[2]);
    }
    // At 90 degrees the corner (2, 0.1, 0.1) has turned to (0.9, 1, 0.1), its normal from +y to -x.
    double const half = std::sqrt(0.5);
    bool const isRight = isNear(posed.back().position, 0.9, 1.0, 0.1) && isNear(posed.back().normal, -half, 0, half) &&
                         isNear(posed.front().position, 0.0, -0.1, -0.1);
    return isRight ? 0 : 1;
}
