#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

/// What the two bench programs share: medians, and the rows that scripts/bench collects.
namespace bench {

/// The middle value (the lower one of two); 0 without any.
inline double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Half of the values lie between these two.
struct Quartiles {
  double lower = 0.0;
  double upper = 0.0;
};

inline Quartiles quartiles(std::vector<double> values) {
  if (values.empty()) return {};
  std::sort(values.begin(), values.end());
  return {values[values.size() / 4], values[values.size() * 3 / 4]};
}

/// `value` with so many decimals.
inline std::string fixed(double value, int decimals) {
  char text[64] = {};
  (void)std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

/// One row of the table. `goal` is "" for a row that is only there to be read.
struct Row {
  std::string what;
  std::string measured;
  std::string baseline;
  std::string ratio;
  std::string goal;
  bool met = false;
};

/// Writes the row on standard output: "row", then its cells, with tabs between them.
inline void print(const Row& row) {
  const char* verdict = row.goal.empty() ? "" : row.met ? "met" : "not met";
  std::printf("row\t%s\t%s\t%s\t%s\t%s\t%s\n", row.what.c_str(), row.measured.c_str(),
              row.baseline.c_str(), row.ratio.c_str(), row.goal.c_str(), verdict);
  (void)std::fflush(stdout);
}

/// Writes a remark that stands below the table.
inline void note(std::string_view text) {
  std::printf("note\t%.*s\n", static_cast<int>(text.size()), text.data());
  (void)std::fflush(stdout);
}

}  // namespace bench
