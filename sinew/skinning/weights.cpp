#include <sinew/skinning/weights.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <sinew/detail/number_writer.h>

namespace {

using sinew::WeightDiagnosis;
using sinew::WeightFault;
using Influence = std::pair<int, double>;
using Influences = std::vector<Influence>;

// Significant digits of a number in a sentence: enough to distinguish all single-precision weights, and every sum that
// differs from 1 by more than kWeightSumTolerance from 1.
constexpr int kDigits = 9;

std::string numberText(double x)
{
    return std::isnan(x) ? "NaN" : sinew::detail::realText(x, kDigits); // a NaN without its sign
}

double sumOf(Influences const& influences)
{
    double sum = 0.0;
    for (Influence const& influence : influences) sum += influence.second;
    return sum;
}

// Appends the findings about one vertex.
class VertexReport
{
public:
    VertexReport(WeightDiagnosis& diagnosis, std::size_t vertex) : diagnosis_(diagnosis), vertex_(vertex) {}

    // Adds a finding with the sentence "Vertex <index> <predicate>".
    void add(WeightFault fault, double value, std::string const& predicate)
    {
        append(fault, {static_cast<std::int64_t>(vertex_)}, value, predicate);
    }
    void addBone(WeightFault fault, int bone, double value, std::string const& predicate)
    {
        append(fault, {static_cast<std::int64_t>(vertex_), bone}, value, predicate);
    }
    void addWeight(WeightFault fault, Influence const& influence, std::string const& consequence)
    {
        auto const& [bone, weight] = influence;
        addBone(fault, bone, weight,
                "has the weight " + numberText(weight) + " for bone " + std::to_string(bone) + "; " + consequence);
    }

private:
    void append(WeightFault fault, std::vector<std::int64_t> indices, double value, std::string const& predicate)
    {
        std::string sentence = "Vertex " + std::to_string(vertex_) + " " + predicate;
        diagnosis_.findings.push_back({fault, std::move(indices), value, std::move(sentence)});
    }

    WeightDiagnosis& diagnosis_;
    std::size_t vertex_;
};

// The first influence that the condition holds for; null if there is none.
template <typename Condition>
Influence const* firstWith(Influences const& influences, Condition condition)
{
    auto const found = std::find_if(influences.begin(), influences.end(), condition);
    return found == influences.end() ? nullptr : &*found;
}

std::string missingBoneText(int bone, std::size_t boneCount)
{
    std::string const text = "refers to bone " + std::to_string(bone) + ", which does not exist; ";
    if (bone < 0) return text + "a negative index keeps the vertex in place, but its normal cannot be deformed.";
    return text + "the number of bones is " + std::to_string(boneCount) + ".";
}

void examineInfluences(Influences const& influences, std::size_t boneCount, VertexReport& report)
{
    if (influences.empty()) {
        report.add(WeightFault::noInfluence, 0.0, "has no influences; no bone moves it.");
        return;
    }
    auto const outOfRange = [=](Influence const& i) {
        return i.first < 0 || static_cast<std::size_t>(i.first) >= boneCount;
    };
    if (Influence const* const found = firstWith(influences, outOfRange)) {
        report.addBone(WeightFault::boneOutOfRange, found->first, static_cast<double>(boneCount),
                       missingBoneText(found->first, boneCount));
    }
    Influence const* const notFinite =
        firstWith(influences, [](Influence const& i) { return !std::isfinite(i.second); });
    if (notFinite) report.addWeight(WeightFault::notFinite, *notFinite, "weights must be finite.");
    if (Influence const* const found = firstWith(influences, [](Influence const& i) { return i.second < 0; })) {
        report.addWeight(WeightFault::negativeWeight, *found, "it moves against this bone.");
    }
    double const sum = sumOf(influences);
    if (!notFinite && std::fabs(sum - 1.0) > sinew::kWeightSumTolerance) {
        report.add(WeightFault::sumNotOne, sum,
                   "has weights with the sum " + numberText(sum) + "; they scale it about the origin by this factor.");
    }
}

} // namespace

WeightDiagnosis sinew::diagnose(BoneWeightTable const& table, std::size_t vertexCount, std::size_t boneCount)
{
    WeightDiagnosis diagnosis;
    std::size_t const listCount = table.influences.size();
    for (std::size_t vertex = 0; vertex < vertexCount; ++vertex) {
        VertexReport report(diagnosis, vertex);
        if (vertex < listCount) {
            examineInfluences(table.influences[vertex], boneCount, report);
        } else {
            report.add(WeightFault::listMissing, static_cast<double>(listCount),
                       "has no influence list; the number of lists in the table is " + std::to_string(listCount) + ".");
        }
    }
    return diagnosis;
}

std::size_t sinew::normalizeWeights(BoneWeightTable& table)
{
    std::size_t unchanged = 0;
    for (Influences& influences : table.influences) {
        double const sum = sumOf(influences);
        if (!(sum > 0.0 && std::isfinite(sum))) { // also for a NaN sum
            ++unchanged;
            continue;
        }
        for (Influence& influence : influences) influence.second /= sum;
    }
    return unchanged;
}
