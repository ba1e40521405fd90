#include <sinew/skinning/substitute_geometry_data.h>
#include <sinew/skinning/weights.h>

#include "endurance/subject.h"
#include "skinning/skinning_scene.h"

namespace {

using endurance::Hash;
using endurance::require;
using test::Random;

constexpr int kBones = 3;
constexpr int kMostGuards = 6;

// Thrown through guards.
struct Abandoned
{
};

class Geometry : public endurance::Subject
{
public:
    Geometry()
    {
        Random random(3);
        display_ = test::randomDisplay(random, 12, kBones);
        figure_ = test::randomBones(random, kBones);
        other_ = test::randomBones(random, 5);
        curve_->geometry = smart_ptr<GeometryData>(new GeometryData(*display_->surface));
        original_ = display_->surface;
        placement_ = display_->placement;
    }
    ~Geometry() override
    {
        while (!guards_.empty()) guards_.pop_back(); // the reverse order of construction
        if (display_->surface != original_) std::abort();
    }

    void step(Random& random, Hash& hash) override
    {
        switch (random.below(8)) {
        case 0:
            if (guards_.size() < kMostGuards) addGuard(random);
            break;
        case 1:
            if (!guards_.empty()) guards_.pop_back();
            break;
        case 2:
            try {
                nest(random, random.below(5));
            } catch (Abandoned const&) {
            }
            break;
        case 3:
            *display_->surface = SurfaceGeometryData(*display_->surface); // assignment keeps counts
            break;
        case 4:
            *figure_ = random.oneIn(2) ? *other_ : BoneTransformVector(*figure_);
            break;
        case 5:
            spoil(random);
            break;
        default:
            query(random, hash);
            break;
        }
        if (guards_.empty()) require(display_->surface == original_, "guards restore the surface");
        hash.add(display_->surface->positions.at(0));
        hash.add(static_cast<std::uint64_t>(original_->referenceCount));
    }

private:
    void addGuard(Random& random)
    {
        switch (random.below(3)) {
        case 0:
            guards_.push_back(std::make_unique<SubstituteGeometryData>(display_, figure_));
            break;
        case 1:
            guards_.push_back(std::make_unique<SubstituteGeometryData>(display_));
            break;
        default:
            guards_.push_back(std::make_unique<SubstituteGeometryData>(curve_, figure_));
            break;
        }
    }

    // Guards on the stack, which an exception leaves.
    void nest(Random& random, int depth)
    {
        SubstituteGeometryData const guard(display_, random.oneIn(4) ? smart_ptr<BoneTransformVector>() : figure_);
        if (depth > 0) return nest(random, depth - 1);
        if (random.oneIn(2)) throw Abandoned();
    }

    // An influence that names no bone.
    void spoil(Random& random)
    {
        auto& list = display_->boneWeights->influences.at(static_cast<std::size_t>(random.below(12)));
        int const bone = random.below(kBones + 4) - 2;
        double const weight = random.uniform();
        if (list.size() < 4) {
            list.emplace_back(bone, weight);
        } else {
            list.clear();
        }
        if (random.oneIn(8)) sinew::normalizeWeights(*display_->boneWeights);
    }

    void query(Random& random, Hash& hash)
    {
        int const vertex = random.below(12);
        UVector3 normal;
        hash.add(figure_->getTransformed(vertex, display_));
        hash.add(figure_->getTransformed(vertex, display_, display_->surface->normals[0], normal));
        hash.add(static_cast<Vector3 const&>(normal));
        auto const diagnosis = sinew::diagnose(*display_->boneWeights, 12, kBones);
        hash.add(static_cast<std::uint64_t>(diagnosis.findings.size()));
    }

    smart_ptr<DisplayData> display_;
    smart_ptr<CurveDisplayData> curve_{new CurveDisplayData};
    smart_ptr<BoneTransformVector> figure_;
    smart_ptr<BoneTransformVector> other_;
    smart_ptr<SurfaceGeometryData> original_;
    Transform placement_;
    std::vector<std::unique_ptr<SubstituteGeometryData>> guards_;
};

} // namespace

std::unique_ptr<endurance::Subject> endurance::makeGeometry()
{
    return std::make_unique<Geometry>();
}
