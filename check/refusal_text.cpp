#include "check/refusal_text.h"

#include "result/refusals.h"
#include "result/submission.h"

namespace launcher::check {
namespace {

/// Text of the basic plane in UTF-8.
std::string toUtf8(std::u16string_view text) {
  std::string utf8;
  for (const char16_t unit : text) {
    const unsigned code = unit;
    if (code < 0x80) {
      utf8 += static_cast<char>(code);
    } else if (code < 0x800) {
      utf8 += static_cast<char>(0xC0 | (code >> 6));
      utf8 += static_cast<char>(0x80 | (code & 0x3F));
    } else {
      utf8 += static_cast<char>(0xE0 | (code >> 12));
      utf8 += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      utf8 += static_cast<char>(0x80 | (code & 0x3F));
    }
  }
  return utf8;
}

}  // namespace

std::string refusalText(std::string_view reply, Language language) {
  const std::string error = replyError(reply);
  for (const Refusal& refusal : kRefusals) {
    if (error.find(refusal.said) == std::string::npos) continue;
    if (language == Language::chinese) return toUtf8(refusal.chinese);
    return "The server did not accept it: " + std::string(refusal.english) +
           std::string(refusal.detail) + ".";
  }
  if (error.empty()) {
    return say({"服务器没有收下，也没有说为什么。",
                "The server did not accept it and gave no reason."},
               language);
  }
  return fill({"服务器没有收下：{1}", "The server did not accept it: {1}"}, language, {error});
}

std::string skipText(std::string_view reason, Language language) {
  if (reason == "no receipt file") {
    return say({"没有成绩单，没有上传。", "There was no receipt; nothing was sent."}, language);
  }
  if (reason == "receipt invalid") {
    return say({"成绩单是空的或坏的，没有上传。",
                "The receipt was empty or broken; nothing was sent."},
               language);
  }
  return say({"没有跑到结局，不计成绩。", "No ending was reached; the run does not count."},
             language);
}

}  // namespace launcher::check
