#pragma once

#include <string>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/support.h"

namespace e2e {

/// Puts down what is left of two finished runs: the first was never sent, as far as the log says,
/// the second was accepted.
inline void putDownUnsentRun(const stage::Stage& machine) {
  stage::writeFile(machine.data() / "receipts" / "receipt_20250301_214502.json",
                   stage::finishedRun().text());
  stage::Receipt other = stage::finishedRun();
  other.seed = "2";
  stage::writeFile(machine.data() / "receipts" / "receipt_20250302_214502.json", other.text());
  const std::string archived = std::string(kLaunching) + "\r\nreceipt archived: S:\\receipt_";
  stage::writeFile(machine.log(),
                   std::string(kStartLine) + "\r\n" + archived + "20250301_214502.json\r\n" +
                       kStartLine + "\r\n" + archived + "20250302_214502.json\r\n" +
                       "upload response: {\"accepted\":true}\r\n" + kDelivered + "\r\n" +
                       kDoneLine + "\r\n");
}

}  // namespace e2e
