#include "check/support.h"

#include "core/text.h"

namespace launcher::check {

std::string supportFile(const std::vector<SupportPart>& parts, const Secrets& secrets) {
  std::string text;
  for (const SupportPart& part : parts) {
    text += "######## " + part.title + "\n" + part.text;
    if (!part.text.empty() && !part.text.ends_with('\n')) text += '\n';
    text += '\n';
  }
  return toTextMode(replaceAll(redacted(text, secrets), "\r\n", "\n"));
}

}  // namespace launcher::check
