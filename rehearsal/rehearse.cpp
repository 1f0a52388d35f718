// rehearse.exe: plays a whole run of the real launcher.exe on the stage and says in plain
// words what came of it.
//
//     rehearse.exe            the standard scene
//     rehearse.exe --list     the scenes, one line each
//     rehearse.exe SCENE      that scene
//
// Exit code 0: as expected; 1: not as expected; 2: no such scene.

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

#include "rehearsal/scenes/show.h"

namespace {

void list(std::FILE* stream, const std::vector<rehearsal::Scene>& scenes) {
  for (const rehearsal::Scene& scene : scenes) {
    std::fprintf(stream, "%-16s%s\n", std::string(scene.name).c_str(),
                 std::string(scene.line).c_str());
  }
}

bool play(const rehearsal::Scene& scene) {
  std::printf("Scene %s: %s\n", std::string(scene.name).c_str(), std::string(scene.line).c_str());
  std::fflush(stdout);
  rehearsal::Show show(scene.name, scene.rules());
  scene.play(show);
  return show.conclude();
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  SetConsoleOutputCP(CP_UTF8);
  const std::vector<rehearsal::Scene> scenes = rehearsal::allScenes();
  const std::string word = count > 1 ? stage::toUtf8(arguments[1]) : "";
  if (word == "--list") {
    list(stdout, scenes);
    return 0;
  }
  const auto found =
      word.empty() ? scenes.begin()
                   : std::find_if(scenes.begin(), scenes.end(),
                                  [&](const auto& scene) { return scene.name == word; });
  if (found == scenes.end() || count > 2) {
    std::fprintf(stderr, "usage: rehearse [--list] [SCENE]\n");
    list(stderr, scenes);
    return 2;
  }
  try {
    return play(*found) ? 0 : 1;
  } catch (const std::exception& error) {
    std::printf("The scene could not be played: %s\n", error.what());
    return 1;
  }
}
