// What connects the values of `core` with a host: hashes, text, the types of other libraries, debug drawing.

#include <selftest/core_groups.h>

#include <functional>
#include <locale>
#include <sstream>

#include <sinew/core/func_binder.h>
#include <sinew/core/hash.h>
#include <sinew/core/interop.h>
#include <sinew/core/stream.h>

namespace selftest {

namespace {

Transform transformOf(Matrix3 const& linear, Vector3 const& translation, double scale)
{
    Transform t(scale);
    t.linear = linear;
    t.translation = translation;
    return t;
}

Bbox boxOf(Vector3 const& a, Vector3 const& b)
{
    Bbox box;
    box.min = a;
    box.max = b;
    return box;
}

// The part of a hash value that all sizes of std::size_t hold.
template <typename T>
std::uint32_t hashOf(T const& value)
{
    return static_cast<std::uint32_t>(std::hash<T>()(value));
}

// The hash value of a NaN depends on its sign and payload, which IEEE 754 leaves open.
double withoutNaN(double x)
{
    return x == x ? x : 0.0;
}
Vector3 withoutNaN(Vector3 const& v)
{
    return {withoutNaN(v.x), withoutNaN(v.y), withoutNaN(v.z)};
}

void hashes(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = withoutNaN(in.point());
        Vector3 const b = withoutNaN(in.point());
        Matrix3 const m(a, b, withoutNaN(in.point()));
        Matrix affine;
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 3; ++j) affine(j, i) = i < 3 ? m(j, i) : b[j];
        }
        out.add(hashOf(a));
        out.add(hashOf(UVector3(in.tamePoint())));
        out.add(hashOf(m));
        out.add(hashOf(affine));
        out.add(hashOf(transformOf(m, a, withoutNaN(in.number()))));
        out.add(hashOf(boxOf(a, b)));
        out.add(hashOf(tzNM::vect2<double>(a.x, b.y)));
    });
}

// Vectors and matrices as other libraries have them.
struct FloatVector
{
    float x, y, z;
};
struct ArrayVector
{
    float numbers[4];
    float& operator[](int i) { return numbers[i]; }
    float const& operator[](int i) const { return numbers[i]; }
};
template <typename Number>
struct TheirMatrix
{
    Number numbers[4][4];
    Number& operator()(int i, int j) { return numbers[j][i]; }
    Number const& operator()(int i, int j) const { return numbers[j][i]; }
    Number* operator[](int j) { return numbers[j]; }
    Number const* operator[](int j) const { return numbers[j]; }
};

template <typename Number>
void addConversions(Matrix const& m, Record& out)
{
    using Theirs = TheirMatrix<Number>;
    Matrix3 const block(m);
    Theirs const byRows = sinew::to<Theirs>(m);
    Theirs const byAxes = sinew::toAxes<Theirs>(m);
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            out.add(static_cast<double>(byRows(i, j)));
            out.add(static_cast<double>(byAxes[i][j]));
        }
    }
    out.add(sinew::toMatrix(byRows));
    out.add(sinew::toMatrixFromAxes(byRows));
    out.add(sinew::toMatrix3(sinew::toAxes<Theirs>(block)));
    out.add(sinew::toMatrix3FromAxes(sinew::to<Theirs>(block)));
}

// Numbers whose conversion to float is defined: in the range of float, or NaN.
void conversions(Inputs& in, Record& out)
{
    repeat(out, [&] {
        double const scale = in.oneIn(2) ? 1.0 : in.spread(-130, 100);
        Matrix3 const linear = in.tameMatrix();
        Vector3 const v = in.tamePoint() * scale;
        out.add(sinew::toVector3(sinew::to<FloatVector>(v)));
        out.add(sinew::toVector3(sinew::to<ArrayVector>(v)));
        Matrix const m = transformOf(linear, v, scale).getMatrix();
        addConversions<double>(m, out);
        addConversions<float>(m, out);
    });
}

// A number that all standard libraries write in the same way with up to eleven decimals. The numbers have the format of
// the stream: how an exponent, an infinity or a NaN looks, how many digits are exact, and how half a unit is rounded is
// up to the standard library.
double printed(Inputs& in)
{
    double const x = in.tame();
    return in.oneIn(4) ? 1000 * x : x;
}

void printedValues(Inputs& in, Record& out)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.setf(std::ios::fixed, std::ios::floatfield);
    repeat(out, [&] {
        text.str("");
        text.precision(6 + in.below(6));
        Vector3 const a = Vector3{printed(in), printed(in), printed(in)};
        Vector3 const b = Vector3{printed(in), printed(in), printed(in)};
        Transform const t = transformOf(Matrix3(a, b, a - b), b, printed(in));
        text << a << UVector3(b) << t.linear << t.getMatrix() << sinew::to<Matrixf>(t.getMatrix()) << t << boxOf(a, b)
             << tzNM::vect2<double>(a.y, b.z);
        out.add(std::string_view(text.str()));
    });
}

// What the callbacks for drawing receive.
Record* drawn = nullptr;

void drawVector(Vector3 const& a, Vector3 const& b, int i, double d)
{
    drawn->add(a);
    drawn->add(b);
    drawn->add(i);
    drawn->add(d);
}
void drawPoint(Vector3 const& p, int i)
{
    drawn->add(p);
    drawn->add(i);
}
void drawPoints(std::vector<Vector3> const& points, int i, int j)
{
    drawn->add(points);
    drawn->add(i);
    drawn->add(j);
}
void clearDrawing()
{
    drawn->add(std::string_view("clear"));
}

// Restores the callbacks of the host.
class Slots
{
public:
    explicit Slots(Record& out)
    {
        drawn = &out;
        vxFuncBinder::iGet()->iReset();
    }
    ~Slots()
    {
        vxFuncBinder::registerDrawVector(vector_);
        vxFuncBinder::registerDrawPoint(point_);
        vxFuncBinder::registerDrawPoints(points_);
        vxFuncBinder::registerClear(clear_);
        drawn = nullptr;
    }
    Slots(Slots const&) = delete;
    Slots& operator=(Slots const&) = delete;

private:
    vxFuncBinder::DrawVector vector_ = vxFuncBinder::iGet()->drawVectorSlot;
    vxFuncBinder::DrawPoint point_ = vxFuncBinder::iGet()->drawPointSlot;
    vxFuncBinder::DrawPoints points_ = vxFuncBinder::iGet()->drawPointsSlot;
    vxFuncBinder::Clear clear_ = vxFuncBinder::iGet()->clearSlot;
};

void drawing(Inputs& in, Record& out)
{
    Slots const slots(out);
    repeat(out, [&] {
        int const change = in.below(8);
        if (change == 0) vxFuncBinder::registerDrawVector(in.oneIn(2) ? drawVector : nullptr);
        if (change == 1) vxFuncBinder::registerClear(in.oneIn(2) ? clearDrawing : nullptr);
        if (change == 2) { // together, as the class demands
            bool const on = in.oneIn(2);
            vxFuncBinder::registerDrawPoint(on ? drawPoint : nullptr);
            vxFuncBinder::registerDrawPoints(on ? drawPoints : nullptr);
        }
        Vector3 a = in.point();
        Vector3 b = in.point();
        int const i = in.below(9) - 4;
        vxFuncBinder::drawVector(a, b, i, in.number());
        vxFuncBinder::drawPoint(a, i);
        vxFuncBinder::drawPoints({a, b}, i, -i);
        vxFuncBinder::clear();
        dVec(a, b, i);
        dVecSc(a, b, i, a.x);
        dPnt(b, i);
        cl();
    });
}

} // namespace

std::vector<Group> conversionGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    return {
        {"core.hash", "values of each type", kUnused, hashes},
        {"core.interop", "vectors and matrices", kUnused, conversions},
        {"core.stream", "values of each type", kUnused, printedValues},
        {"core.vxFuncBinder", "drawn vectors and points", kUnused, drawing},
    };
}

std::vector<Group> coreGroups()
{
    std::vector<Group> all;
    for (auto const groupsOf : {vectorGroups, matrixGroups, placementGroups, conversionGroups}) {
        std::vector<Group> const groups = groupsOf();
        all.insert(all.end(), groups.begin(), groups.end());
    }
    return all;
}

} // namespace selftest
