#pragma once

/// A global operator new that counts allocations and can be made to fail. Link failing_new.cpp into the test program.

namespace test {

/// While an object of this class exists, `allowed` allocations succeed and all later ones throw std::bad_alloc.
class FailingNew
{
public:
    explicit FailingNew(long allowed);
    ~FailingNew();
    FailingNew(FailingNew const&) = delete;
    FailingNew& operator=(FailingNew const&) = delete;
};

/// The sum of the sizes of all allocations so far, including those already released.
long long allocatedBytes();

/// The number of allocations so far.
long long allocationCount();

} // namespace test
