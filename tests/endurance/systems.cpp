#include <sinew/sparse/diagnose.h>
#include <sinew/sparse/solve_many.h>
#include <sinew/sparse/symbolic_factor.h>

#include "endurance/subject.h"
#include "sparse/matrices.h"

namespace {

using endurance::Hash;
using endurance::Pool;
using test::Random;

class Systems : public endurance::Subject
{
public:
    void step(Random& random, Hash& hash) override
    {
        switch (random.below(10)) {
        case 0:
            matrices_.shuffle(random, [&] { return test::randomShape(random, 20); });
            break;
        case 1:
            factors_.shuffle(random, [&] { return matrices_.any(random).factor(); });
            break;
        case 2:
            analyse(random, hash);
            break;
        case 3:
            hash.add(static_cast<std::uint64_t>(sinew::diagnose(spoilt(random)).findings.size()));
            break;
        case 4:
            factors_.any(random).initMt();
            break;
        case 5:
            solveMany(random, hash);
            break;
        default:
            solve(random, hash);
            break;
        }
    }

private:
    // A matrix with one wrong entry.
    SPDMatrix spoilt(Random& random)
    {
        SPDMatrix matrix = matrices_.any(random);
        if (matrix.rows.empty()) return matrix;
        auto& row = matrix.rows[static_cast<std::size_t>(random.below(static_cast<int>(matrix.rows.size())))];
        if (row.empty()) return matrix;
        row[static_cast<std::size_t>(random.below(static_cast<int>(row.size())))] = {random.below(40) - 10,
                                                                                     random.hostile()};
        return matrix;
    }

    void analyse(Random& random, Hash& hash)
    {
        SPDMatrix const& matrix = matrices_.any(random);
        sinew::SymbolicFactor made(matrix);
        symbolic_ = std::move(made);
        LLTMatrix const factor = symbolic_.factor(matrix);
        hash.add(static_cast<std::uint64_t>(symbolic_.entryCount()));
        for (double const d : factor.diag) hash.add(d);
    }

    void solve(Random& random, Hash& hash)
    {
        LLTMatrix const& factor = factors_.any(random);
        std::vector<double> b(factor.rows.size(), 1.0);
        hash.add(static_cast<std::uint64_t>(factor.solve(b)));
        for (double const x : b) hash.add(x);
    }

    void solveMany(Random& random, Hash& hash)
    {
        LLTMatrix const& factor = factors_.any(random);
        std::vector<std::vector<double>> many(static_cast<std::size_t>(random.below(10)),
                                              std::vector<double>(factor.rows.size(), 2.0));
        hash.add(static_cast<std::uint64_t>(sinew::solveMany(factor, many)));
        for (auto const& b : many) {
            for (double const x : b) hash.add(x);
        }
    }

    Random first_{23};
    Pool<SPDMatrix> matrices_{4, [this] { return test::randomShape(first_, 20); }};
    Pool<LLTMatrix> factors_{4, [this] { return matrices_.any(first_).factor(); }};
    sinew::SymbolicFactor symbolic_{matrices_.any(first_)};
};

} // namespace

std::unique_ptr<endurance::Subject> endurance::makeSystems()
{
    return std::make_unique<Systems>();
}
