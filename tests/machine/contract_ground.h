#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the scripts of contract_test.cpp stand on: the machine in memory, or a real folder,
/// real sockets and the real registry.
namespace contract {

/// What another program that holds a file open leaves to others.
enum class Leaves { everything, reading, nothing };

/// How the race server answers.
enum class Answers { whole, withoutBody, closes, half };

class Ground {
 public:
  Ground();
  ~Ground();
  Ground(const Ground&) = delete;
  Ground& operator=(const Ground&) = delete;

  /// An empty folder, in the ANSI code page, without a backslash at its end.
  [[nodiscard]] std::string folder() const;
  [[nodiscard]] std::string in(const std::string& name) const { return folder() + "\\" + name; }
  /// The ANSI bytes of a text in UTF-8.
  [[nodiscard]] std::string ansi(std::string_view utf8) const;
  void put(const std::string& name, std::string_view bytes);
  void makeFolder(const std::string& name);
  [[nodiscard]] std::optional<std::string> bytesOf(const std::string& name) const;
  void setReadOnly(const std::string& name);
  /// Another program opens a file, until letGo().
  void hold(const std::string& name, Leaves leaves);
  void letGo();

  /// Address of a race server, without a slash at its end; it answers with this body.
  [[nodiscard]] std::string server(Answers answers, const std::string& body);
  /// Address at which nothing listens.
  [[nodiscard]] std::string nobody() const;
  /// "METHOD target body" of each request so far.
  [[nodiscard]] std::vector<std::string> requests() const;

  /// LiveSplit listens and answers each command by this line; "" closes instead.
  void startTimer(const std::string& line);
  void stopTimer();

  void setSteamPath(const std::optional<std::string>& path);

  /// The image name of a program that runs.
  [[nodiscard]] std::wstring runningImage() const;

  /// A byte sequence of a code page in UTF-16.
  [[nodiscard]] std::wstring decoded(unsigned codePage, const std::string& bytes) const;

  /// Every call of the seam so far, as machine::callText() writes it, with its result:
  /// "readFile [C:\contract\a] -> 3 bytes".
  [[nodiscard]] std::vector<std::string> calls() const;

  /// Milliseconds of a clock that never goes back.
  [[nodiscard]] long long clockMs() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace contract
