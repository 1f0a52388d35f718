#pragma once

// How much work the text logic did, counted instead of timed: equal on every machine and
// under any load.

#include <cstdint>

namespace steps {

/// Whether this build counts: the native ones with sanitizers do, no other does.
#if defined(KOV_COUNT_STEPS)
inline constexpr bool kCounted = true;
#else
inline constexpr bool kCounted = false;
#endif

/// The steps taken since the program began: one for each basic block of the text logic that
/// was entered, and one for each byte that a memory function of the C library went over
/// (memchr up to its hit, memcmp all that it was given). Not counted are allocations, and
/// what the C library does within a number's conversion. 0 in a build that does not count.
std::uint64_t taken();

}  // namespace steps
