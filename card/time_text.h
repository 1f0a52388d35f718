#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace launcher::card {

/// A run's time for the card, from seconds in plain decimals as receipts have
/// them ("754.56"): "12:34.56", from an hour on "1:02:34.56". Hundredths are
/// rounded, a half upwards. Blanks and one pair of quotes around the number do
/// not matter. Nothing when the text is no plain number, is negative, zero
/// (which stands for "no time") or 1000 hours and more.
[[nodiscard]] std::optional<std::u16string> formatTime(std::u16string_view seconds);

}  // namespace launcher::card
