#include "rehearsal/package/sha256_win.h"

#include <windows.h>

#include <bcrypt.h>

#include <array>
#include <stdexcept>

namespace rehearsal {

namespace {

void check(NTSTATUS status) {
  if (status < 0) throw std::runtime_error("Windows cannot compute a SHA-256 here");
}

}  // namespace

std::string sha256(std::string_view bytes) {
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  BCRYPT_HASH_HANDLE hash = nullptr;
  std::array<UCHAR, 32> sum = {};
  check(BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
  NTSTATUS status = BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0);
  if (status >= 0) {
    // The call takes no const; it only reads.
    auto* data = reinterpret_cast<PUCHAR>(const_cast<char*>(bytes.data()));
    status = BCryptHashData(hash, data, static_cast<ULONG>(bytes.size()), 0);
    if (status >= 0) status = BCryptFinishHash(hash, sum.data(), sum.size(), 0);
    BCryptDestroyHash(hash);
  }
  BCryptCloseAlgorithmProvider(algorithm, 0);
  check(status);

  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const UCHAR byte : sum) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace rehearsal
