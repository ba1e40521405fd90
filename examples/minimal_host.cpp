// A minimal host. It owns a surface (a tube with a ring of vertices every quarter unit) and a curve, poses them with
// two bones, draws the deformed surface while a guard exists, and checks that the guard restores the original.
//
// The classes of the host derive from the display-data classes of the library. They are held through smart_ptr, which
// counts references inside the objects, so the host deletes nothing itself.

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <sinew/sinew.h>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kAround = 16;

// A surface of this host. A derived class may add members, here a name.
class Tube : public DisplayData
{
public:
    std::string name = "tube";

    Tube()
    {
        surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
        boneWeights = smart_ptr<BoneWeightTable>(new BoneWeightTable);
        for (int ring = 0; ring <= 32; ++ring) addRing(0.25 * ring);
    }

private:
    void addRing(double x)
    {
        int const first = static_cast<int>(surface->positions.size());
        // The upper arm ends at x = 4. Within one unit of this point the weight of the forearm grows linearly.
        double const forearm = std::fmin(1.0, std::fmax(0.0, 0.5 * (x - 3.0)));
        for (int i = 0; i < kAround; ++i) {
            double const angle = 2 * kPi * i / kAround;
            UVector3 const outwards(0, std::cos(angle), std::sin(angle));
            surface->positions.push_back(Vector3(x, 0, 0) + 0.8 * outwards);
            surface->normals.push_back(outwards);
            boneWeights->influences.push_back({{0, 1.0 - forearm}, {1, forearm}});
            if (x > 0) {
                int const a = first + i;
                int const b = first + (i + 1) % kAround;
                surface->indices.insert(surface->indices.end(), {a - kAround, a, b, a - kAround, b, b - kAround});
            }
        }
    }
};

// The curve along the axis of the tube.
class Centreline : public CurveDisplayData
{
public:
    Centreline()
    {
        geometry = smart_ptr<GeometryData>(new GeometryData);
        for (int i = 0; i <= 16; ++i) geometry->positions.push_back(Vector3(0.5 * i, 0, 0));
    }
};

// The graphics output of this host: a page of characters.
class Page
{
public:
    void dot(Vector3 const& p, char mark)
    {
        int const column = static_cast<int>(std::lround(6 * (p.x + 1)));
        int const row = static_cast<int>(std::lround(3 * (6 - p.y)));
        if (row < 0 || row >= kRows || column < 0 || column >= kColumns) return;
        char& cell = rows_[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
        if (mark > cell) cell = mark; // 'o' is greater than the marks of the surface, so the curve stays visible
    }
    void print(char const* title) const
    {
        std::printf("%s\n", title);
        for (std::string const& row : rows_) std::printf("  %s\n", row.c_str());
    }

private:
    static constexpr int kRows = 22;
    static constexpr int kColumns = 64;
    std::vector<std::string> rows_ = std::vector<std::string>(kRows, std::string(kColumns, ' '));
};

// Draws the vertices that face the viewer, who looks along -z. The light comes from above.
void draw(Page& page, DisplayData const& data)
{
    smart_ptr<GeometryData const> const geometry = data.getGeometry();
    for (std::size_t i = 0; i < geometry->positions.size(); ++i) {
        Vector3 const normal = data.placement.linearComponent() * data.surface->normals[i];
        if (normal.z < 0) continue;
        page.dot(data.placement * geometry->positions[i], normal.y > 0.5 ? '-' : normal.y > -0.5 ? '+' : '#');
    }
}

void draw(Page& page, CurveDisplayData const& data)
{
    for (Vector3 const& p : data.getGeometry()->positions) page.dot(data.placement * p, 'o');
}

// The upper arm does not move; the forearm is raised by 60 degrees about the elbow at x = 4.
smart_ptr<BoneTransformVector> pose()
{
    Vector3 const shoulder(0, 0, 0);
    Vector3 const elbow(4, 0, 0);
    Vector3 const wrist(8, 0, 0);
    Vector3 const raised = elbow + 4.0 * Vector3(std::cos(kPi / 3), std::sin(kPi / 3), 0);
    double const noTwist = 0.0;
    std::vector<BoneTransform> bones = {BoneTransform(shoulder, elbow, shoulder, elbow, noTwist),
                                        BoneTransform(elbow, wrist, elbow, raised, noTwist)};
    return smart_ptr<BoneTransformVector>(new BoneTransformVector(std::move(bones)));
}

} // namespace

int main()
{
    smart_ptr<Tube> const tube(new Tube);
    smart_ptr<Centreline> const curve(new Centreline);
    smart_ptr<SurfaceGeometryData> const original = tube->surface;
    {
        // While the guards exist, the display data has the posed surface, in world coordinates.
        SubstituteGeometryData const surfaceGuard(tube, pose());
        SubstituteGeometryData const curveGuard(curve, pose()); // restores the curve; curves are not deformed
        Page page;
        draw(page, *tube);
        draw(page, *curve);
        page.print("posed: the forearm raised by 60 degrees");
    }
    Page page;
    draw(page, *tube);
    draw(page, *curve);
    page.print("after the guards: the original");

    bool const restored = tube->surface == original && tube->placement == Transform() && tube->referenceCount == 1;
    std::printf("the original surface is restored: %s\n", restored ? "yes" : "no");
    return restored ? 0 : 1;
}
