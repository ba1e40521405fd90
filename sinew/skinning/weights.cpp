#include <sinew/skinning/weights.h>

#include <cmath>

namespace {

using sinew::WeightFault;
using sinew::WeightProblem;
using Influences = std::vector<std::pair<int, double>>;

double sumOf(Influences const& influences)
{
    double sum = 0.0;
    for (auto const& influence : influences) sum += influence.second;
    return sum;
}

std::string boneSentence(int bone, std::size_t boneCount)
{
    std::string const name = "bone " + std::to_string(bone);
    if (bone < 0) return name + " is no bone: it keeps the vertex in place, but its normal cannot be deformed";
    return name + " does not exist, there are " + std::to_string(boneCount);
}

// Collects the findings about one vertex.
class Report
{
public:
    Report(std::vector<WeightProblem>& problems, std::size_t vertex) : problems_(problems), vertex_(vertex) {}

    void add(WeightFault fault, std::string const& what)
    {
        problems_.push_back({fault, static_cast<int>(vertex_), "vertex " + std::to_string(vertex_) + ": " + what});
    }

private:
    std::vector<WeightProblem>& problems_;
    std::size_t vertex_;
};

void checkList(Influences const& influences, std::size_t boneCount, Report report)
{
    if (influences.empty()) {
        report.add(WeightFault::noInfluence, "no bone moves it");
        return;
    }
    for (auto const& [bone, weight] : influences) {
        if (bone < 0 || static_cast<std::size_t>(bone) >= boneCount) {
            report.add(WeightFault::boneOutOfRange, boneSentence(bone, boneCount));
            break;
        }
    }
    bool finite = true;
    bool negative = false;
    for (auto const& [bone, weight] : influences) {
        finite = finite && std::isfinite(weight);
        negative = negative || weight < 0;
    }
    if (!finite) report.add(WeightFault::notFinite, "a weight is not a finite number");
    if (negative) report.add(WeightFault::negativeWeight, "a weight is negative: the vertex moves against its bone");
    double const sum = sumOf(influences);
    if (finite && std::fabs(sum - 1.0) > sinew::kWeightSumTolerance) {
        report.add(WeightFault::sumNotOne,
                   "its weights sum to " + std::to_string(sum) + ": it is scaled about the origin by that factor");
    }
}

} // namespace

std::vector<WeightProblem> sinew::checkWeights(BoneWeightTable const& table, std::size_t vertexCount,
                                               std::size_t boneCount)
{
    std::vector<WeightProblem> problems;
    for (std::size_t vertex = 0; vertex < vertexCount; ++vertex) {
        Report report(problems, vertex);
        if (vertex < table.influences.size()) {
            checkList(table.influences[vertex], boneCount, report);
        } else {
            report.add(WeightFault::listMissing,
                       "the table holds lists for " + std::to_string(table.influences.size()) + " vertices only");
        }
    }
    return problems;
}

std::size_t sinew::normalizeWeights(BoneWeightTable& table)
{
    std::size_t left = 0;
    for (Influences& influences : table.influences) {
        double const sum = sumOf(influences);
        if (!(sum > 0.0 && std::isfinite(sum))) {
            ++left;
            continue;
        }
        for (auto& influence : influences) influence.second /= sum;
    }
    return left;
}
