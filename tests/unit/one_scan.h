#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

#include "tests/steps/steps.h"

namespace launcher {

/// Does `work`, which reads so many bytes of a hostile text, and fails when it takes more steps
/// than a few looks at each byte: a scan that starts again at every place would take thousands
/// of times as many. In a build that does not count the work is done, no more.
template <class Work>
void expectOneScan(std::size_t bytes, Work work) {
  constexpr std::uint64_t kMostPerByte = 20;
  const std::uint64_t before = steps::taken();
  work();
  EXPECT_LE(steps::taken() - before, kMostPerByte * bytes);
}

}  // namespace launcher
