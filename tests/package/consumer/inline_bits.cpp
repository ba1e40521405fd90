// A host whose compiler may use all instructions of the processor. Compares inline functions of the headers with the
// same formulas, each product and sum of which is stored and so rounded separately. Prints "inline functions keep their
// bits", or how many differ, and whether this program could use fused operations at all.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <sinew/sinew.h>

namespace {

double rounded(double x)
{
    double const volatile stored = x; // the compiler cannot fuse across this
    return stored;
}

double sumOfProducts(double const (&a)[3], double const (&b)[3])
{
    double const first = rounded(rounded(a[0] * b[0]) + rounded(a[1] * b[1]));
    return rounded(first + rounded(a[2] * b[2]));
}

double differenceOfProducts(double a, double b, double c, double d)
{
    return rounded(rounded(a * b) - rounded(c * d));
}

// Numbers in [-1, 1) with full significands: the upper bits of a linear congruential generator.
double nextNumber()
{
    static std::uint64_t state = 20261122;
    state = state * 6364136223846793005u + 1442695040888963407u;
    return static_cast<double>(state >> 11) * 0x1p-52 - 1;
}

struct Input
{
    double a[3], b[3], c[3];
};

constexpr int kResults = 9;

void evaluateInline(Input const& in, double* out)
{
    auto const& [a, b, c] = in;
    Vector3 const va(a[0], a[1], a[2]), vb(b[0], b[1], b[2]), vc(c[0], c[1], c[2]);
    Vector3 const normal = cross(va, vb), image = Matrix3(va, vb, vc) * va;
    double const results[kResults] = {
        va * vb,  va.lengthSq(), normal.x,
        normal.y, normal.z,      image.x,
        image.y,  image.z,       tzNM::vect2<double>(a[0], a[1]) * tzNM::vect2<double>(b[0], b[1])};
    std::memcpy(out, results, sizeof results);
}

void evaluateInSteps(Input const& in, double* out)
{
    auto const& [a, b, c] = in;
    double const rows[3][3] = {{a[0], b[0], c[0]}, {a[1], b[1], c[1]}, {a[2], b[2], c[2]}};
    double const results[kResults] = {sumOfProducts(a, b),
                                      sumOfProducts(a, a),
                                      differenceOfProducts(a[1], b[2], b[1], a[2]),
                                      differenceOfProducts(a[2], b[0], b[2], a[0]),
                                      differenceOfProducts(a[0], b[1], b[0], a[1]),
                                      sumOfProducts(rows[0], a),
                                      sumOfProducts(rows[1], a),
                                      sumOfProducts(rows[2], a),
                                      rounded(rounded(a[0] * b[0]) + rounded(a[1] * b[1]))};
    std::memcpy(out, results, sizeof results);
}

int countDifferences(Input const& in)
{
    // Through pointers that the compiler cannot know: in one function with the stored products, it would use them for
    // the inline functions too.
    using Evaluate = void (*)(Input const&, double*);
    static Evaluate const volatile both[2] = {evaluateInline, evaluateInSteps};
    double results[2][kResults];
    for (int i = 0; i < 2; ++i) both[i](in, results[i]);
    int count = 0;
    for (int i = 0; i < kResults; ++i) count += std::memcmp(&results[0][i], &results[1][i], sizeof(double)) != 0;
    return count;
}

} // namespace

int main()
{
    constexpr int kInputs = 1000;
    int differences = 0;
    for (int i = 0; i < kInputs; ++i) {
        Input in;
        for (auto* const numbers : {&in.a, &in.b, &in.c}) {
            for (double& number : *numbers) number = nextNumber();
        }
        differences += countDifferences(in);
    }
#if defined(__FP_FAST_FMA) || defined(__FMA__) || defined(__ARM_FEATURE_FMA) || defined(__riscv_fdiv)
    std::puts("fused operations: possible");
#else
    std::puts("fused operations: not possible");
#endif
    if (differences == 0) {
        std::puts("inline functions keep their bits");
    } else {
        std::printf("inline functions differ in %d of %d results\n", differences, kInputs * kResults);
    }
}
