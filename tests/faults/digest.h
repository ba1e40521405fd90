#pragma once

/// The bits of results as one string, to compare states before and after a call.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/transform.h>
#include <sinew/core/vector3.h>
#include <sinew/framework/findings.h>
#include <sinew/framework/vect2.h>

namespace faults {

/// Collects bits. Any NaN counts as the same one, since IEEE does not fix its sign and payload.
class Digest
{
public:
    template <typename... Values>
    explicit Digest(Values const&... values)
    {
        (add(values), ...);
    }

    operator std::string() const { return bits_; } // NOLINT(google-explicit-constructor)

    void add(bool x) { addBytes(x); }
    void add(int x) { addBytes(x); }
    void add(std::int64_t x) { addBytes(x); }
    void add(std::size_t x) { addBytes(x); }
    void add(float x) { addBytes(x != x ? 0x7FC00000u : bitsOf<std::uint32_t>(x)); }
    void add(double x) { addBytes(x != x ? std::uint64_t{0x7FF8} << 48 : bitsOf<std::uint64_t>(x)); }
    void add(std::string const& x)
    {
        add(x.size());
        bits_ += x;
    }
    void add(char const* x) { add(std::string(x)); }
    void add(Vector3 const& v) { addAll(v.x, v.y, v.z); }
    template <typename T>
    void add(tzNM::vect2<T> const& v)
    {
        addAll(v.x, v.y);
    }
    void add(Matrix3 const& m) { addAll(m.column(0), m.column(1), m.column(2)); }
    void add(Transform const& t) { addAll(t.linear, t.translation, t.scale); }
    template <typename A, typename B>
    void add(std::pair<A, B> const& p)
    {
        addAll(p.first, p.second);
    }
    template <typename T>
    void add(std::vector<T> const& v)
    {
        add(v.size());
        for (auto const& x : v) add(static_cast<T const&>(x));
    }
    template <typename Kind>
    void add(sinew::Finding<Kind> const& f)
    {
        addAll(static_cast<int>(f.kind), f.indices, f.value, f.sentence);
    }
    template <typename Kind>
    void add(sinew::Diagnosis<Kind> const& d)
    {
        add(d.findings);
    }

private:
    template <typename... Values>
    void addAll(Values const&... values)
    {
        (add(values), ...);
    }
    template <typename T>
    void addBytes(T const& x)
    {
        bits_.append(reinterpret_cast<char const*>(&x), sizeof x);
    }
    template <typename Bits, typename T>
    static Bits bitsOf(T x)
    {
        Bits bits;
        std::memcpy(&bits, &x, sizeof bits);
        return bits;
    }

    std::string bits_;
};

} // namespace faults
