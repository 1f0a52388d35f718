// rehearse.exe: plays a whole run of the real launcher.exe on the stage and says in plain
// words what came of it.
//
//     rehearse.exe                            the standard scene
//     rehearse.exe --list                     the scenes, one line each
//     rehearse.exe SCENE                      that scene
//     rehearse.exe --package PACKAGE [SCENE]  checks a race package, a folder or a zip, and
//                                             plays the scene with it; in two halves:
//     rehearse.exe --check PACKAGE [--trial]
//     rehearse.exe --play PACKAGE [SCENE]
//
// --trial (after PACKAGE, also with --package) posts one trial submission to the server.
//
// Exit code 0: as expected; 1: not as expected; 2: no such scene.

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "rehearsal/package/package_check.h"
#include "rehearsal/package/server_check.h"
#include "rehearsal/scenes/show.h"

namespace {

void list(std::FILE* stream, const std::vector<rehearsal::Scene>& scenes) {
  for (const rehearsal::Scene& scene : scenes) {
    std::fprintf(stream, "%-16s%s\n", std::string(scene.name).c_str(),
                 std::string(scene.line).c_str());
  }
}

const rehearsal::Scene* sceneNamed(const std::vector<rehearsal::Scene>& scenes,
                                   const std::string& name) {
  const auto found = name.empty()
                         ? scenes.begin()
                         : std::find_if(scenes.begin(), scenes.end(),
                                        [&](const auto& scene) { return scene.name == name; });
  return found == scenes.end() ? nullptr : &*found;
}

/// Plays a scene, with the built launcher or with a package.
bool play(const rehearsal::Scene& scene, const rehearsal::Package* package) {
  std::printf("Scene %s: %s\n", std::string(scene.name).c_str(), std::string(scene.line).c_str());
  std::fflush(stdout);
  rehearsal::Show show(scene.name, scene.rules());
  if (package != nullptr) show.usePackage(*package);
  scene.play(show);
  return show.conclude();
}

rehearsal::Package open(const std::string& path) {
  const std::optional<std::string> root = stage::environmentText("KOV_STAGE_ROOT");
  const std::filesystem::path folder =
      root ? stage::pathOf(*root) : std::filesystem::temp_directory_path() / "kov-stage";
  return rehearsal::openPackage(stage::pathOf(path), folder / "unpacked");
}

bool check(const rehearsal::Package& package, bool trial) {
  rehearsal::Findings findings = rehearsal::checkPackage(package);
  const std::string& server = package.settings.server;
  rehearsal::append(findings, trial ? rehearsal::checkServerWithTrial(server)
                                    : rehearsal::checkServer(server));
  std::printf("%s\n%s\n", rehearsal::asLines(findings).c_str(),
              rehearsal::summary(findings).c_str());
  std::fflush(stdout);
  return rehearsal::noneFailed(findings);
}

/// A package without a launcher or its settings cannot be played.
bool playPackage(const rehearsal::Scene& scene, const rehearsal::Package& package) {
  if (package.programFolder.empty() || package.ini.empty()) {
    std::printf("There is nothing to play: %s.\n",
                package.problem.empty() ? "launcher.ini is missing" : package.problem.c_str());
    return false;
  }
  return play(scene, &package);
}

/// What the words in front of the scene ask for.
struct Task {
  std::string mode;     ///< "--package", "--check", "--play"; "": only the scene
  std::string package;
  bool trial = false;
};

bool rehearse(const Task& task, const rehearsal::Scene& scene) {
  const std::string& mode = task.mode;
  if (mode.empty()) return play(scene, nullptr);
  const rehearsal::Package package = open(task.package);
  bool good = true;
  if (mode != "--play") good = check(package, task.trial);
  if (mode == "--package") std::printf("\n");
  if (mode != "--check") good = playPackage(scene, package) && good;
  return good;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  SetConsoleOutputCP(CP_UTF8);
  const std::vector<rehearsal::Scene> scenes = rehearsal::allScenes();
  std::vector<std::string> words;
  for (int i = 1; i < count; ++i) words.push_back(stage::toUtf8(arguments[i]));
  if (words == std::vector<std::string>{"--list"}) {
    list(stdout, scenes);
    return 0;
  }
  Task task;
  if (words.size() > 1 && (words[0] == "--package" || words[0] == "--check" ||
                           words[0] == "--play")) {
    task.mode = words[0];
    task.package = words[1];
    words.erase(words.begin(), words.begin() + 2);
    task.trial = !words.empty() && words[0] == "--trial" && task.mode != "--play";
    if (task.trial) words.erase(words.begin());
  }
  const rehearsal::Scene* scene =
      words.size() > 1 ? nullptr : sceneNamed(scenes, words.empty() ? "" : words[0]);
  if (scene == nullptr) {
    std::fprintf(stderr, "usage: rehearse [--list] [--package FOLDER|ZIP [--trial]] [SCENE]\n");
    list(stderr, scenes);
    return 2;
  }
  try {
    return rehearse(task, *scene) ? 0 : 1;
  } catch (const std::exception& error) {
    std::printf("The scene could not be played: %s\n", error.what());
    return 1;
  }
}
