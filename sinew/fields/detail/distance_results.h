#pragma once

/// Smooth distances at many points, in memory of their own until the arrays of the host may be written. Not installed.

#include <algorithm>
#include <cstddef>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>
#include <sinew/detail/element_count.h>

namespace sinew::detail {

/// The results for the arrays that the host wants. Null stands for an array that it does not want.
class DistanceResults
{
public:
    DistanceResults(std::size_t count, double* dists, ::Vector3* grads, ::Matrix3* hessians)
        : dists_(dists, count), grads_(grads, count), hessians_(hessians, count)
    {
    }

    /// The results from point `first` on; null if they are not wanted.
    double* dists(std::size_t first = 0) { return dists_.from(first); }
    ::Vector3* grads(std::size_t first = 0) { return grads_.from(first); }
    ::Matrix3* hessians(std::size_t first = 0) { return hessians_.from(first); }

    /// Writes the arrays of the host.
    void copy() const
    {
        dists_.copy();
        grads_.copy();
        hessians_.copy();
    }

private:
    template <typename T>
    struct Results
    {
        T* const host;
        std::vector<T> values;

        Results(T* host_, std::size_t count) : host(host_), values(host_ ? elementCount<T>(count) : 0) {}
        T* from(std::size_t first) { return host ? values.data() + first : nullptr; }
        void copy() const { std::copy(values.begin(), values.end(), host); }
    };

    Results<double> dists_;
    Results<::Vector3> grads_;
    Results<::Matrix3> hessians_;
};

} // namespace sinew::detail
