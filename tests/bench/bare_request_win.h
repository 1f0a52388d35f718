#pragma once

#include <string>

namespace bench {

/// A POST, or a GET (without a body), to this machine with a WinHTTP session of its own, and
/// nothing around it: the answer's body, empty when there is none.
std::string bareRequest(unsigned short port, const wchar_t* method, const wchar_t* path,
                        const std::string& body);

}  // namespace bench
