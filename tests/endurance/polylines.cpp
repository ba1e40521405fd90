#include <sinew/fields/dense_matrix.h>
#include <sinew/fields/impl_ellipsoid.h>
#include <sinew/fields/implicit.h>
#include <sinew/fields/polyline_projector.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/fields/smooth_distance.h>

#include "endurance/subject.h"

namespace {

using endurance::Hash;
using endurance::Pool;
using test::Random;

// The sizes are on both sides of the limit from which a polyline has an index.
PolylineProjector randomProjector(Random& random)
{
    int const vertices = random.oneIn(8) ? random.below(120) : random.below(24);
    return PolylineProjector(random.points(vertices));
}

ProximityTester randomTester(Random& random)
{
    int const points = random.below(20);
    return ProximityTester(random.points(points), random.uniform(0.05, 1));
}

Implicit randomField(Random& random)
{
    std::vector<std::pair<Vector3, double>> samples;
    for (int i = random.below(8); i > 0; --i) {
        Vector3 const p = random.point();
        samples.emplace_back(p, random.uniform());
    }
    return Implicit(samples);
}

matrix<double> randomMatrix(Random& random)
{
    int const rows = random.below(8);
    matrix<double> m(rows, random.oneIn(4) ? random.below(8) : rows);
    for (double& entry : m.entries) entry = random.uniform();
    return m;
}

class Polylines : public endurance::Subject
{
public:
    void step(Random& random, Hash& hash) override
    {
        switch (random.below(16)) {
        case 0:
            polylines_.shuffle(random, [&] { return randomProjector(random); });
            break;
        case 1:
            testers_.shuffle(random, [&] { return randomTester(random); });
            break;
        case 2:
            fields_.shuffle(random, [&] { return randomField(random); });
            break;
        case 3:
            matrices_.shuffle(random, [&] { return randomMatrix(random); });
            break;
        case 4:
            invert(random, hash);
            break;
        case 5:
            thicken(random, hash);
            break;
        case 6:
            smooth(random, hash);
            break;
        default:
            query(random, hash);
            break;
        }
    }

private:
    void query(Random& random, Hash& hash)
    {
        Vector3 const q = random.point(-2, 2);
        PolylineProjector& polyline = polylines_.any(random);
        polyline.project(q);
        hash.add(polyline.point);
        hash.add(static_cast<std::uint64_t>(polyline.segment + 1));
        hash.add(static_cast<std::uint64_t>(testers_.any(random).test(q)));
        hash.add(fields_.any(random).evaluate(q));
    }

    void invert(Random& random, Hash& hash)
    {
        matrix<double> const& m = matrices_.any(random);
        matrix<double> const inverse = !m;
        std::vector<double> const v(static_cast<std::size_t>(m.columns), 1.0);
        for (double const x : inverse.entries) hash.add(x);
        for (double const x : m* v) hash.add(x);
    }

    void thicken(Random& random, Hash& hash)
    {
        ImplEllipsoid const ellipsoid(polylines_.any(random).points);
        std::unique_ptr<ImplEllipsoid> const thick(ellipsoid.thicken(random.uniform()));
        hash.add(thick->shape(0, 0));
    }

    void smooth(Random& random, Hash& hash)
    {
        double dist = 0;
        Vector3 grad;
        Matrix3 hess;
        smoothDistToPolyline(polylines_.any(random).points, random.point(), 0.1, &dist, &grad, &hess);
        hash.add(dist);
        hash.add(grad);
    }

    Random first_{17};
    Pool<PolylineProjector> polylines_{5, [this] { return randomProjector(first_); }};
    Pool<ProximityTester> testers_{4, [this] { return randomTester(first_); }};
    Pool<Implicit> fields_{4, [this] { return randomField(first_); }};
    Pool<matrix<double>> matrices_{4, [this] { return randomMatrix(first_); }};
};

} // namespace

std::unique_ptr<endurance::Subject> endurance::makePolylines()
{
    return std::make_unique<Polylines>();
}
