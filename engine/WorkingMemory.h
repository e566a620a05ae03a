#pragma once
// How the process holds its working memory: light while it waits, warm where a large
// computation is coming, and given back once the computations have become small again.
//
// A large computation writes tens or hundreds of megabytes of memory (operands, result, the
// sheet's texts). Fresh pages are dear on a virtual machine: each costs the host a fault of
// its own, and 128 MB can take from 10 to 400 ms to come in. So when operands large enough
// arrive (a size typed into a box, a paste), memory in proportion to them is backed by a
// short-lived background thread while the user goes on, and the heap keeps what one
// computation frees for the next. Nothing is backed at start-up.

#include <cstddef>

namespace WorkingMemory {

// The allocator's settings: blocks up to the largest size the allocator allows come from
// the heap, so they are reused, and the heap keeps free memory in proportion to the need
// that Expect and Keep were last told of (a few megabytes at rest). Backs nothing. Call
// once, first thing in main(), before any other thread exists.
void Prepare();

// The coming computations need about `bytes` of memory: the heap's free memory is made at
// least that large and a background thread has the system back it, so the first
// computation finds its pages in hand. Far less than the process holds: what the heap and
// the matrices' store keep beyond `bytes` goes back to the system first, and pending
// backing is dropped. Below a few megabytes nothing is prepared: such computations are
// quick anyway.
void Expect(std::size_t bytes);

// Only gives back what is held far beyond `bytes`, as Expect does, and answers the need
// as Expect takes it (at most a gigabyte, and half of what the machine has left). For after
// a computation: the next one of its size reuses what it frees.
std::size_t Keep(std::size_t bytes);

// Hands everything kept back to the system (for when the machine runs short).
void Release();

// Bytes the last Expect asked to have ready, and what is still being backed. For tests.
std::size_t Ready();
bool Backing();

// Waits until the background backing has finished (for tests and benchmarks).
void WaitForBacking();

}  // namespace WorkingMemory
