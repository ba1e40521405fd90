#pragma once

/// Stream buffers that allocate nothing.

#include <streambuf>
#include <string>

namespace faults {

/// A stream buffer with memory of its own.
class FixedBuffer : public std::streambuf
{
public:
    FixedBuffer() { clear(); }
    void clear() { setp(memory_, memory_ + sizeof memory_); }
    std::string text() const { return std::string(pbase(), pptr()); }

private:
    char memory_[1 << 15];
};

/// A stream buffer over a text that outlives it.
class TextBuffer : public std::streambuf
{
public:
    explicit TextBuffer(std::string const& text)
    {
        char* const first = const_cast<char*>(text.data()); // the interface has no const form; it is only read
        setg(first, first, first + text.size());
    }
};

} // namespace faults
