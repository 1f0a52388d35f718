// What rehearsal/stage/samples.cpp needs of rehearsal/stage/text.h and xml_text.h, without Windows.

#include "rehearsal/stage/text.h"

#include "core/text.h"
#include "rehearsal/stage/xml_text.h"

namespace stage {

std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  return launcher::replaceAll(text, from, to);
}

std::string xmlEscaped(std::string_view text) {
  const std::string plain = launcher::replaceAll(text, "&", "&amp;");
  return launcher::replaceAll(launcher::replaceAll(plain, "<", "&lt;"), ">", "&gt;");
}

}  // namespace stage
