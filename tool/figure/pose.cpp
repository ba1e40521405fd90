#include <tool/figure/pose.h>

#include <algorithm>
#include <cmath>

#include <tool/support/as_index.h>

namespace tool {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kStraightSineSq = 1e-4; // squared sine of the angle between bones, below which they count as parallel
constexpr double kWaveDegrees = 38;      // amplitude of a bone's swing
constexpr double kPhasePerBone = 0.13;   // by which each bone swings later than the bone before it

Matrix3 rotationAbout(int axis, double degrees)
{
    Vector3 direction;
    direction[axis] = 1;
    return Matrix3::rotationMatrix(UVector3(direction), degrees * kPi / 180);
}

// The parent of every bone: the first bone that ends where it starts, or -1 if there is none.
std::vector<int> parentsOf(Skeleton const& skeleton)
{
    std::vector<int> boneInto(skeleton.joints.size(), -1);
    std::vector<int> parents;
    for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
        int& into = boneInto[asIndex(skeleton.bones[b][1])];
        if (into < 0) into = static_cast<int>(b);
    }
    for (auto const& bone : skeleton.bones) parents.push_back(boneInto[asIndex(bone[0])]);
    return parents;
}

// All bones in an order with parents before children. Bones of rings without a root come last, in file order.
std::vector<std::size_t> parentsFirst(std::vector<int> const& parents)
{
    std::vector<std::size_t> order;
    std::vector<bool> done(parents.size(), false);
    for (bool progress = true; progress;) {
        progress = false;
        for (std::size_t b = 0; b < parents.size(); ++b) {
            if (done[b] || (parents[b] >= 0 && !done[asIndex(parents[b])])) continue;
            done[b] = progress = true;
            order.push_back(b);
        }
    }
    for (std::size_t b = 0; b < parents.size(); ++b) {
        if (!done[b]) order.push_back(b);
    }
    return order;
}

double lowest(std::vector<Vector3> const& joints)
{
    double y = joints.empty() ? 0 : joints[0].y;
    for (Vector3 const& joint : joints) y = std::min(y, joint.y);
    return y;
}

// The angle about the posed direction which, applied after the smallest rotation from `rest` to `posed`, gives
// `orientation`.
double twistOf(Matrix3 const& orientation, Vector3 const& rest, Vector3 const& posed)
{
    UVector3 const axis(posed);
    Matrix3 const smallest = Matrix3::rotationMatrix(UVector3(rest), axis);
    return (orientation * smallest.transpose()).getRotationAngle(&axis);
}

} // namespace

Pose poseOf(Skeleton const& skeleton, std::vector<Turn> const& turns, double lift)
{
    Pose pose;
    pose.turns.resize(skeleton.bones.size());
    pose.lift = lift;
    for (Turn const& turn : turns) {
        for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
            if (skeleton.jointNames[asIndex(skeleton.bones[b][1])] != turn.joint) continue;
            pose.turns[b] = rotationAbout(turn.axis, turn.degrees) * pose.turns[b];
        }
    }
    return pose;
}

PosedSkeleton takePose(Skeleton const& skeleton, Pose const& pose)
{
    std::vector<int> const parents = parentsOf(skeleton);
    std::vector<Matrix3> orientation(skeleton.bones.size());
    std::vector<bool> placed(skeleton.joints.size(), false);
    PosedSkeleton result{skeleton.joints, std::vector<BoneTransform>(skeleton.bones.size())};
    for (std::size_t const b : parentsFirst(parents)) {
        auto const [from, to] = skeleton.bones[b];
        orientation[b] = parents[b] < 0 ? pose.turns[b] : orientation[asIndex(parents[b])] * pose.turns[b];
        if (placed[asIndex(to)]) continue;
        placed[asIndex(to)] = true;
        result.joints[asIndex(to)] =
            result.joints[asIndex(from)] + orientation[b] * (skeleton.endOf(b) - skeleton.startOf(b));
    }
    Vector3 const shift(0, lowest(skeleton.joints) - lowest(result.joints) + pose.lift, 0);
    for (Vector3& joint : result.joints) joint += shift;
    for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
        auto const [from, to] = skeleton.bones[b];
        Vector3 const& restStart = skeleton.startOf(b);
        Vector3 const& restEnd = skeleton.endOf(b);
        Vector3 const& start = result.joints[asIndex(from)];
        Vector3 const& end = result.joints[asIndex(to)];
        double const twist = twistOf(orientation[b], restEnd - restStart, end - start);
        result.bones[b] = BoneTransform(restStart, restEnd, start, end, twist);
    }
    return result;
}

Pose walking(Skeleton const& skeleton, double phase)
{
    std::vector<Turn> turns;
    double const left = 2 * kPi * phase;
    for (bool const isLeft : {true, false}) {
        std::string const side = isLeft ? "left-" : "right-";
        double const swing = isLeft ? left : left + kPi;
        double const outside = isLeft ? 1 : -1;
        // Legs point down, so a negative turn about x moves them forwards. The knee bends while its leg swings.
        double const lifted = std::max(0.0, std::cos(swing));
        turns.push_back({side + "knee", 0, -25 * std::sin(swing) - 8 * lifted});
        turns.push_back({side + "ankle", 0, 6 + 46 * lifted * lifted});
        turns.push_back({side + "toes", 0, 6 - 14 * lifted});
        // Arms hang closer to the body than at rest, and swing opposite to the legs.
        turns.push_back({side + "elbow", 2, -16 * outside});
        turns.push_back({side + "elbow", 0, 24 * std::sin(swing)});
        turns.push_back({side + "wrist", 0, -26 + 12 * std::sin(swing)});
    }
    turns.push_back({"waist", 0, 3});
    turns.push_back({"chest", 1, 7 * std::sin(left)});
    turns.push_back({"neck", 1, -6 * std::sin(left)});
    return poseOf(skeleton, turns);
}

Pose waving(Skeleton const& skeleton, double phase)
{
    Pose pose;
    pose.turns.resize(skeleton.bones.size());
    std::vector<int> const parents = parentsOf(skeleton);
    for (std::size_t b = 0; b < parents.size(); ++b) {
        if (parents[b] < 0) continue;
        // The axis is perpendicular to the bone and to its parent. Where these are parallel, it is perpendicular to the
        // bone and to z.
        Vector3 const bone = skeleton.endOf(b) - skeleton.startOf(b);
        std::size_t const parentBone = asIndex(parents[b]);
        Vector3 const parent = skeleton.endOf(parentBone) - skeleton.startOf(parentBone);
        Vector3 axis = cross(parent, bone);
        if (axis.lengthSq() < kStraightSineSq * bone.lengthSq() * parent.lengthSq()) {
            axis = cross(Vector3(0, 0, 1), bone);
            if (axis.isNull()) axis = Vector3(1, 0, 0);
        }
        double const degrees = kWaveDegrees * std::sin(2 * kPi * (phase - kPhasePerBone * static_cast<double>(b)));
        pose.turns[b] = Matrix3::rotationMatrix(UVector3(axis), degrees * kPi / 180);
    }
    return pose;
}

bool hasNamesOfTheFigure(Skeleton const& skeleton)
{
    auto const& names = skeleton.jointNames;
    return std::find(names.begin(), names.end(), "left-knee") != names.end() &&
           std::find(names.begin(), names.end(), "right-elbow") != names.end();
}

namespace {

std::vector<NamedPose> posesOfTheFigure(Skeleton const& skeleton)
{
    std::vector<NamedPose> poses;
    auto const add = [&](char const* name, std::vector<Turn> const& turns, double lift = 0) {
        poses.push_back({name, poseOf(skeleton, turns, lift)});
    };
    add("at rest", {});
    poses.push_back({"walking", walking(skeleton, 0.2)});
    add("waving", {{"right-elbow", 2, -100}, {"right-wrist", 2, -62}, {"left-elbow", 2, -14}, {"neck", 2, -8}});
    add("arms up", {{"left-shoulder", 2, 22},
                    {"right-shoulder", 2, -22},
                    {"left-elbow", 2, 112},
                    {"right-elbow", 2, -112},
                    {"neck", 0, -14},
                    {"chest", 0, -8}});
    add("crouching", {{"left-knee", 0, -92},
                      {"right-knee", 0, -92},
                      {"left-ankle", 0, 118},
                      {"right-ankle", 0, 118},
                      {"left-toes", 0, -24},
                      {"right-toes", 0, -24},
                      {"waist", 0, 32},
                      {"neck", 0, -22},
                      {"left-elbow", 0, -72},
                      {"right-elbow", 0, -72}});
    add("bowing", {{"waist", 0, 38},
                   {"chest", 0, 24},
                   {"neck", 0, 14},
                   {"left-elbow", 2, -20},
                   {"right-elbow", 2, 20},
                   {"left-elbow", 0, -24},
                   {"right-elbow", 0, -24}});
    add("kicking", {{"left-knee", 0, -78},
                    {"left-ankle", 0, 12},
                    {"right-knee", 0, 8},
                    {"waist", 0, -14},
                    {"left-elbow", 0, 34},
                    {"right-elbow", 0, -52},
                    {"right-wrist", 0, -52}});
    add("leaping",
        {{"left-knee", 0, -58},
         {"left-ankle", 0, 22},
         {"right-knee", 0, 52},
         {"right-ankle", 0, 38},
         {"right-toes", 0, 38},
         {"left-elbow", 2, 62},
         {"right-elbow", 2, -62},
         {"left-elbow", 0, 22},
         {"right-elbow", 0, -30},
         {"chest", 0, -6}},
        0.22);
    return poses;
}

} // namespace

std::vector<NamedPose> eightPoses(Skeleton const& skeleton)
{
    if (hasNamesOfTheFigure(skeleton)) return posesOfTheFigure(skeleton);
    std::vector<NamedPose> poses;
    for (int k = 0; k < 8; ++k) poses.push_back({std::to_string(k + 1) + " of 8", waving(skeleton, k / 8.0)});
    return poses;
}

Pose twisting(Skeleton const& skeleton, double degrees)
{
    Pose pose;
    pose.turns.resize(skeleton.bones.size());
    std::vector<int> const parents = parentsOf(skeleton);
    // The number of bones from each bone to the end of the longest chain that starts with it, up to 2.
    std::vector<int> following(parents.size(), 0);
    for (int round = 0; round < 2; ++round) {
        for (std::size_t b = 0; b < parents.size(); ++b) {
            if (parents[b] < 0) continue;
            int& ofParent = following[asIndex(parents[b])];
            ofParent = std::max(ofParent, std::min(following[b] + 1, 2));
        }
    }
    auto const isTwisted = [&](std::size_t b, int left) { return parents[b] >= 0 && following[b] == left; };
    int left = 0;
    for (std::size_t b = 0; b < parents.size(); ++b) {
        if (isTwisted(b, 1)) left = 1;
    }
    for (std::size_t b = 0; b < parents.size(); ++b) {
        if (!isTwisted(b, left)) continue;
        Vector3 const bone = skeleton.endOf(b) - skeleton.startOf(b);
        if (!bone.isNull()) pose.turns[b] = Matrix3::rotationMatrix(UVector3(bone), degrees * kPi / 180);
    }
    return pose;
}

} // namespace tool
