#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "result/run_check.h"

namespace launcher {

/// What the last submission left for the result card. Texts are empty and numbers 0
/// until a server has answered.
struct UploadOutcome {
  std::string reply;         ///< whole body of the server's reply
  std::string profileToken;  ///< the player's login code; preloaded at start
  std::string difficulty;    ///< "easy", "normal", "nightmare" or the settings' word
  std::string ending;        ///< as submitted, if no blank stands after its colon there
  std::string total;         ///< raw text as submitted, blanks included
  int rank = 0;
  int points = 0;
};

/// The body of /submit: player, Steam id (when there is one), difficulty (when the
/// receipt has no such key) and the receipt's own members after them. Nothing is
/// escaped. The receipt begins with "{"; what stands after its last "}" is kept.
[[nodiscard]] std::string submissionPayload(std::string_view player, std::string_view steamId,
                                            std::string_view difficulty,
                                            const Receipt& receipt);

/// The login code in a server's reply; nothing when it has none. An empty code counts.
///
///     {"accepted":true,"rank":3,"points":90,"token":"kq7-4821"}
///     {"accepted":false,"error":"week window closed"}
[[nodiscard]] std::optional<std::string> replyToken(std::string_view reply);

/// The error text in a server's reply: what stands between the first two quotes behind the
/// colon behind "error". Empty when there is none.
[[nodiscard]] std::string replyError(std::string_view reply);

/// Takes over what a reply and the submitted receipt say. Values that are not found
/// keep what they held; the profile token is not touched.
void readOutcome(UploadOutcome& outcome, const std::string& reply, std::string_view difficulty,
                 std::string_view receipt);

/// The race's web site, without a trailing slash.
inline constexpr char kBuiltInSite[] = "https://kov-race.example";

/// Address of the player's profile page. The token is not encoded.
[[nodiscard]] std::string profileAddress(std::string_view siteBase, std::string_view token);

}  // namespace launcher
