#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace launcher::check {

/// Seconds since 1970 of an HTTP date, "Sat, 21 Nov 2026 15:04:40 GMT"; nothing for any other
/// text. Format: RFC 9110, section 5.6.7; the two older forms are not read.
[[nodiscard]] std::optional<std::int64_t> httpDateSeconds(std::string_view date);

}  // namespace launcher::check
