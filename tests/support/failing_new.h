#pragma once

/// A global operator new that counts allocations and can be made to fail. Link failing_new.cpp into the test program.

namespace test {

/// Which allocations fail after those that are allowed.
enum class Failing
{
    all,     ///< All later ones: memory has run out.
    onlyNext ///< One. Later ones succeed, for example after the program has released something.
};

/// While an object of this class exists, `allowed` allocations succeed and later ones throw std::bad_alloc.
class FailingNew
{
public:
    explicit FailingNew(long allowed, Failing failing = Failing::all);
    ~FailingNew();
    /// Whether an allocation has failed since the object was made.
    bool hasFailed() const;
    FailingNew(FailingNew const&) = delete;
    FailingNew& operator=(FailingNew const&) = delete;
};

/// The sum of the sizes of all allocations so far, including those already released.
long long allocatedBytes();

/// The number of allocations so far.
long long allocationCount();

/// The bytes of all allocations that have not been released, as the allocator rounds them; -1 where it does not tell.
long long liveBytes();

/// The number of allocations that have not been released, of this program and the libraries that use its operator new.
long long liveAllocations();

} // namespace test
