// Plays every committed input of every fuzz target: fuzz_replay FOLDER, where FOLDER has
// one folder for each target. A target without inputs is a failure, and so is a folder
// without a target.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/fuzz/fuzz_target.h"

namespace fuzzing {

std::vector<NamedTarget>& targets() {
  static std::vector<NamedTarget> all;
  return all;
}

}  // namespace fuzzing

namespace {

namespace fs = std::filesystem;

std::string bytesOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// How many inputs the target has played; every one of them ended well.
std::size_t replay(const fuzzing::NamedTarget& target, const fs::path& folder) {
  std::size_t played = 0;
  if (!fs::is_directory(folder)) return played;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const std::string bytes = bytesOf(entry.path());
    std::printf("%s: %s (%zu bytes)\n", target.name, entry.path().filename().string().c_str(),
                bytes.size());
    std::fflush(stdout);
    target.run(bytes);
    ++played;
  }
  return played;
}

bool hasTarget(const std::string& name) {
  const auto& all = fuzzing::targets();
  return std::any_of(all.begin(), all.end(),
                     [&name](const fuzzing::NamedTarget& target) { return name == target.name; });
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: fuzz_replay FOLDER\n");
    return 2;
  }
  const fs::path folder = arguments[1];
  std::size_t passed = 0;
  std::size_t failed = 0;
  for (const fuzzing::NamedTarget& target : fuzzing::targets()) {
    const std::size_t played = replay(target, folder / target.name);
    passed += played;
    if (played == 0) {
      std::printf("%s: no inputs\n", target.name);
      ++failed;
    }
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (hasTarget(entry.path().filename().string())) continue;
    std::printf("%s: no target of this name\n", entry.path().string().c_str());
    ++failed;
  }
  std::printf("%zu passed, %zu failed\n", passed, failed);
  return failed == 0 ? 0 : 1;
}
