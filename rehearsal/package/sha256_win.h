#pragma once

#include <string>
#include <string_view>

namespace rehearsal {

/// The SHA-256 of the bytes in lower-case hexadecimal, as sha256sum writes it.
std::string sha256(std::string_view bytes);

}  // namespace rehearsal
