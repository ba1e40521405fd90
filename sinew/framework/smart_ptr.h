#pragma once

/// Shared ownership by reference counts: `smart_base` holds the count, `smart_ptr` is the handle that changes it.
/// Display data, geometry and descriptions of fields are shared in this way.
///
/// The count is a member of the object, so a second handle can be made from a raw pointer at any time. Counts are plain
/// integers: copying and destroying handles to one object requires exclusive access to that object.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include <sinew/export.h>

/// Base of the objects that a `smart_ptr` owns: a virtual table and a reference count.
///
/// The virtual operations are declared in the order destructor, `addReference`, `releaseReference`, `destroy`. Callers
/// may rely on this order and on the layout. A host may override the operations, for example to recycle objects instead
/// of deleting them; handles always call them through the virtual table. They are const, so that handles to const
/// objects count too.
class SINEW_API smart_base
{
public:
    smart_base() = default;
    /// A copy is a new object without handles: its count is 0.
    smart_base(smart_base const&) : smart_base() {}
    /// Leaves both counts unchanged: assigning an object does not change which handles hold it.
    smart_base& operator=(smart_base const&) { return *this; }

    virtual ~smart_base();

    /// Adds 1 to the count.
    virtual void addReference() const;

    /// Subtracts 1 from the count and calls `destroy` if the result is 0 or less. An override must not throw.
    virtual void releaseReference() const;

    /// Deletes the object through its virtual destructor. The destructor must not make handles to its own object: the
    /// last of them would destroy the object again. An override must not throw.
    virtual void destroy() const;

    /// The number of handles that hold the object; 0 until the first handle. Only the operations above change it.
    mutable std::int32_t referenceCount = 0;
};

/// A handle that keeps an object alive. Making or copying a handle calls `addReference` of the object; destroying or
/// reassigning it calls `releaseReference`. Moving and swapping handles changes no count.
///
/// A handle consists of two pointers: the `smart_base` whose count it uses, then the object as a `T`. Callers may rely
/// on this layout.
///
/// `T` may be an incomplete type, except where a handle is made from a raw pointer. A handle that is converted from
/// another handle needs no `T` derived from `smart_base`: an interface can be held through the count of the class that
/// implements it.
///
/// An operation that replaces the object first adds the new reference, then changes the handle, and releases the old
/// reference last. Self-assignment, resetting to the same object and destructors that read the handle are therefore
/// safe. If `addReference` throws, the handle and all counts are unchanged.
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

    /// Converts a handle to a base class or to const. The new handle uses the same count.
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

    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the copy keeps the object alive, also when it is this handle
    smart_ptr& operator=(smart_ptr const& other)
    {
        smart_ptr(other).swap(*this);
        return *this;
    }
    /// Leaves `other` empty, unless `other` is this handle: that changes nothing.
    smart_ptr& operator=(smart_ptr&& other) noexcept
    {
        smart_ptr(std::move(other)).swap(*this);
        return *this;
    }

    /// Releases the object; the handle is empty then.
    void reset() { smart_ptr().swap(*this); }
    /// Releases the object and holds `object` instead, which may be null or the same object.
    void reset(T* object) { smart_ptr(object).swap(*this); }

    /// Exchanges the objects of two handles. No count changes.
    void swap(smart_ptr& other) noexcept
    {
        std::swap(base_, other.base_);
        std::swap(object_, other.object_);
    }
    /// Exchanges the objects of two handles. No count changes.
    friend void swap(smart_ptr& a, smart_ptr& b) noexcept { a.swap(b); }

    /// The object, or null.
    T* get() const noexcept { return object_; }
    /// The object. The handle must not be empty.
    T& operator*() const noexcept
    {
        assert(object_);
        return *object_;
    }
    /// The object. The handle must not be empty.
    T* operator->() const noexcept
    {
        assert(object_);
        return object_;
    }
    explicit operator bool() const noexcept { return object_ != nullptr; }

private:
    template <typename U>
    friend class smart_ptr;

    void acquire() const
    {
        if (base_) base_->addReference();
    }

    smart_base const* base_ = nullptr; // null exactly if object_ is null
    T* object_ = nullptr;
};

/// Handles are equal if `get()` returns the same address, compared after conversion to a common pointer type.
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

// Hosts pass handles and objects to other libraries, so their layout must not change.
static_assert(sizeof(smart_ptr<smart_base>) == 2 * sizeof(void*));
static_assert(sizeof(smart_base) == 2 * sizeof(void*), "a virtual table and a 32-bit count");
