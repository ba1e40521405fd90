#pragma once

/// What the endurance run exercises: objects of some classes, and random operations on them.

#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/random.h"

namespace endurance {

/// A hash over results, which a replay must reproduce.
class Hash
{
public:
    void add(std::uint64_t bits)
    {
        // FNV-1a, G. Fowler, L. C. Noll, K.-P. Vo, 1991, with words instead of bytes.
        value_ = (value_ ^ bits) * 0x100000001B3u;
    }
    void add(double x)
    {
        std::uint64_t bits = std::uint64_t{0x7FF8} << 48; // any NaN
        if (x == x) std::memcpy(&bits, &x, sizeof bits);
        add(bits);
    }
    void add(Vector3 const& v)
    {
        add(v.x);
        add(v.y);
        add(v.z);
    }
    void add(std::string const& text)
    {
        for (char const c : text) add(static_cast<std::uint64_t>(static_cast<unsigned char>(c)));
    }

    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xCBF29CE484222325u;
};

/// Throws if `claim` does not hold.
inline void require(bool claim, char const* what)
{
    if (!claim) throw std::logic_error(what);
}

/// Objects of one kind. A step is one random operation. It may throw std::bad_alloc, after which all objects must be
/// usable; any other exception is a failure.
class Subject
{
public:
    virtual ~Subject() = default;
    virtual void step(test::Random& random, Hash& hash) = 0;
};

std::unique_ptr<Subject> makeHandles();    ///< Graphs of `smart_ptr`.
std::unique_ptr<Subject> makeRegistries(); ///< Registered objects and factories.
std::unique_ptr<Subject> makeDocuments();  ///< Persistent objects, written, read and refused.
std::unique_ptr<Subject> makeGeometry();   ///< Display data, bones and guards.
std::unique_ptr<Subject> makePolylines();  ///< Projectors, testers, implicit functions, dense matrices.
std::unique_ptr<Subject> makeFunctions();  ///< Mesh functions and texture compaction.
std::unique_ptr<Subject> makeSystems();    ///< Sparse matrices and factors.

/// A fixed number of objects, of which operations choose some at random.
template <typename T>
class Pool
{
public:
    template <typename Make>
    Pool(int count, Make const& make)
    {
        for (int i = 0; i < count; ++i) objects_.push_back(make());
    }

    T& any(test::Random& random) { return objects_[static_cast<std::size_t>(random.below(size()))]; }

    /// Copies, moves or exchanges two objects, which may be the same one, or replaces one by a new object.
    template <typename Make>
    void shuffle(test::Random& random, Make const& make)
    {
        T& a = any(random);
        T& b = any(random);
        switch (random.below(5)) {
        case 0:
            a = b;
            break;
        case 1:
            if (&a != &b) {
                a = std::move(b);
                b = a; // a moved-from object may be assigned to
            }
            break;
        case 2:
            std::swap(a, b);
            break;
        case 3: {
            T const copy(b);
            a = copy;
            break;
        }
        default:
            a = make();
            break;
        }
    }

private:
    int size() const { return static_cast<int>(objects_.size()); }

    std::vector<T> objects_;
};

} // namespace endurance
