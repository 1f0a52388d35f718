#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

/// How a call of the seam is written down, by whichever body it reached:
///
///     readFileStart [C:\race\week.json] -> 48 bytes
namespace machine {

/// A text on one line: its line ends as "\n" and "\r".
[[nodiscard]] inline std::string onOneLine(std::string_view text) {
  std::string line;
  for (const char byte : text) {
    if (byte == '\n') {
      line += "\\n";
    } else if (byte == '\r') {
      line += "\\r";
    } else {
      line += byte;
    }
  }
  return line;
}

/// The call with its arguments, which onOneLine() made.
[[nodiscard]] inline std::string callText(const char* name,
                                          std::initializer_list<std::string> arguments) {
  std::string text = name;
  for (const std::string& argument : arguments) text += " [" + argument + "]";
  return text;
}

}  // namespace machine
