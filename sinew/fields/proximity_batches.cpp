#include <sinew/core/detail/real_array.h>
#include <sinew/fields/detail/proximity_batch.h>
#include <sinew/fields/proximity_tester.h>

namespace sinew {

void testMany(ProximityTester const& tester, Vector3 const* points, std::size_t count, bool* results)
{
    detail::testPoints(tester, points, count, results);
}

void testMany(ProximityTester const& tester, RealArray const& points, bool* results)
{
    detail::forParts(points, [&](Vector3 const* part, std::size_t first, std::size_t count) {
        detail::testPoints(tester, part, count, results + first);
    });
}

} // namespace sinew
