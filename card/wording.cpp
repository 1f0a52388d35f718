#include "card/wording.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "card/time_text.h"
#include "result/refusals.h"

namespace launcher::card {
namespace {

using View = std::u16string_view;

constexpr std::size_t kTagLength = 48;
constexpr std::size_t kNumberLength = 16;
constexpr std::size_t kDetailLength = 400;

struct Word {
  View value;
  View chinese;
};

constexpr auto kDifficulties = std::to_array<Word>({
    {u"easy", u"简单"},
    {u"normal", u"普通"},
    {u"nightmare", u"噩梦"},
});

constexpr auto kEndings = std::to_array<Word>({
    {u"main", u"主线结局"},
    {u"arcade", u"街机结局"},
    {u"true", u"真结局"},
});

struct KnownRefusal {
  std::string_view english;
  View chinese;
};

// The columns of the launcher's table that this program needs.
constexpr auto kKnownRefusals = [] {
  std::array<KnownRefusal, std::size(kRefusals)> known = {};
  for (std::size_t i = 0; i < known.size(); ++i) {
    known[i] = {kRefusals[i].english, kRefusals[i].chinese};
  }
  return known;
}();

// True when `text` begins with these ASCII characters.
bool startsWith(View text, std::string_view ascii) {
  return std::mismatch(ascii.begin(), ascii.end(), text.begin(), text.end()).first == ascii.end();
}

template <std::size_t count>
std::u16string translated(const std::array<Word, count>& words, View value) {
  for (const Word& word : words) {
    if (word.value == value) return std::u16string(word.chinese);
  }
  return clipText(value, kTagLength);
}

Kind readKind(const ResultArguments& arguments) {
  if (arguments.kind == u"ok") return Kind::ok;
  if (arguments.kind == u"fail") return Kind::fail;
  if (arguments.kind == u"none") return Kind::none;
  // Without a kind the plain yes of the first option is still worth showing.
  if (arguments.kind.empty() && arguments.ok == u"1") return Kind::ok;
  return Kind::unknown;
}

// Value of digits; 0 for everything else, which is also what the launcher passes
// when the server named no number. A negative number counts nothing here either.
int readNumber(View text) {
  constexpr int kLimit = 100000000;
  int number = 0;
  for (const char16_t character : text) {
    if (character < u'0' || character > u'9' || number >= kLimit) return 0;
    number = number * 10 + (character - u'0');
  }
  return number;
}

Stat describeRank(View rank) {
  const int number = readNumber(rank);
  Stat stat{u"排名", u"—", number <= 3 ? number : 0};
  if (number > 0) {
    stat.value = u"#" + clipText(rank, kNumberLength);
  } else if (rank != u"0" && !rank.empty()) {
    stat.value = clipText(rank, kNumberLength);
  }
  return stat;
}

Stat describePoints(View points, View rank) {
  // No points beside a rank are a result; no points without one mean that the
  // server named neither.
  const bool isNamed = !points.empty() && (points != u"0" || readNumber(rank) > 0);
  return {u"积分", isNamed ? clipText(points, kNumberLength) : u"—", 0};
}

void describeRun(const ResultArguments& arguments, CardContent& content) {
  if (const auto time = formatTime(arguments.total)) {
    content.time = *time;
    content.timeIsClock = true;
  } else if (!arguments.total.empty() && arguments.total.find_first_not_of(u"0.") != View::npos) {
    content.time = clipText(arguments.total, kTagLength);
  }
  if (!arguments.ending.empty()) content.tags.push_back(translated(kEndings, arguments.ending));
  if (!arguments.difficulty.empty()) {
    content.tags.push_back(translated(kDifficulties, arguments.difficulty));
  }
}

void describeOk(const ResultArguments& arguments, CardContent& content) {
  content.heading = u"成绩已上传";
  describeRun(arguments, content);
  content.timeLabel = u"用时";
  if (content.time.empty()) content.time = u"—";
  content.stats = {describeRank(arguments.rank), describePoints(arguments.points, arguments.rank)};
}

// The launcher keeps every finished run, whatever the server said, and sends
// it again at each start: that is the promise this card may make.
void describeFail(const ResultArguments& arguments, CardContent& content) {
  const View message = arguments.message;
  std::u16string what = u"服务器没有收下这次成绩，原因见下面的英文。";
  std::u16string next = u"下次启动时会自动再试；有疑问请找主办方。";
  if (message.empty() || startsWith(message, kNetworkError)) {
    what = u"没有连上比赛服务器，多半是网络问题。";
    next = u"先检查网络；下次打开启动器会自动补传。";
  }
  for (const KnownRefusal& refusal : kKnownRefusals) {
    if (startsWith(message, refusal.english)) what = refusal.chinese;
  }
  content.heading = u"成绩还没传上去";
  content.notes = {{Note::Sign::what, what},
                   {Note::Sign::safe, u"成绩已保存在本地，不会丢。"},
                   {Note::Sign::next, next}};
  // Without an answer of the server the launcher passes "0", "normal" and
  // "main": nothing of the run, so nothing is claimed about it.
  describeRun(arguments, content);
  if (content.time.empty()) {
    content.tags.clear();
  } else {
    content.timeLabel = u"本次用时";
  }
}

// Of this run alone: an older one may still wait in the queue.
void describeNone(CardContent& content) {
  content.heading = u"这次不计成绩";
  content.notes = {{Note::Sign::what, u"没有跑到结局，这次不会计入排行榜。"},
                   {Note::Sign::safe, u"这次没有成绩要补传，可以放心关掉启动器。"},
                   {Note::Sign::next, u"跑到任意结局再退出游戏，成绩就会自动上传。"}};
}

void describeUnknown(const ResultArguments& arguments, CardContent& content) {
  content.heading =
      arguments.kind.empty() ? u"比赛结果" : u"比赛结果：" + clipText(arguments.kind, kTagLength);
  content.notes = {{Note::Sign::what, u"这张卡片看不懂启动器传来的结果。"},
                   {Note::Sign::next, u"详情见启动器窗口里的记录（launcher.log）。"}};
  describeRun(arguments, content);
  if (content.time.empty()) {
    content.tags.clear();
  } else {
    content.timeLabel = u"用时";
  }
}

bool isLoginCode(const CardContent& content, View message) {
  // The launcher names the code only with an accepted run; anywhere else these
  // words would come from the server's error text.
  const bool mayHaveOne = content.kind == Kind::ok || content.kind == Kind::unknown;
  return mayHaveOne && startsWith(message, kLoginCodePrefix) &&
         message.size() > kLoginCodePrefix.size();
}

std::u16string windowTitle(const CardContent& content) {
  std::u16string title(kRaceName);
  title += u" – " + content.heading;
  if (content.timeIsClock) title += u" " + content.time;
  return title;
}

}  // namespace

std::u16string clipText(std::u16string_view text, std::size_t length) {
  constexpr char16_t kEllipsis = u'…';
  const bool isCut = text.size() > length;
  std::u16string clipped(text.substr(0, isCut ? length - 1 : length));
  char16_t last = 0;
  for (char16_t& character : clipped) {
    // C0, delete and C1 controls, and the line and paragraph separators.
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0) ||
                           character == 0x2028 || character == 0x2029;
    if (isControl) character = u' ';
    last = character;
  }
  if (!isCut) return clipped;
  const bool endsInHalf = last >= 0xD800 && last < 0xDC00;
  if (endsInHalf) clipped.pop_back();
  clipped.push_back(kEllipsis);
  return clipped;
}

CardContent describeResult(const ResultArguments& arguments) {
  CardContent content;
  content.kind = readKind(arguments);
  switch (content.kind) {
    case Kind::ok: describeOk(arguments, content); break;
    case Kind::fail: describeFail(arguments, content); break;
    case Kind::none: describeNone(content); break;
    default: describeUnknown(arguments, content); break;
  }
  const View message = arguments.message;
  if (isLoginCode(content, message)) {
    content.loginCode = message.substr(kLoginCodePrefix.size());
  } else {
    content.detail = clipText(message, kDetailLength);
  }
  content.windowTitle = windowTitle(content);
  return content;
}

CardContent describeIdle() {
  CardContent content;
  content.heading = u"比赛结果会显示在这里";
  content.notes = {{Note::Sign::what, u"这是启动器的结果卡片，单独打开没有内容。"},
                   {Note::Sign::next, u"请打开 launcher.exe 开始比赛。"}};
  content.windowTitle = windowTitle(content);
  return content;
}

ProgressContent describeProgress(UploadState state) {
  ProgressContent content;
  if (state == UploadState::done) {
    content.kind = Kind::ok;
    content.heading = u"上传完成";
    content.hint = u"正在打开结果…";
  } else if (state == UploadState::failed) {
    content.kind = Kind::fail;
    content.heading = u"上传没有完成";
    content.hint = u"正在打开说明…";
  } else {
    content.heading = u"正在上传成绩…";
    content.hint = u"请先不要关掉启动器";
  }
  content.windowTitle = std::u16string(kRaceName) + u" – " + content.heading;
  return content;
}

std::u16string describeCountdown(int seconds) {
  std::u16string digits;
  for (int rest = seconds > 0 ? seconds : 0; rest > 0 || digits.empty(); rest /= 10) {
    digits.insert(digits.begin(), static_cast<char16_t>(u'0' + rest % 10));
  }
  return digits + u" 秒后自动关闭";
}

}  // namespace launcher::card
