#pragma once

#include <optional>
#include <string>

namespace launcher {

/// Seconds in a LiveSplit time reply, "1:02:03.5" or "12:34.56"; the server of
/// 1.8.29 and later writes 00:12:34.5600000, and "-" for no time. Nothing when the
/// reply is no time ("-", "", "45.20", "1:xx", "1.02:03:04") or not above zero.
/// Read as the C library scans it: what follows the number does not matter, a
/// third field that is no number leaves the first two ("1:02:xx" is 62 s), and a
/// minus before a zero is lost ("-0:30" is 30 s).
[[nodiscard]] std::optional<double> parseTimeReply(const std::string& reply);

}  // namespace launcher
