#pragma once

#include <string>
#include <string_view>

#include "rehearsal/package/package.h"
#include "rehearsal/stage/stage.h"

namespace rehearsal {

/// Puts the package on the stage, after Stage::putUpStandardMachine: its programs beside
/// launcher.ini, its mod as the player package of a game without a mod, its splits, layout and
/// settings.cfg beside the stand-in LiveSplit. The recorder stays in the place of kov_result.exe.
void putOnStage(const Package& package, stage::Stage& machine);

/// Writes the package's own launcher.ini to the stage, with `more` and with everything that
/// names a place on a machine turned to the stage: server, receipt, data, install_from,
/// livesplit, livesplit_lss; game and steam are left to be found, the player is "player".
void writePackageSettings(const Package& package, stage::Stage& machine,
                          std::string_view serverUrl, const stage::Ini& more);

/// A pattern that a scene expects of the standard settings, for the settings of the package:
/// its app id, its site, its timer.
std::string expectedOf(const Package& package, std::string_view pattern);

}  // namespace rehearsal
