#pragma once

#include <string>
#include <vector>

/// Windows' body of the seam with a note of each call, as the machine in memory keeps one. The
/// linker leads every call of a seam's function in this program through the recorder.
namespace contract {

/// Notes the calls of the seam while it lives; one at a time.
class SeamRecorder {
 public:
  SeamRecorder();
  ~SeamRecorder();
  SeamRecorder(const SeamRecorder&) = delete;
  SeamRecorder& operator=(const SeamRecorder&) = delete;

  /// What was noted so far, in its order: "readFile [C:\race\week.json] -> 48 bytes".
  [[nodiscard]] const std::vector<std::string>& calls() const;
};

}  // namespace contract
