#include <sstream>

#include <sinew/meshfunc/mesh_diagnosis.h>
#include <sinew/meshfunc/texture_compaction.h>

#include "endurance/subject.h"
#include "meshfunc/mesh_samples.h"

namespace {

using endurance::Hash;
using endurance::Pool;
using test::Point;
using test::Random;

MeshFunction2D randomFunction(Random& random)
{
    switch (random.below(4)) {
    case 0:
        return MeshFunction2D(random.oneIn(2));
    case 1:
        return test::islands(1 + random.below(3)).function();
    case 2:
        return test::soup(random, random.below(12), 0.3).function();
    default: {
        int const columns = 1 + random.below(4);
        return test::gridMesh(random, columns, 1 + random.below(4)).function();
    }
    }
}

std::vector<bool> randomMask(Random& random, int width, int height)
{
    std::vector<bool> mask(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int i = random.below(9); i > 0 && !mask.empty(); --i) {
        mask[static_cast<std::size_t>(random.below(static_cast<int>(mask.size())))] = true;
    }
    return mask;
}

EmptyRectTester randomTester(Random& random)
{
    int const width = random.below(40);
    int const height = random.below(40);
    return EmptyRectTester(randomMask(random, width, height), width, height);
}

TextureOptimizer randomOptimizer(Random& random)
{
    int const width = random.below(80);
    int const height = random.below(80);
    return TextureOptimizer(randomMask(random, width, height), width, height);
}

class Functions : public endurance::Subject
{
public:
    void step(Random& random, Hash& hash) override
    {
        // Building a mesh function takes as long as hundreds of queries.
        if (random.oneIn(200)) return rebuild(random, hash);
        if (random.oneIn(10)) {
            testers_.shuffle(random, [&] { return randomTester(random); });
            optimizers_.shuffle(random, [&] { return randomOptimizer(random); });
        }
        MeshFunction2D const& f = functions_.any(random);
        Point const p = random.point2(-0.5, 1.5);
        Point value;
        float scalar = 0;
        hash.add(static_cast<std::uint64_t>(f.evaluate(p, &value, &scalar)));
        hash.add(static_cast<std::uint64_t>(f.extrapolate(p, &value, &scalar)));
        hash.add(static_cast<std::uint64_t>(f.extrapolateOld(p, &value, nullptr)));
        hash.add(value.x);
        hash.add(value.y);
        hash.add(static_cast<std::uint64_t>(testers_.any(random).isRectEmpty(p.x, p.y, p.x + 0.2, p.y + 0.2)));
        double u = 0, v = 0;
        optimizers_.any(random).mapCoord(p.x, p.y, u, v);
        hash.add(u);
        hash.add(v);
    }

private:
    void rebuild(Random& random, Hash& hash)
    {
        MeshFunction2D& f = functions_.any(random);
        switch (random.below(8)) {
        case 0:
            f.eraseExtraTriangles(testers_.any(random));
            break;
        case 1:
            f.remapToOptimized(optimizers_.any(random));
            break;
        case 2:
            save(f, hash);
            break;
        case 3:
            edit(random, f);
            break;
        case 4:
            hash.add(static_cast<std::uint64_t>(sinew::diagnose(f).findings.size()));
            break;
        default:
            functions_.shuffle(random, [&] { return randomFunction(random); });
            break;
        }
    }

    // Edited vectors without a rebuild give results without meaning, but no query fails.
    static void edit(Random& random, MeshFunction2D& f)
    {
        if (!f.facets.empty()) {
            f.facets[static_cast<std::size_t>(random.below(static_cast<int>(f.facets.size())))] = random.below(30) - 5;
        }
        if (!f.values.empty() && random.oneIn(3)) f.values.pop_back();
        if (random.oneIn(2)) f.initEvaluatorHelper();
        if (random.oneIn(4)) f.initBoundaries();
    }

    static void save(MeshFunction2D& f, Hash& hash)
    {
        std::ostringstream out;
        f.saveString.clear(); // a save that ran out of memory keeps the packed text
        sinew::writeDocument(out, f, "MeshFunction2D");
        if (!out) throw std::bad_alloc(); // a stream reports it in its state
        std::istringstream in(out.str());
        std::unique_ptr<Serializable> const made = sinew::createFromDocument(in);
        auto* const loaded = dynamic_cast<MeshFunction2D*>(made.get());
        endurance::require(loaded && loaded->facets.size() == f.facets.size(), "a saved function can be loaded");
        hash.add(out.str());
        f = *loaded;
    }

    Random first_{19};
    Pool<MeshFunction2D> functions_{4, [this] { return randomFunction(first_); }};
    Pool<EmptyRectTester> testers_{3, [this] { return randomTester(first_); }};
    Pool<TextureOptimizer> optimizers_{3, [this] { return randomOptimizer(first_); }};
};

} // namespace

std::unique_ptr<endurance::Subject> endurance::makeFunctions()
{
    return std::make_unique<Functions>();
}
