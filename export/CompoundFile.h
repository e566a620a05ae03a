#pragma once
// A writer of compound files (the container of Excel 97-2003 workbooks): version 3, with
// 512-byte sectors, holding one stream under the root storage.
//
// Layout written: the header sector, then the stream's sectors, one directory sector (the
// root entry and the stream's entry), the allocation table (FAT) sectors and, when the
// FAT needs more than the 109 sectors the header can list, the DIFAT sectors that list
// the rest. A stream shorter than 4096 bytes would belong in the mini stream; this writer
// has none and pads such a stream with zero bytes to 4096 instead.

#include <cstdint>
#include <span>
#include <string_view>

#include "CellSource.h"

namespace CompoundFile {

// The largest stream this writer accepts (a version 3 file keeps sizes below 2 GiB).
inline constexpr std::uint64_t MaxStreamSize = 0x7FFFFFFFu;

// Writes a compound file whose root holds one stream named name (ASCII, at most 31
// characters), the concatenation of parts. Answers false when the stream is too large or
// the sink fails.
bool Write(std::string_view name, std::span<const std::string_view> parts,
           const Export::Sink& sink);

}  // namespace CompoundFile
