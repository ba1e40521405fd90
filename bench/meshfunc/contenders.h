#pragma once

/// The contenders of the benches that evaluate mesh functions: sinew, the reference implementation, and two libraries
/// that a user would choose instead. CGAL locates the point in a Delaunay triangulation of the same vertices, by its
/// hierarchy. Embree shoots a ray at the mesh, in single precision.

#include <utility>
#include <vector>

#ifdef SINEW_BENCH_CGAL
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_hierarchy_2.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>
#endif
#ifdef SINEW_BENCH_EMBREE
#include <embree3/rtcore.h>
#endif

#include "meshfunc/mesh_samples.h"
#include "meshfunc/reference_mesh_function.h"
#include "support/bits.h"

namespace bench::meshes {

using test::Mesh;
using test::Point;

/// Finds whether a point lies in the mesh, and the value there.
struct Contender
{
    virtual ~Contender() = default;
    virtual bool evaluate(Point const& p, Point* value) const = 0;
};

template <typename F>
struct Evaluates final : Contender
{
    F function;
    explicit Evaluates(Mesh const& mesh) : function(mesh.params, mesh.values, mesh.facets, mesh.normaldots) {}
    bool evaluate(Point const& p, Point* value) const override { return function.evaluate(p, value, nullptr); }
};
using Sinew = Evaluates<MeshFunction2D>;
using Reference = Evaluates<reference::MeshFunction2D>;

#ifdef SINEW_BENCH_CGAL
struct CgalHierarchy final : Contender
{
    using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
    using Base = CGAL::Triangulation_vertex_base_with_info_2<int, Kernel>;
    using Data = CGAL::Triangulation_data_structure_2<CGAL::Triangulation_hierarchy_vertex_base_2<Base>>;
    using Triangulation = CGAL::Triangulation_hierarchy_2<CGAL::Delaunay_triangulation_2<Kernel, Data>>;

    Triangulation triangulation;
    std::vector<Point> const& values;

    explicit CgalHierarchy(Mesh const& mesh) : values(mesh.values)
    {
        int next = 0;
        for (Point const& p : mesh.params) triangulation.insert({p.x, p.y})->info() = next++;
    }
    bool evaluate(Point const& p, Point* value) const override
    {
        auto const face = triangulation.locate({p.x, p.y});
        if (face == nullptr || triangulation.is_infinite(face)) return false;
        auto const corner = [&](int i) { return Point(face->vertex(i)->point().x(), face->vertex(i)->point().y()); };
        Point const e1 = corner(1) - corner(0), e2 = corner(2) - corner(0), d = p - corner(0);
        double const r = 1 / (e1.x * e2.y - e2.x * e1.y);
        double const u = r * (e2.y * d.x - e2.x * d.y), v = r * (e1.x * d.y - e1.y * d.x);
        auto const at = [&](int i) { return values[static_cast<std::size_t>(face->vertex(i)->info())]; };
        *value = u * at(1) + v * at(2) + (1 - u - v) * at(0);
        return true;
    }
};
#endif

#ifdef SINEW_BENCH_EMBREE
struct EmbreeRay final : Contender
{
    RTCDevice device = rtcNewDevice("threads=1");
    RTCScene scene = rtcNewScene(device);
    Mesh const& mesh;

    explicit EmbreeRay(Mesh const& mesh_) : mesh(mesh_)
    {
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        auto* vertices = static_cast<float*>(rtcSetNewGeometryBuffer(
            geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 3 * sizeof(float), mesh.params.size()));
        for (Point const& p : mesh.params) {
            *vertices++ = static_cast<float>(p.x);
            *vertices++ = static_cast<float>(p.y);
            *vertices++ = 0;
        }
        auto* indices = static_cast<unsigned*>(rtcSetNewGeometryBuffer(
            geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 3 * sizeof(unsigned), mesh.facets.size() / 3));
        for (int i : mesh.facets) *indices++ = static_cast<unsigned>(i);
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
        rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST); // watertight, as sinew is: no point falls between triangles
        rtcSetSceneBuildQuality(scene, RTC_BUILD_QUALITY_HIGH);
        rtcCommitScene(scene);
    }
    ~EmbreeRay() override
    {
        rtcReleaseScene(scene);
        rtcReleaseDevice(device);
    }
    bool evaluate(Point const& p, Point* value) const override
    {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        RTCRayHit query{};
        query.ray = {static_cast<float>(p.x), static_cast<float>(p.y), 1, 0, 0, 0, -1, 0, 2, ~0u, 0, 0};
        query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(scene, &context, &query);
        if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID) return false;
        int const* corners = &mesh.facets[3 * static_cast<std::size_t>(query.hit.primID)];
        auto const at = [&](int i) { return mesh.values[static_cast<std::size_t>(corners[i])]; };
        double const u = query.hit.u, v = query.hit.v;
        *value = u * at(1) + v * at(2) + (1 - u - v) * at(0);
        return true;
    }
};
#endif

/// The mesh with values that are an affine function of the position: every triangulation of the vertices gives the same
/// results.
inline Mesh withAffineValues(Mesh mesh)
{
    for (std::size_t i = 0; i < mesh.params.size(); ++i) {
        Point const& p = mesh.params[i];
        mesh.values[i] = {0.75 * p.x - 0.5 * p.y + 0.125, 0.25 * p.x + p.y};
    }
    return mesh;
}

/// About 2 side^2 triangles of similar size over the unit square.
inline Mesh evenMesh(int side)
{
    test::Random random(1);
    return withAffineValues(test::gridMesh(random, side, side, 0.25));
}

} // namespace bench::meshes
