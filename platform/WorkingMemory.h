#pragma once
// How the process keeps its working memory. A large computation writes tens of megabytes of
// fresh memory (the operands, the result, the sheet's texts); left to the defaults, the
// allocator hands most of that back to the system after each computation, and every page
// is faulted in again, one by one, by the next. Set up once at start-up, before the
// application object and any thread exist.

#include <cstddef>

namespace WorkingMemory {

// Keeps freed memory for the next computation instead of returning it, and prepares an address
// range at the heap's top that the system may back with large pages, so that fresh memory
// costs a fault per large page rather than one per 4 KB. A background thread then has the
// system back the range's first 128 MB, so the first computation does not wait for fresh
// pages either; the process holds that much memory from start-up on. Call once, first thing
// in main(), before any other thread exists.
void Prepare();

// Hands the free memory the heap keeps back to the system, for when the machine runs short.
void Release();

// Bytes of the heap's top range prepared for large pages (0 where the allocator or the
// system offers none, e.g. under a sanitizer's allocator).
std::size_t PreparedBytes();

}  // namespace WorkingMemory
