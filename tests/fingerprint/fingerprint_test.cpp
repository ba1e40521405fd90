// One hash for each module, over the bits of many results on seeded input. The hashes do not show that results are
// right; the tests of the modules do. They show that every compiler, optimisation level and vector width gives the same
// bits. If a change of numbers is intended, record the printed hash and describe the change in the changelog.
//
// All operations used here are defined by IEEE 754. Sines, logarithms and similar functions are not used, because they
// differ between the math libraries of systems.

#include <sinew/sinew.h>

#include <cstdint>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/random.h"

namespace {

using Point = tzNM::vect2<double>;
using test::Random;

// FNV-1a over the bytes of everything added, least significant byte first. Source: G. Fowler, L. C. Noll, K.-P. Vo, The
// FNV Non-Cryptographic Hash Algorithm, 1991.
class Fingerprint
{
public:
    void add(std::uint64_t word)
    {
        for (int i = 0; i < 8; ++i) {
            hash_ ^= (word >> (8 * i)) & 0xff;
            hash_ *= 0x100000001b3u;
        }
    }
    void add(int value) { add(static_cast<std::uint64_t>(static_cast<std::int64_t>(value))); }
    void add(bool value) { add(static_cast<std::uint64_t>(value)); }
    void add(double value)
    {
        std::uint64_t word = 0x7ff8000000000000u; // the same for every NaN: IEEE 754 does not fix their payloads
        if (value == value) std::memcpy(&word, &value, sizeof word);
        add(word);
    }
    void add(Vector3 const& v)
    {
        for (int i = 0; i < 3; ++i) add(v[i]);
    }
    void add(Point const& p)
    {
        add(p.x);
        add(p.y);
    }
    void add(Matrix3 const& m)
    {
        for (int j = 0; j < 3; ++j) add(m.column(j));
    }
    void add(std::vector<std::vector<std::pair<int, double>>> const& rows)
    {
        for (auto const& row : rows) {
            for (auto const& [column, value] : row) {
                add(column);
                add(value);
            }
        }
    }

    std::string text() const
    {
        std::ostringstream out;
        out << std::hex << std::setw(16) << std::setfill('0') << hash_;
        return out.str();
    }

private:
    std::uint64_t hash_ = 0xcbf29ce484222325u;
};

Matrix3 randomMatrix(Random& random)
{
    // Braces, here and below, fix the order in which the arguments are evaluated. With parentheses the compiler chooses
    // it.
    return Matrix3{random.point(), random.point(), random.point()};
}

std::vector<Vector3> wave(Random& random, int count)
{
    std::vector<Vector3> points;
    Vector3 p;
    for (int i = 0; i < count; ++i) {
        points.push_back(p);
        p += Vector3(0.1, 0, 0) + 0.1 * random.point();
    }
    return points;
}

// A square grid of cells with randomly moved vertices, two triangles for each cell.
MeshFunction2D randomMesh(Random& random, int cells)
{
    std::vector<Point> params;
    std::vector<Point> values;
    std::vector<float> scalars;
    for (int i = 0; i <= cells; ++i) {
        for (int j = 0; j <= cells; ++j) {
            params.push_back(Point(i, j) + 0.3 * random.point2());
            values.push_back(random.point2());
            scalars.push_back(static_cast<float>(random.uniform()));
        }
    }
    std::vector<int> facets;
    for (int i = 0; i < cells; ++i) {
        for (int j = 0; j < cells; ++j) {
            int const a = i * (cells + 1) + j;
            int const b = a + cells + 1;
            facets.insert(facets.end(), {a, b, b + 1, a, b + 1, a + 1});
        }
    }
    return MeshFunction2D(params, values, facets, scalars);
}

SPDMatrix gridMatrix(Random& random, int side)
{
    SPDMatrix matrix;
    for (int i = 0; i < side * side; ++i) {
        std::vector<std::pair<int, double>> row;
        if (i >= side) row.emplace_back(i - side, -random.uniform(0.5, 1.0));
        if (i % side) row.emplace_back(i - 1, -random.uniform(0.5, 1.0));
        row.emplace_back(i, 5.0);
        matrix.rows.push_back(row);
    }
    return matrix;
}

} // namespace

TEST(Fingerprint, Core)
{
    Random random(1001);
    Fingerprint print;
    for (int trial = 0; trial < 2000; ++trial) {
        double const scale = trial % 5 ? 1.0 : random.hostile();
        Matrix3 const m = randomMatrix(random) * scale;
        print.add(m.inverse());
        double values[3];
        UVector3 vectors[3];
        print.add(jacobiMethod(m, values, vectors));
        for (int k = 0; k < 3; ++k) {
            print.add(values[k]);
            print.add(vectors[k]);
        }
        Vector3 const p = random.hostilePoint();
        Vector3 const a = random.point();
        Vector3 const b = random.point();
        double t = -1;
        print.add(distSqToLineSegment(p, a, b, &t));
        print.add(t);
        Vector3 const basis[2] = {a, b};
        Vector3 coefficients;
        print.add(p.pullBack(basis, &coefficients));
        print.add(coefficients);
    }
    EXPECT_EQ(print.text(), "0e2e371b0478635b");
}

TEST(Fingerprint, Queries)
{
    Random random(1002);
    Fingerprint print;
    for (int trial = 0; trial < 2000; ++trial) {
        double roots[3] = {};
        double const scale = trial % 3 ? 1.0 : 100.0;
        double const c[4] = {random.uniform(), random.uniform(), random.uniform(), random.uniform()};
        int const count = solveCubic(c[0], scale * c[1], scale * scale * c[2], scale * scale * scale * c[3], roots);
        print.add(count);
        for (double const root : roots) print.add(root);

        LineTriangleInt const hit{random.point(), UVector3(random.point()), random.point(),
                                  random.point(), random.point(),           1e-6};
        print.add(hit.result);
        print.add(hit.point);
        Vector3 center;
        UVector3 normal;
        bestFitPlane(random.points(10), &center, &normal);
        print.add(center);
        print.add(normal);
        print.add(TriangleWeightsFinder{random.point(), random.point(), random.point(), random.point()}.weights);
    }
    EXPECT_EQ(print.text(), "55e80b3f767bd5f3");
}

TEST(Fingerprint, Fields)
{
    Random random(1003);
    Fingerprint print;
    for (int const count : {5, 19, 20, 300}) {
        PolylineProjector projector(wave(random, count));
        for (int trial = 0; trial < 300; ++trial) {
            projector.project(0.1 * count * random.point());
            print.add(projector.segment);
            print.add(projector.point);
            double distance = 0;
            Vector3 gradient;
            Matrix3 hessian;
            smoothDistToPolyline(projector.points, random.point(), 0.3, &distance, &gradient, &hessian);
            print.add(distance);
            print.add(gradient);
            print.add(hessian);
        }
    }
    std::vector<std::pair<Vector3, double>> samples;
    for (int i = 0; i < 60; ++i) samples.push_back({random.point(), random.uniform()});
    Implicit const field(samples);
    ImplEllipsoid const ellipsoid(random.points(40));
    ProximityTester const near(random.points(200), 0.1);
    for (int trial = 0; trial < 300; ++trial) {
        Vector3 const p = random.point();
        print.add(field.evaluate(p));
        print.add(field.getGradient(p));
        double value = 0;
        ellipsoid.evaluate(p, &value, nullptr, nullptr);
        print.add(value);
        print.add(near.test(p));
    }
    EXPECT_EQ(print.text(), "3fc4680266cc42fb");
}

TEST(Fingerprint, Skinning)
{
    Random random(1004);
    Fingerprint print;
    smart_ptr<BoneTransformVector> const figure(new BoneTransformVector(std::vector<BoneTransform>(4)));
    for (BoneTransform& bone : figure->bones) {
        bone.linear = randomMatrix(random);
        bone.translation = random.point();
    }
    smart_ptr<DisplayData> const display(new DisplayData);
    display->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    display->boneWeights = smart_ptr<BoneWeightTable>(new BoneWeightTable);
    display->placement.scale = -1.25;
    for (int i = 0; i < 500; ++i) {
        display->surface->positions.push_back(random.point());
        display->surface->normals.push_back(UVector3(random.point()));
        display->boneWeights->influences.emplace_back();
        for (int k = random.below(6); k > 0; --k) {
            int const bone = random.below(4);
            display->boneWeights->influences.back().emplace_back(bone, random.uniform());
        }
    }
    smart_ptr<SurfaceGeometryData> const deformed = BoneTransformModifyer(figure)(display);
    for (std::size_t i = 0; i < deformed->positions.size(); ++i) {
        print.add(deformed->positions[i]);
        print.add(deformed->normals[i]);
    }
    EXPECT_EQ(print.text(), "49dca18e3a2fd8de");
}

TEST(Fingerprint, MeshFunctions)
{
    Random random(1005);
    Fingerprint print;
    for (int const cells : {1, 4, 60}) {
        MeshFunction2D function = randomMesh(random, cells);
        for (int trial = 0; trial < 3000; ++trial) {
            function.extrapolateFlag = trial % 4 != 0;
            Point const p = (1.4 * cells) * (random.point2() + Point(0.5, 0.5));
            Point value;
            float scalar = 0;
            print.add(function.evaluate(p, &value, &scalar));
            print.add(function.extrapolate(p, &value, &scalar));
            print.add(value);
            print.add(static_cast<double>(scalar));
        }
    }
    EXPECT_EQ(print.text(), "6b89a5c241c1ba49");
}

TEST(Fingerprint, Sparse)
{
    Random random(1006);
    Fingerprint print;
    for (int const side : {1, 7, 40}) {
        SPDMatrix const matrix = gridMatrix(random, side);
        LLTMatrix const factor = matrix.factor();
        for (int const place : factor.perm) print.add(place);
        print.add(factor.rows);
        print.add(factor.Mt);
        for (double const d : factor.diag) print.add(d);
        std::vector<double> x(matrix.rows.size());
        for (double& entry : x) entry = random.uniform();
        print.add(factor.solve(x));
        for (double const entry : x) print.add(entry);
    }
    EXPECT_EQ(print.text(), "2e24a16d0d28f15f");
}
