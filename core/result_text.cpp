#include "core/result_text.h"

#include <array>
#include <climits>
#include <cstdio>
#include <iterator>

#include "core/number.h"
#include "core/text.h"
#include "result/flat_json.h"
#include "result/refusals.h"

namespace launcher {
namespace {

struct Reason {
  std::string_view said;
  std::string_view english;
  std::string_view detail;
};

/// The columns of kRefusals that this program needs.
constexpr auto kReasons = [] {
  std::array<Reason, std::size(kRefusals)> reasons = {};
  for (std::size_t i = 0; i < reasons.size(); ++i) {
    reasons[i] = {kRefusals[i].said, kRefusals[i].english, kRefusals[i].detail};
  }
  return reasons;
}();

/// Whole minutes, truncated toward zero. What no int can hold becomes the value that
/// the processor's own conversion returns.
int wholeMinutes(double seconds) {
  const double minutes = seconds / 60.0;
  const bool fits = minutes > -2147483649.0 && minutes < 2147483648.0;
  return fits ? static_cast<int>(minutes) : INT_MIN;
}

std::string timeLine(const std::string& total) {
  const double seconds = readDecimal(total.c_str());
  const int minutes = wholeMinutes(seconds);
  char line[64] = {};
  (void)std::snprintf(line, sizeof(line), "用时：%d:%05.2f\n\n", minutes, seconds - minutes * 60.0);
  return line;
}

std::string failReason(std::string_view reply) {
  const std::string error = replyError(reply);
  for (const Reason& reason : kReasons) {
    if (error.find(reason.said) == std::string::npos) continue;
    return std::string(reason.english).append(reason.detail);
  }
  return error;
}

std::string orUsual(const std::string& value, const char* usual) {
  return value.empty() ? usual : value;
}

}  // namespace

ResultKind resultKind(bool accepted, bool finished) {
  if (accepted) return ResultKind::ok;
  return finished ? ResultKind::fail : ResultKind::none;
}

const char* kindWord(ResultKind kind) {
  switch (kind) {
    case ResultKind::ok: return "ok";
    case ResultKind::fail: return "fail";
    case ResultKind::none: break;
  }
  return "none";
}

bool isFinishedRun(std::string_view runText) {
  return findText(runText, "\"status\":\"ending\"", 0) != npos;
}

std::string playerMessage(ResultKind kind, std::string_view runText) {
  if (kind == ResultKind::none) {
    return "这次没有产生成绩（没有跑到结局）。\n\n可以关掉启动器了。";
  }
  if (kind == ResultKind::fail) {
    return "上传失败（可能是网络问题）。\n\n成绩已保存在本地，下次打开启动器会自动补传。";
  }
  const std::string total = rawValueAfter(runText, "\"total\":").value_or("");
  std::string message = "成绩已上传成功！\n\n";
  if (!total.empty()) message += timeLine(total);
  return message + "现在可以关掉启动器了。";
}

std::string detailMessage(ResultKind kind, std::string_view reply) {
  if (kind == ResultKind::ok) return {};
  if (kind == ResultKind::none) return "No finish detected - this run will not count.";
  const std::string reason = failReason(reply);
  return (reason.empty() ? std::string(kNetworkError) : reason) +
         ". Result saved locally - it will retry next launch.";
}

std::string progressCardCommandLine(std::string_view card, std::string_view stateFile) {
  return quoted(card) + " --mode progress --state " + quoted(stateFile);
}

std::string resultCardArguments(ResultKind kind, const UploadOutcome& outcome) {
  std::string line = " --ok ";
  line += kind == ResultKind::ok ? "1" : "0";
  line += std::string(" --kind ") + kindWord(kind);
  line += " --total " + orUsual(outcome.total, "0");
  line += " --difficulty " + orUsual(outcome.difficulty, "normal");
  line += " --ending " + orUsual(outcome.ending, "main");
  line += " --rank " + std::to_string(outcome.rank);
  line += " --points " + std::to_string(outcome.points);
  const std::string detail = detailMessage(kind, outcome.reply);
  if (!detail.empty()) return line + " --msg " + quoted(detail);
  if (outcome.profileToken.empty()) return line;
  return line + " --msg " + quoted(std::string(kLoginCodePrefix) + outcome.profileToken);
}

}  // namespace launcher
