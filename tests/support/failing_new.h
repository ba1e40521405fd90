#pragma once

/// A global operator new that counts, and fails on request: link failing_new.cpp into the test program.

namespace test {

/// While it lives, the allocation after `allowed` more ones fails with std::bad_alloc, and so does every later one.
class FailingNew
{
public:
    explicit FailingNew(long allowed);
    ~FailingNew();
    FailingNew(FailingNew const&) = delete;
    FailingNew& operator=(FailingNew const&) = delete;
};

/// The sizes of all allocations so far, summed, whether they were released or not.
long long allocatedBytes();

/// How many allocations there were so far.
long long allocationCount();

} // namespace test
