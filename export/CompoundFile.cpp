#include "CompoundFile.h"

#include <algorithm>
#include <string>

#include "LittleEndian.h"

namespace CompoundFile {
namespace {

constexpr std::uint32_t SectorSize = 512;
constexpr std::uint32_t IdsPerSector = SectorSize / 4;  // FAT entries in one sector
constexpr std::uint32_t HeaderDifatSlots = 109;         // FAT sectors the header lists
constexpr std::uint32_t MiniStreamCutoff = 4096;

// Special sector numbers.
constexpr std::uint32_t DifSect = 0xFFFFFFFC;
constexpr std::uint32_t FatSect = 0xFFFFFFFD;
constexpr std::uint32_t EndOfChain = 0xFFFFFFFE;
constexpr std::uint32_t FreeSect = 0xFFFFFFFF;
constexpr std::uint32_t NoStream = 0xFFFFFFFF;

using LittleEndian::Put16;
using LittleEndian::Put32;
void PutZeros(std::string& out, std::size_t n) {
    out.append(n, '\0');
}

std::uint32_t SectorsFor(std::uint64_t bytes) {
    return static_cast<std::uint32_t>((bytes + SectorSize - 1) / SectorSize);
}

// One 128-byte directory entry.
void PutEntry(std::string& out, std::string_view name, std::uint8_t type, std::uint32_t child,
              std::uint32_t start, std::uint32_t size) {
    for (const char c : name)
        Put16(out, static_cast<unsigned char>(c));
    PutZeros(out, 64 - 2 * name.size());
    // Name length in bytes with its terminating zero; an unused entry has none.
    Put16(out, name.empty() ? 0 : static_cast<std::uint16_t>(2 * (name.size() + 1)));
    out.push_back(static_cast<char>(type));
    out.push_back(static_cast<char>(type == 0 ? 0 : 1));  // colour: black
    Put32(out, NoStream);                                 // left sibling
    Put32(out, NoStream);                                 // right sibling
    Put32(out, child);
    PutZeros(out, 16 + 4 + 8 + 8);  // class id, state bits, creation and change times
    Put32(out, start);
    Put32(out, size);
    Put32(out, 0);  // high half of the size, always 0 in version 3
}

}  // namespace

bool Write(std::string_view name, std::span<const std::string_view> parts,
           const Export::Sink& sink) {
    if (name.empty() || name.size() > 31) return false;
    std::uint64_t dataSize = 0;
    for (const std::string_view part : parts)
        dataSize += part.size();
    const std::uint64_t streamSize = std::max<std::uint64_t>(dataSize, MiniStreamCutoff);
    if (streamSize > MaxStreamSize) return false;

    // Sector plan: stream, directory, FAT, DIFAT. The FAT covers itself and the DIFAT, so
    // its size is found by iterating to the fixed point (a few steps at most).
    const std::uint32_t streamSectors = SectorsFor(streamSize);
    const std::uint32_t directorySector = streamSectors;
    std::uint32_t fatSectors = 0;
    std::uint32_t difatSectors = 0;
    for (;;) {
        const std::uint64_t total = std::uint64_t{streamSectors} + 1 + fatSectors + difatSectors;
        const auto fat = static_cast<std::uint32_t>((total + IdsPerSector - 1) / IdsPerSector);
        const std::uint32_t difat =
            fat > HeaderDifatSlots
                ? (fat - HeaderDifatSlots + (IdsPerSector - 1) - 1) / (IdsPerSector - 1)
                : 0;
        if (fat == fatSectors && difat == difatSectors) break;
        fatSectors = fat;
        difatSectors = difat;
    }
    const std::uint32_t firstFat = directorySector + 1;
    const std::uint32_t firstDifat = firstFat + fatSectors;

    std::string header;
    header.reserve(SectorSize);
    header.append("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    PutZeros(header, 16);   // class id
    Put16(header, 0x003E);  // minor version
    Put16(header, 0x0003);  // major version 3: 512-byte sectors
    Put16(header, 0xFFFE);  // byte order mark: little-endian
    Put16(header, 9);       // sector size 2^9
    Put16(header, 6);       // mini sector size 2^6
    PutZeros(header, 6);    // reserved
    Put32(header, 0);       // directory sectors (always 0 in version 3)
    Put32(header, fatSectors);
    Put32(header, directorySector);
    Put32(header, 0);  // transaction signature
    Put32(header, MiniStreamCutoff);
    Put32(header, EndOfChain);  // first mini FAT sector: none
    Put32(header, 0);           // mini FAT sectors
    Put32(header, difatSectors == 0 ? EndOfChain : firstDifat);
    Put32(header, difatSectors);
    for (std::uint32_t i = 0; i < HeaderDifatSlots; ++i) {
        Put32(header, i < fatSectors ? firstFat + i : FreeSect);
    }
    if (!sink(header)) return false;

    for (const std::string_view part : parts) {
        if (!part.empty() && !sink(part)) return false;
    }
    // Zero bytes up to the 4096-byte minimum, then to the end of the last sector.
    const std::uint64_t padding = std::uint64_t{streamSectors} * SectorSize - dataSize;
    if (padding > 0 && !sink(std::string(padding, '\0'))) return false;

    std::string directory;
    directory.reserve(SectorSize);
    PutEntry(directory, "Root Entry", 5, 1, EndOfChain, 0);
    PutEntry(directory, name, 2, NoStream, 0, static_cast<std::uint32_t>(streamSize));
    PutEntry(directory, {}, 0, NoStream, 0, 0);
    PutEntry(directory, {}, 0, NoStream, 0, 0);
    if (!sink(directory)) return false;

    // The FAT, written a block at a time: the stream's chain, the directory's end of
    // chain, the FAT's and DIFAT's own marks, and free entries to the end of the last sector.
    const std::uint64_t fatEntries = std::uint64_t{fatSectors} * IdsPerSector;
    std::string block;
    block.reserve(64 * 1024);
    for (std::uint64_t i = 0; i < fatEntries; ++i) {
        std::uint32_t entry = FreeSect;
        if (i + 1 < streamSectors) {
            entry = static_cast<std::uint32_t>(i + 1);
        } else if (i + 1 == streamSectors || i == directorySector) {
            entry = EndOfChain;
        } else if (i >= firstFat && i < firstDifat) {
            entry = FatSect;
        } else if (i >= firstDifat && i < firstDifat + difatSectors) {
            entry = DifSect;
        }
        Put32(block, entry);
        if (block.size() >= 64 * 1024) {
            if (!sink(block)) return false;
            block.clear();
        }
    }
    // Each DIFAT sector lists 127 further FAT sectors and the number of the next DIFAT sector.
    for (std::uint32_t d = 0; d < difatSectors; ++d) {
        for (std::uint32_t k = 0; k < IdsPerSector - 1; ++k) {
            const std::uint64_t fat = HeaderDifatSlots + std::uint64_t{d} * (IdsPerSector - 1) + k;
            Put32(block, fat < fatSectors ? firstFat + static_cast<std::uint32_t>(fat) : FreeSect);
        }
        Put32(block, d + 1 < difatSectors ? firstDifat + d + 1 : EndOfChain);
    }
    return block.empty() || sink(block);
}

}  // namespace CompoundFile
