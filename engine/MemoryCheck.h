#pragma once
// Large allocations are checked against what the machine can still provide before they
// are made. With overcommit the system grants more than it has, and the process is killed
// when the pages are touched; a check first ends the program cleanly with run-time error 7
// instead.

#include <cstddef>
#include <string>
#include <string_view>

namespace MemoryCheck {

// Requests below this size are not checked: they fit wherever the program can run at all.
inline constexpr std::size_t kCheckedSize = std::size_t(16) << 20;
// Memory left for everything else (the window, the grids) after a checked request.
inline constexpr std::size_t kHeadroom = std::size_t(64) << 20;

// Where the system reports its memory. Tests point them at files of their own.
struct Sources {
    std::string meminfo = "/proc/meminfo";
    std::string cgroupMax = "/sys/fs/cgroup/memory.max";
    std::string cgroupCurrent = "/sys/fs/cgroup/memory.current";
};
Sources& CurrentSources();

// The memory available in a /proc/meminfo text (MemAvailable plus SwapFree), in bytes;
// SIZE_MAX when the text does not say.
std::size_t FromMeminfo(std::string_view text);
// The room left under a control group's memory.max ("max" or bytes) given its
// memory.current; SIZE_MAX when there is no limit.
std::size_t FromCgroup(std::string_view max, std::string_view current);

// What the machine can still give this process: the smaller of the two above.
std::size_t AvailableBytes();

// Raises run-time error 7 when `bytes` more, and the headroom, cannot be provided, even
// after the memory the process keeps for later use has been handed back. Requests below
// kCheckedSize pass unchecked.
void Require(std::size_t bytes);

// How the process hands back memory it keeps without using it (freed memory its heap holds
// on to for the next computation). Set once at start-up; by default there is none.
void SetRelease(void (*release)());

}  // namespace MemoryCheck
