#include "MemoryCheck.h"

#include <charconv>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>

#include "RuntimeError.h"

namespace MemoryCheck {
namespace {

constexpr std::size_t kUnknown = std::numeric_limits<std::size_t>::max();

void (*releaseKept)() = nullptr;

std::string ReadFile(const std::string& path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// The number that follows `key` in text (blanks skipped), or nothing.
bool NumberAfter(std::string_view text, std::string_view key, std::uint64_t& value) {
    const std::size_t at = text.find(key);
    if (at == std::string_view::npos) return false;
    std::size_t pos = at + key.size();
    while (pos < text.size() && (text[pos] == ' ' || text[pos] == '\t'))
        ++pos;
    const auto [end, error] = std::from_chars(text.data() + pos, text.data() + text.size(), value);
    return error == std::errc() && end != text.data() + pos;
}

std::size_t Saturate(std::uint64_t value) {
    return value >= kUnknown ? kUnknown : static_cast<std::size_t>(value);
}

}  // namespace

Sources& CurrentSources() {
    static Sources sources;
    return sources;
}

std::size_t FromMeminfo(std::string_view text) {
    std::uint64_t available = 0;
    std::uint64_t swap = 0;
    // Lines read "MemAvailable:   16264424 kB".
    if (!NumberAfter(text, "\nMemAvailable:", available) &&
        !NumberAfter(text, "MemAvailable:", available))
        return kUnknown;
    if (!NumberAfter(text, "\nSwapFree:", swap)) swap = 0;
    constexpr std::uint64_t kLimit = std::numeric_limits<std::uint64_t>::max() / 2048;
    if (available > kLimit || swap > kLimit) return kUnknown;
    return Saturate((available + swap) * 1024);
}

std::size_t FromCgroup(std::string_view max, std::string_view current) {
    std::uint64_t limit = 0;
    std::uint64_t used = 0;
    if (!NumberAfter(max, "", limit)) return kUnknown;  // "max", or no control group
    if (!NumberAfter(current, "", used)) used = 0;
    return limit > used ? Saturate(limit - used) : 0;
}

std::size_t AvailableBytes() {
    const Sources& sources = CurrentSources();
    const std::size_t system = FromMeminfo(ReadFile(sources.meminfo));
    const std::size_t group =
        FromCgroup(ReadFile(sources.cgroupMax), ReadFile(sources.cgroupCurrent));
    return system < group ? system : group;
}

// Whether `bytes` more, and the headroom, fit in what the machine reports.
static bool Fits(std::size_t bytes) {
    const std::size_t available = AvailableBytes();
    return available == kUnknown || (available >= kHeadroom && bytes <= available - kHeadroom);
}

void Require(std::size_t bytes) {
    if (bytes < kCheckedSize || Fits(bytes)) return;
    // The system does not count what the process keeps for later: give that back first.
    if (releaseKept != nullptr) {
        releaseKept();
        if (Fits(bytes)) return;
    }
    throw RuntimeError(RuntimeError::OutOfMemory);
}

void SetRelease(void (*release)()) {
    releaseKept = release;
}

}  // namespace MemoryCheck
