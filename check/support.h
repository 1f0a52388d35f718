#pragma once

#include <string>
#include <vector>

#include "check/redaction.h"

namespace launcher::check {

/// One part of the support file.
struct SupportPart {
  std::string title;
  std::string text;
};

/// The file: the parts under their titles, redacted as a whole, lines ended by CR LF.
[[nodiscard]] std::string supportFile(const std::vector<SupportPart>& parts,
                                      const Secrets& secrets);

}  // namespace launcher::check
