// How long the judgement of a receipt takes, beside two JSON libraries that parse the same
// text and a memchr that reads it. All take turns, so a busy machine slows all of them.

#define RAPIDJSON_SSE2  // the library at its best on any 64-bit machine
#include <rapidjson/document.h>
#include <simdjson.h>

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/file_io.h"
#include "result/run_check.h"
#include "result/submission.h"
#include "tests/bench/measure.h"

namespace {

using bench::fixed;

constexpr std::size_t kKilobyte = 1000;
constexpr double kLiveSplitSeconds = 754.6;

// Texts ---------------------------------------------------------------------------------

std::string split(std::size_t index, const std::string& map) {
  return "{\"i\":" + std::to_string(index) + ",\"map\":\"" + map +
         "\",\"t\":" + fixed(15.125 * static_cast<double>(index + 1), 3) + "}";
}

/// A receipt as the race mod writes it, with as many splits as make up the size.
std::string realReceipt(std::size_t bytes, const std::string& status = "ending") {
  std::string text =
      "{\"week\":\"2026-W47\",\"seed\":20261147,\"status\":\"" + status + "\",\"splits\":[";
  std::size_t index = 0;
  while (text.size() + 120 < bytes) {
    text += split(index, "Level " + std::to_string(index % 1000)) + ",";
    ++index;
  }
  return text + split(index, "ENDING:main") +
         "],\"ending\":\"main\",\"total\":754.560,\"difficulty\":\"normal\"}";
}

std::string repeated(std::string start, std::string_view part, std::size_t bytes,
                     std::string_view end = {}) {
  while (start.size() + part.size() + end.size() <= bytes) start += part;
  return start.append(end);
}

/// Map names that all end the run, and not one time after them.
std::string mapsWithoutTimes(std::size_t bytes) {
  return repeated("{\"status\":\"ending\",\"splits\":[{\"map\":\"Level 0\"}",
                  ",{\"map\":\"ENDING:main\"}", bytes, "],\"ending\":\"main\",\"total\":754.560}");
}

std::string nothingButKeyEnds(std::size_t bytes) { return repeated("{", "\":", bytes); }

std::string oneEndlessString(std::size_t bytes) {
  return repeated("{\"splits\":[{\"map\":\"ENDING:", "xxxxxxxxxxxxxxxx", bytes);
}

/// Each value that is rewritten is a key as well, so every rewrite looks for keys again.
std::string valuesThatAreKeys(std::size_t bytes) {
  return realReceipt(bytes, "running\":\"x\",\"ending\":\"none\":0,\"total\":\"x\",\"y\":\"y");
}

// Contenders ------------------------------------------------------------------------------

/// What the compiler must not leave out.
volatile std::size_t sink = 0;
void use(std::size_t value) { sink = sink + value; }

/// The whole judgement, in the order of an upload. Steps that a rejection would have
/// spared are made too.
launcher::Receipt judge(std::string text) {
  launcher::Receipt receipt(std::move(text));
  use(receipt.reject(false) ? 1 : 0);
  const launcher::EndingSplit ending = receipt.endingSplit();
  receipt.settleEnding(launcher::inferEnding(ending.map, receipt.splitCount()));
  use(receipt.lastSplitSeconds() > 0.0 ? 1 : 0);
  use(receipt.replaceTotal(kLiveSplitSeconds) ? 1 : 0);
  use(receipt.gameDifficulty() ? 1 : 0);
  return receipt;
}

/// Processor time of this thread: what else the machine does does not count.
double processorSeconds() {
  timespec now = {};
  (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Times `work` for each of `inputs`; what it returns is let go after the clock stopped.
template <typename Input, typename Work>
double timeEach(std::vector<Input>& inputs, Work work) {
  std::vector<decltype(work(inputs.front()))> kept;
  kept.reserve(inputs.size());
  const double start = processorSeconds();
  for (Input& input : inputs) kept.push_back(work(input));
  const double seconds = processorSeconds() - start;
  use(kept.size());
  return seconds;
}

enum Contender { judging, payload, simdFresh, simdReused, rapidDom, rapidInSitu, reading, count };

/// The receipt as a file, so that its text comes from where an upload has it.
class ReceiptFile {
 public:
  explicit ReceiptFile(const std::string& text) {
    if (!launcher::writeWholeFile(path_, text)) std::abort();
  }
  ~ReceiptFile() { (void)std::remove(path_.c_str()); }
  ReceiptFile(const ReceiptFile&) = delete;
  ReceiptFile& operator=(const ReceiptFile&) = delete;

  [[nodiscard]] std::string read() const { return launcher::readWholeFile(path_); }

 private:
  std::string path_ = "judge_bench." + std::to_string(getpid()) + ".json";
};

/// The same text for all of them, as often as makes a round long enough for the clock.
class Rounds {
 public:
  explicit Rounds(std::string text)
      : text_(std::move(text)),
        file_(text_),
        padded_(text_),
        batch_(500 * kKilobyte / text_.size() + 1) {
    use(reused_.allocate(text_.size()) == simdjson::SUCCESS ? 1 : 0);
  }

  /// Median seconds per byte of every contender; parsers only for valid JSON.
  std::array<double, count> run(std::size_t rounds, bool parsers) {
    std::array<std::vector<double>, count> times;
    for (std::size_t round = 0; round < rounds; ++round) {
      add(times[judging], timeJudging(times[payload]));
      add(times[reading], timeReading());
      if (!parsers) continue;
      add(times[simdFresh], timeSimdFresh());
      add(times[simdReused], timeSimdReused());
      add(times[rapidDom], timeRapidDom());
      add(times[rapidInSitu], timeRapidInSitu());
    }
    std::array<double, count> medians = {};
    for (std::size_t i = 0; i < count; ++i) medians[i] = bench::median(times[i]);
    return medians;
  }

 private:
  void add(std::vector<double>& times, double seconds) const {
    times.push_back(seconds / static_cast<double>(text_.size() * batch_));
  }

  double timeJudging(std::vector<double>& payloadTimes) const {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < batch_; ++i) texts.push_back(file_.read());
    std::vector<launcher::Receipt> judged;
    judged.reserve(batch_);
    const double start = processorSeconds();
    for (std::string& text : texts) judged.push_back(judge(std::move(text)));
    const double seconds = processorSeconds() - start;
    add(payloadTimes, timeEach(judged, [](const launcher::Receipt& receipt) {
          return launcher::submissionPayload("runner", "76561198000000001", "normal", receipt);
        }));
    return seconds;
  }

  double timeReading() const {
    std::vector<const std::string*> texts(batch_, &text_);
    return timeEach(texts, [](const std::string* text) {
      return std::memchr(text->data(), '\0', text->size());
    });
  }

  double timeSimdFresh() const {
    std::vector<const simdjson::padded_string*> texts(batch_, &padded_);
    return timeEach(texts, [](const simdjson::padded_string* text) {
      auto parser = std::make_unique<simdjson::dom::parser>();
      use(parser->parse(*text).error() == simdjson::SUCCESS ? 1 : 0);
      return parser;
    });
  }

  double timeSimdReused() {
    std::vector<const simdjson::padded_string*> texts(batch_, &padded_);
    return timeEach(texts, [this](const simdjson::padded_string* text) {
      return reused_.parse(*text).error() == simdjson::SUCCESS;
    });
  }

  double timeRapidDom() const {
    std::vector<const std::string*> texts(batch_, &text_);
    return timeEach(texts, [](const std::string* text) {
      auto document = std::make_unique<rapidjson::Document>();
      document->Parse(text->data(), text->size());
      use(document->HasParseError() ? 0 : 1);
      return document;
    });
  }

  double timeRapidInSitu() const {
    std::vector<std::string> texts(batch_, text_);
    return timeEach(texts, [](std::string& text) {
      auto document = std::make_unique<rapidjson::Document>();
      document->ParseInsitu(text.data());
      use(document->HasParseError() ? 0 : 1);
      return document;
    });
  }

  std::string text_;
  ReceiptFile file_;
  simdjson::padded_string padded_;
  simdjson::dom::parser reused_;
  std::size_t batch_;
};

// Rows ------------------------------------------------------------------------------------

struct Size {
  const char* name;
  std::size_t bytes;
  std::size_t rounds;
};
constexpr Size kSizes[] = {{"5 KB", 5 * kKilobyte, 101},
                           {"500 KB", 500 * kKilobyte, 41},
                           {"50 MB", 50'000 * kKilobyte, 7}};

/// How much more a byte of a larger receipt may take. A small receipt lies in the nearest
/// cache; each receipt has a fixed cost of its own, which shows in the smallest.
constexpr double kFlat = 1.5;

struct Shape {
  const char* name;
  std::function<std::string(std::size_t)> text;
  bool isJson;
};

std::string perText(double seconds, const Size& size) {
  const double nano = seconds * static_cast<double>(size.bytes) * 1e9;
  if (nano < 1e3) return fixed(nano, 0) + " ns";
  return nano < 1e6 ? fixed(nano / 1e3, 1) + " µs" : fixed(nano / 1e6, 2) + " ms";
}

void printBeside(const std::string& what, const Size& size, const std::string& other, double own,
                 double base, bool isGoal) {
  const double ratio = own / base;
  bench::print({what, perText(own, size), other + ": " + perText(base, size), fixed(ratio, 2),
                isGoal ? "below 1" : "", ratio < 1.0});
}

void printEach(const std::string& shape, const Size& size, const std::array<double, count>& times) {
  const std::string what = std::string("judging ") + size.name + ", " + shape;
  const double own = times[judging];
  const double rapid = std::min(times[rapidDom], times[rapidInSitu]);
  printBeside(what, size, "simdjson, new parser", own, times[simdFresh], true);
  printBeside(what, size, "simdjson, parser used before", own, times[simdReused], true);
  printBeside(what, size, "RapidJSON", own, rapid, true);
  printBeside(what, size, "memchr", own, times[reading], false);
  printBeside(std::string("payload of ") + size.name + ", " + shape, size, "memchr",
              times[payload], times[reading], false);
}

void printFastest(const std::string& shape, const Size& size,
                  const std::array<double, count>& times) {
  const double fastest = std::min({times[simdFresh], times[simdReused], times[rapidDom],
                                   times[rapidInSitu]});
  printBeside(std::string("judging ") + size.name + ", " + shape, size, "the fastest parser",
              times[judging], fastest, true);
}

void printFlatness(const std::string& shape, const std::vector<double>& perByte) {
  std::string each;
  for (const double seconds : perByte) {
    each += (each.empty() ? "" : " / ") + fixed(seconds * 1e9, 3);
  }
  const double ratio = *std::max_element(perByte.begin(), perByte.end()) / perByte.front();
  bench::print({"time per byte, " + shape, each + " ns",
                "5 KB: " + fixed(perByte.front() * 1e9, 3) + " ns", fixed(ratio, 2),
                "flat (at most " + fixed(kFlat, 1) + ")", ratio <= kFlat});
}

void measure(const Shape& shape, bool eachParser) {
  std::vector<double> perByte;
  for (const Size& size : kSizes) {
    Rounds rounds(shape.text(size.bytes));
    const std::array<double, count> times = rounds.run(size.rounds, shape.isJson);
    perByte.push_back(times[judging]);
    if (!shape.isJson) continue;
    if (eachParser) {
      printEach(shape.name, size, times);
    } else {
      printFastest(shape.name, size, times);
    }
  }
  printFlatness(shape.name, perByte);
}

}  // namespace

int main() {
  const Shape shapes[] = {
      {"real", [](std::size_t bytes) { return realReceipt(bytes); }, true},
      {"real, status \"running\"",
       [](std::size_t bytes) { return realReceipt(bytes, "running"); }, true},
      {"\"map\" without \"t\"", mapsWithoutTimes, true},
      {"nothing but `\":`", nothingButKeyEnds, false},
      {"one endless string", oneEndlessString, false},
      {"rewritten values that are keys", valuesThatAreKeys, false},
  };
  for (const Shape& shape : shapes) measure(shape, &shape == &shapes[0]);
  bench::note("Judging: processor time of one thread, medians. simdjson runs its " +
              std::string(simdjson::get_active_implementation()->name()) +
              " code here; RapidJSON is the faster of Parse and ParseInsitu.");
  return 0;
}
