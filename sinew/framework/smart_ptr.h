#pragma once

/// Shared ownership of objects that carry their own count, as display data, geometry and field descriptions do.
///
/// The count lives in the object (`smart_base`), so a handle (`smart_ptr`) can be made again from a plain pointer at
/// any time without a second count coming into being. Counts are plain integers: share an object between threads only
/// if you serialise every copy and destruction of its handles.

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include <sinew/export.h>

/// Base of everything that a `smart_ptr` can own: a virtual table and a count, the virtual operations in this order.
///
/// A host may override the operations, for instance to recycle objects instead of deleting them; handles always go
/// through the virtual table. They are const so that a handle to a const object counts as well.
class SINEW_API smart_base
{
public:
    smart_base() = default;
    /// A copy is a new object that nobody holds yet: its count starts at 0.
    smart_base(smart_base const&) : smart_base() {}
    /// Contents may be assigned, holders cannot: both counts stay as they are.
    smart_base& operator=(smart_base const&) { return *this; }

    virtual ~smart_base();

    /// Adds 1 to the count.
    virtual void addReference() const;

    /// Takes 1 from the count and calls `destroy` if that leaves 0 or less.
    virtual void releaseReference() const;

    /// Deletes the object through its virtual destructor. The destructor must not hand out handles to its own object.
    virtual void destroy() const;

    /// How many handles hold the object; 0 from construction until the first handle. Meant for reading.
    mutable std::int32_t referenceCount = 0;
};

/// A handle that keeps an object alive: copying it calls `addReference`, destroying or reassigning it calls
/// `releaseReference`. Two words: the `smart_base` to count with, then the object as a `T`.
///
/// `T` may be incomplete except where a handle is made from a plain pointer. It need not derive from `smart_base` where
/// the handle is converted from one that does: an interface can be held through its implementation's count.
///
/// Every operation that replaces the object takes the new reference before it gives up the old one, and gives up the
/// old one last, when the handle already shows the new state; so self-assignment, resetting to the held object and
/// destructors that look at the handle are all safe. If `addReference` throws, handle and counts are as before.
template <typename T>
class smart_ptr
{
public:
    using element_type = T;

    /// Holds nothing.
    constexpr smart_ptr() noexcept = default;
    constexpr smart_ptr(std::nullptr_t) noexcept {}

    /// Holds `object`, or nothing if it is null.
    smart_ptr(T* object) : base_(object), object_(object) { acquire(); }

    smart_ptr(smart_ptr const& other) : base_(other.base_), object_(other.object_) { acquire(); }
    smart_ptr(smart_ptr&& other) noexcept
        : base_(std::exchange(other.base_, nullptr)), object_(std::exchange(other.object_, nullptr))
    {
    }

    /// From derived to base and from non-const to const. The counting pointer is passed on as it is.
    template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    smart_ptr(smart_ptr<U> const& other) : base_(other.base_), object_(other.object_)
    {
        acquire();
    }
    template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    smart_ptr(smart_ptr<U>&& other) noexcept
        : base_(std::exchange(other.base_, nullptr)), object_(std::exchange(other.object_, nullptr))
    {
    }

    ~smart_ptr()
    {
        if (base_) base_->releaseReference();
    }

    smart_ptr& operator=(smart_ptr const& other)
    {
        smart_ptr(other).swap(*this);
        return *this;
    }
    /// Leaves `other` empty, unless it is this very handle.
    smart_ptr& operator=(smart_ptr&& other) noexcept
    {
        smart_ptr(std::move(other)).swap(*this);
        return *this;
    }

    /// Lets go of the object.
    void reset() { smart_ptr().swap(*this); }
    /// Lets go of the object and holds `object` instead; the same object is fine.
    void reset(T* object) { smart_ptr(object).swap(*this); }

    void swap(smart_ptr& other) noexcept
    {
        std::swap(base_, other.base_);
        std::swap(object_, other.object_);
    }
    friend void swap(smart_ptr& a, smart_ptr& b) noexcept { a.swap(b); }

    /// The object, or null.
    T* get() const noexcept { return object_; }
    /// The handle must hold something.
    T& operator*() const noexcept { return *object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

private:
    template <typename U>
    friend class smart_ptr;

    void acquire() const
    {
        if (base_) base_->addReference();
    }

    smart_base const* base_ = nullptr;
    T* object_ = nullptr;
};

/// Handles are equal when they show the same object.
template <typename T, typename U>
bool operator==(smart_ptr<T> const& a, smart_ptr<U> const& b) noexcept
{
    return a.get() == b.get();
}
template <typename T, typename U>
bool operator!=(smart_ptr<T> const& a, smart_ptr<U> const& b) noexcept
{
    return !(a == b);
}
template <typename T>
bool operator==(smart_ptr<T> const& a, std::nullptr_t) noexcept
{
    return !a;
}
template <typename T>
bool operator==(std::nullptr_t, smart_ptr<T> const& a) noexcept
{
    return !a;
}
template <typename T>
bool operator!=(smart_ptr<T> const& a, std::nullptr_t) noexcept
{
    return static_cast<bool>(a);
}
template <typename T>
bool operator!=(std::nullptr_t, smart_ptr<T> const& a) noexcept
{
    return static_cast<bool>(a);
}

// Hosts hand these across library boundaries; their layout is part of the contract.
static_assert(sizeof(smart_ptr<smart_base>) == 2 * sizeof(void*));
static_assert(sizeof(smart_base) == 2 * sizeof(void*), "a virtual table and a 32-bit count");
