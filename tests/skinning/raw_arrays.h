#pragma once

/// Arrays of numbers as hosts hold them, for tests: any type, any stride, any alignment, with guard bytes around each
/// element.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include <sinew/core/strided.h>

#include "support/random.h"

namespace test {

/// An array in a buffer of exactly the size that it needs, so that the address sanitizer notices each access beyond it.
template <typename T>
class RawArray
{
public:
    static constexpr unsigned char kGuard = 0xe7;

    /// `count` elements of `width` numbers, with random shift and stride. `count` of 0 gives a null array.
    RawArray(Random& random, std::size_t count, std::size_t width) : count_(count), width_(width)
    {
        if (count == 0) return;
        std::size_t const element = width * sizeof(T);
        shift_ = static_cast<std::size_t>(random.below(9));
        std::size_t const stride = element + static_cast<std::size_t>(random.below(3) * random.below(12));
        isReversed_ = random.oneIn(4);
        stride_ = isReversed_ ? -static_cast<std::ptrdiff_t>(stride) : static_cast<std::ptrdiff_t>(stride);
        if (isReversed_) shift_ += stride * (count - 1);
        bytes_.assign((isReversed_ ? shift_ : shift_ + stride * (count - 1)) + element, kGuard);
    }

    operator sinew::Strided<T>() { return {first(), count_, stride_}; }
    operator sinew::Strided<T const>() const { return {const_cast<RawArray*>(this)->first(), count_, stride_}; }
    sinew::Strided<T> view() { return *this; }

    void set(std::size_t i, std::size_t component, T number) { view().set(i, component, number); }
    T get(std::size_t i, std::size_t component) const
    {
        return static_cast<sinew::Strided<T const>>(*this).get(i, component);
    }

    /// Whether all bytes outside the first `count` elements are guard bytes.
    bool onlyWritten(std::size_t count) const
    {
        std::vector<unsigned char> rest = bytes_;
        for (std::size_t i = 0; i < count; ++i) {
            auto const at = static_cast<std::ptrdiff_t>(shift_) + static_cast<std::ptrdiff_t>(i) * stride_;
            std::fill_n(rest.begin() + at, width_ * sizeof(T), kGuard);
        }
        return std::all_of(rest.begin(), rest.end(), [](unsigned char byte) { return byte == kGuard; });
    }

private:
    // The cast only carries an address that need not be aligned.
    T* first() { return count_ ? reinterpret_cast<T*>(bytes_.data() + shift_) : nullptr; }

    std::size_t count_;
    std::size_t width_;
    std::size_t shift_ = 0;
    std::ptrdiff_t stride_ = 0;
    bool isReversed_ = false;
    std::vector<unsigned char> bytes_;
};

} // namespace test
