#include <tool/figure/limbs.h>

#include <tool/support/as_index.h>

namespace tool {
namespace {

class LimbFinder
{
public:
    explicit LimbFinder(Skeleton const& skeleton)
        : skeleton_(skeleton), bonesAt_(skeleton.joints.size()), used_(skeleton.bones.size(), false)
    {
        for (std::size_t b = 0; b < skeleton.bones.size(); ++b) {
            for (int const joint : skeleton.bones[b]) bonesAt_[asIndex(joint)].push_back(b);
        }
    }

    std::vector<Limb> find()
    {
        for (std::size_t joint = 0; joint < bonesAt_.size(); ++joint) {
            if (bonesAt_[joint].size() == 2) continue; // inside a limb
            for (std::size_t const bone : bonesAt_[joint]) follow(static_cast<int>(joint), bone);
        }
        for (std::size_t bone = 0; bone < used_.size(); ++bone) follow(skeleton_.bones[bone][0], bone);
        return std::move(limbs_);
    }

private:
    void follow(int joint, std::size_t bone)
    {
        if (used_[bone]) return;
        Limb limb;
        limb.joints.push_back(joint);
        for (;;) {
            used_[bone] = true;
            limb.bones.push_back(static_cast<int>(bone));
            joint = skeleton_.bones[bone][skeleton_.bones[bone][0] == joint ? 1 : 0];
            limb.joints.push_back(joint);
            std::vector<std::size_t> const& here = bonesAt_[asIndex(joint)];
            if (here.size() != 2) break;
            bone = used_[here[0]] ? here[1] : here[0];
            if (used_[bone]) break; // a ring is closed
        }
        limb.name = skeleton_.jointNames[asIndex(limb.joints.front())] + " - " +
                    skeleton_.jointNames[asIndex(limb.joints.back())];
        limbs_.push_back(std::move(limb));
    }

    Skeleton const& skeleton_;
    std::vector<std::vector<std::size_t>> bonesAt_;
    std::vector<bool> used_;
    std::vector<Limb> limbs_;
};

} // namespace

std::vector<Limb> limbsOf(Skeleton const& skeleton)
{
    return LimbFinder(skeleton).find();
}

std::vector<Vector3> jointsOf(Skeleton const& skeleton, Limb const& limb)
{
    std::vector<Vector3> points;
    for (int const j : limb.joints) points.push_back(skeleton.joints[asIndex(j)]);
    return points;
}

std::vector<Vector3> pointsAlong(Skeleton const& skeleton, Limb const& limb, int perBone)
{
    std::vector<Vector3> const joints = jointsOf(skeleton, limb);
    std::vector<Vector3> points;
    for (std::size_t k = 0; k + 1 < joints.size(); ++k) {
        Vector3 const step = joints[k + 1] - joints[k];
        for (int i = 0; i < perBone; ++i) points.push_back(joints[k] + step * (static_cast<double>(i) / perBone));
    }
    points.push_back(joints.back());
    return points;
}

double lengthOf(Skeleton const& skeleton, Limb const& limb)
{
    std::vector<Vector3> const joints = jointsOf(skeleton, limb);
    double length = 0;
    for (std::size_t k = 0; k + 1 < joints.size(); ++k) length += dist(joints[k], joints[k + 1]);
    return length;
}

} // namespace tool
