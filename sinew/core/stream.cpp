#include <sinew/core/stream.h>

namespace {

template <int size, typename SquareMatrix>
std::ostream& writeRows(std::ostream& out, SquareMatrix const& m)
{
    out << "(";
    for (int i = 0; i < size; ++i) {
        out << (i == 0 ? "(" : ", (");
        for (int j = 0; j < size; ++j) out << (j == 0 ? "" : ", ") << m(i, j);
        out << ")";
    }
    return out << ")";
}

} // namespace

std::ostream& operator<<(std::ostream& out, Matrix3 const& m)
{
    return writeRows<3>(out, m);
}

std::ostream& operator<<(std::ostream& out, Matrixf const& m)
{
    return writeRows<4>(out, m);
}

std::ostream& operator<<(std::ostream& out, Matrix const& m)
{
    return writeRows<4>(out, m);
}

std::ostream& operator<<(std::ostream& out, Transform const& t)
{
    return out << "{linear " << t.linear << ", translation " << t.translation << ", scale " << t.scale << "}";
}

std::ostream& operator<<(std::ostream& out, Bbox const& box)
{
    return out << "{min " << box.min << ", max " << box.max << "}";
}
