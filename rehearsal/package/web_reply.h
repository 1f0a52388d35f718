#pragma once

#include <string>

namespace rehearsal {

/// What became of one request of the check.
struct WebReply {
  enum class Outcome {
    answered,
    unreachable,  ///< no address, no listener, no answer in time: may be this machine's fault
    refused,      ///< the certificate or the encryption; a launcher would not get further either
    broken,       ///< the connection ended, or what came was no HTTP
  };

  Outcome outcome = Outcome::unreachable;
  std::string problem = {};  ///< when refused: why, as in "its certificate has expired"
  std::string advice = {};   ///< when refused or broken: what to do
  unsigned status = 0;
  std::string location = {};  ///< the header of that name, "" when there is none
  std::string encoding = {};  ///< Content-Encoding, "" when there is none
  std::string body = {};      ///< as it came
};

}  // namespace rehearsal
