#include "core/result_text.h"
#include "tests/fuzz/fuzz_target.h"

KOV_FUZZ_TARGET(detail) {
  using launcher::ResultKind;
  fuzzing::requireLinearTime(input, [](std::string_view text) {
    (void)launcher::detailMessage(ResultKind::fail, text);
    (void)launcher::playerMessage(ResultKind::ok, std::string(text));
  });
  constexpr std::string_view kTail = ". Result saved locally - it will retry next launch.";
  const std::string detail = launcher::detailMessage(ResultKind::fail, input);
  check(detail.ends_with(kTail));
  check(detail.size() > kTail.size());
  check(detail.find('"') == std::string::npos);
  check(launcher::detailMessage(ResultKind::ok, input).empty());

  const std::string text(input);
  const std::string message = launcher::playerMessage(ResultKind::ok, text);
  check(message.starts_with("成绩已上传成功！\n\n"));
  check(message.ends_with("现在可以关掉启动器了。"));
  check(message.size() < 160);  // the time's line fits its buffer of 64 bytes
}
