#include <tool/draw/animation.h>

#include <cstdint>
#include <stdexcept>

#include <zlib.h>

namespace tool {
namespace {

std::string const kSignature = "\x89PNG\r\n\x1a\n";

std::string bigEndian(std::uint32_t value, int bytes)
{
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> (8 * i) & 255);
    return text;
}

std::uint32_t readBigEndian(std::string const& text, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(text.at(at + i));
    return value;
}

std::string chunk(std::string const& kind, std::string const& data)
{
    std::string const body = kind + data;
    uLong const sum = crc32(0, reinterpret_cast<Bytef const*>(body.data()), static_cast<uInt>(body.size()));
    return bigEndian(static_cast<std::uint32_t>(data.size()), 4) + body + bigEndian(static_cast<std::uint32_t>(sum), 4);
}

struct Png
{
    std::string header;            // data of IHDR
    std::vector<std::string> data; // of every IDAT
};

Png parse(std::string const& png)
{
    if (png.compare(0, kSignature.size(), kSignature) != 0) throw std::runtime_error("a frame is not a PNG file");
    Png result;
    for (std::size_t at = kSignature.size(); at + 12 <= png.size();) {
        std::size_t const length = readBigEndian(png, at);
        std::string const kind = png.substr(at + 4, 4);
        if (kind == "IHDR") result.header = png.substr(at + 8, length);
        if (kind == "IDAT") result.data.push_back(png.substr(at + 8, length));
        at += 12 + length;
    }
    if (result.header.size() != 13) throw std::runtime_error("a frame has no header");
    return result;
}

// The frame covers the whole picture, replaces the frame before it, and is shown for the given time.
std::string frameControl(std::uint32_t sequence, std::string const& header, int milliseconds)
{
    return chunk("fcTL", bigEndian(sequence, 4) + header.substr(0, 8) + bigEndian(0, 4) + bigEndian(0, 4) +
                             bigEndian(static_cast<std::uint32_t>(milliseconds), 2) + bigEndian(1000, 2) +
                             std::string(2, '\0'));
}

} // namespace

std::string animatedPng(std::vector<std::string> const& frames, int millisecondsPerFrame)
{
    if (frames.empty()) throw std::runtime_error("an animation needs a frame");
    std::string result = kSignature;
    std::uint32_t sequence = 0;
    for (std::size_t f = 0; f < frames.size(); ++f) {
        Png const frame = parse(frames[f]);
        if (f == 0) {
            result += chunk("IHDR", frame.header);
            result += chunk("acTL", bigEndian(static_cast<std::uint32_t>(frames.size()), 4) + bigEndian(0, 4));
        }
        result += frameControl(sequence++, frame.header, millisecondsPerFrame);
        for (std::string const& data : frame.data) {
            result += f == 0 ? chunk("IDAT", data) : chunk("fdAT", bigEndian(sequence++, 4) + data);
        }
    }
    return result + chunk("IEND", "");
}

} // namespace tool
