#include "result/receipt_text.h"

#include <gtest/gtest.h>

namespace launcher {
namespace {

TEST(ReceiptText, archiveIsNamedAfterItsSecond) {
  EXPECT_EQ(archiveName(LocalTime{2025, 3, 1, 21, 45, 2}), "receipt_20250301_214502.json");
  EXPECT_EQ(archiveName(LocalTime{2026, 12, 31, 0, 0, 0}), "receipt_20261231_000000.json");
  EXPECT_EQ(archiveName(LocalTime{2026, 1, 2, 3, 4, 59}), "receipt_20260102_030459.json");
}

}  // namespace
}  // namespace launcher
