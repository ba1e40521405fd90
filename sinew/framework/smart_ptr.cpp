#include <sinew/framework/smart_ptr.h>

smart_base::~smart_base() = default;

void smart_base::addReference() const
{
    ++referenceCount;
}

void smart_base::releaseReference() const
{
    if (--referenceCount <= 0) destroy();
}

void smart_base::destroy() const
{
    delete this;
}
