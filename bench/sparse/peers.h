#pragma once

/// Conversions of a matrix into the types of the peers. A peer is left out if its package was not found.

#include <cstddef>
#include <memory>
#include <vector>

#include <sinew/sparse/spd_matrix.h>

#ifdef SINEW_BENCH_EIGEN
#include <Eigen/Sparse>
#endif
#ifdef SINEW_BENCH_SUITESPARSE
#include <cholmod.h>
#include <cs.h>
#endif

namespace bench {

/// The lower triangle by rows, columns ascending. The same arrays, read by columns, are the upper triangle.
struct FlatMatrix
{
    std::vector<int> start, index;
    std::vector<double> value;

    explicit FlatMatrix(SPDMatrix const& matrix) : start(1, 0)
    {
        for (auto row : matrix.rows) {
            std::sort(row.begin(), row.end());
            for (auto const& [c, v] : row) {
                index.push_back(c);
                value.push_back(v);
            }
            start.push_back(static_cast<int>(index.size()));
        }
    }
    int size() const { return static_cast<int>(start.size()) - 1; }
};

#ifdef SINEW_BENCH_EIGEN
using EigenMatrix = Eigen::SparseMatrix<double, Eigen::ColMajor, int>;

inline EigenMatrix upperForEigen(SPDMatrix const& matrix)
{
    FlatMatrix const flat(matrix);
    return Eigen::Map<EigenMatrix const>(flat.size(), flat.size(), static_cast<int>(flat.index.size()),
                                         flat.start.data(), flat.index.data(), flat.value.data());
}

using EigenSolver = Eigen::SimplicialLLT<EigenMatrix, Eigen::Upper>;
#endif

#ifdef SINEW_BENCH_SUITESPARSE
/// The matrix for CXSparse, whose Cholesky routines read the upper triangle by columns.
class CxMatrix
{
public:
    explicit CxMatrix(SPDMatrix const& matrix) : flat_(matrix)
    {
        int const n = flat_.size();
        view_ = {
            static_cast<int>(flat_.index.size()), n, n, flat_.start.data(), flat_.index.data(), flat_.value.data(), -1};
    }
    CxMatrix(CxMatrix const&) = delete;

    cs_di const* get() const { return &view_; }

private:
    FlatMatrix flat_;
    cs_di view_;
};

/// CHOLMOD, supernodal or simplicial, with its approximate minimum-degree ordering.
class Cholmod
{
public:
    Cholmod(SPDMatrix const& matrix, bool supernodal) : flat_(matrix)
    {
        cholmod_start(&common_);
        common_.supernodal = supernodal ? CHOLMOD_SUPERNODAL : CHOLMOD_SIMPLICIAL;
        common_.final_ll = 1;
        common_.nmethods = 1;
        common_.method[0].ordering = CHOLMOD_AMD;
        common_.postorder = 1;
        std::size_t const n = static_cast<std::size_t>(flat_.size());
        matrix_ = {};
        matrix_.nrow = matrix_.ncol = n;
        matrix_.nzmax = flat_.index.size();
        matrix_.p = flat_.start.data();
        matrix_.i = flat_.index.data();
        matrix_.x = flat_.value.data();
        matrix_.stype = 1;
        matrix_.itype = CHOLMOD_INT;
        matrix_.xtype = CHOLMOD_REAL;
        matrix_.dtype = CHOLMOD_DOUBLE;
        matrix_.sorted = 1;
        matrix_.packed = 1;
        factor_ = cholmod_analyze(&matrix_, &common_);
    }
    ~Cholmod()
    {
        cholmod_free_factor(&factor_, &common_);
        cholmod_finish(&common_);
    }
    Cholmod(Cholmod const&) = delete;

    bool factorize() { return cholmod_factorize(&matrix_, factor_, &common_) && factor_->minor == factor_->n; }
    double entries() const { return common_.lnz; }

    std::vector<double> solve(std::vector<double> b)
    {
        cholmod_dense right = {};
        right.nrow = right.d = right.nzmax = b.size();
        right.ncol = 1;
        right.x = b.data();
        right.xtype = CHOLMOD_REAL;
        right.dtype = CHOLMOD_DOUBLE;
        cholmod_dense* x = cholmod_solve(CHOLMOD_A, factor_, &right, &common_);
        double const* values = static_cast<double const*>(x->x);
        b.assign(values, values + b.size());
        cholmod_free_dense(&x, &common_);
        return b;
    }

private:
    FlatMatrix flat_;
    cholmod_common common_;
    cholmod_sparse matrix_;
    cholmod_factor* factor_;
};
#endif

} // namespace bench
