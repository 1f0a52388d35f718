// What rehearsal/stage/samples.cpp needs of rehearsal/stage/text.h, without Windows.

#include "rehearsal/stage/text.h"

#include "core/text.h"

namespace stage {

std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  return launcher::replaceAll(text, from, to);
}

}  // namespace stage
