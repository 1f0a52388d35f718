#include "rehearsal/stage/box_calls.h"

#include "rehearsal/stage/text.h"

namespace stage {

void BoxCallRecorder::note(const Debugger::Call& call, bool wide) {
  // A call that comes from within user32 belongs to a box that was noted already.
  if (debugger_.inLibrary(call.caller())) return;
  const auto text = [&](std::size_t nth) {
    const auto address = call.argument(nth);
    return wide ? toUtf8(debugger_.readText<wchar_t>(address)) : debugger_.readText<char>(address);
  };
  calls_.push_back({.wide = wide,
                    .text = text(2),
                    .caption = text(3),
                    .style = call.argument<std::uint32_t>(4),
                    .owned = call.argument(1) != 0});
}

}  // namespace stage
