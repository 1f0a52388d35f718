#include "core/number.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace launcher {
namespace {

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }
const char* afterBlanks(const char* at) {
  while (*at == ' ' || (*at >= '\t' && *at <= '\r')) ++at;
  return at;
}
const char* afterSign(const char* at) { return *at == '-' || *at == '+' ? at + 1 : at; }
const char* afterDigits(const char* at) {
  while (isDigit(*at)) ++at;
  return at;
}

}  // namespace

double readDecimal(const char* text) {
  const char* at = afterBlanks(text);
  const bool negative = *at == '-';
  at = afterSign(at);
  if (at[0] == '0' && (at[1] == 'x' || at[1] == 'X')) return negative ? -0.0 : 0.0;
  if (!isDigit(at[0]) && !(at[0] == '.' && isDigit(at[1]))) return 0.0;

  at = afterDigits(at);
  if (*at == '.') at = afterDigits(at + 1);
  if ((*at == 'd' || *at == 'D') && isDigit(*afterSign(at + 1))) {
    std::string known(text, afterDigits(afterSign(at + 1)));
    known[static_cast<std::size_t>(at - text)] = 'e';
    return std::atof(known.c_str());
  }
  return std::atof(text);
}

int readInteger(const char* text) {
  const char* at = afterBlanks(text);
  const bool negative = *at == '-';
  std::uint32_t number = 0;
  for (at = afterSign(at); isDigit(*at); ++at) {
    number = number * 10 + static_cast<std::uint32_t>(*at - '0');
  }
  return static_cast<int>(negative ? 0 - number : number);
}

}  // namespace launcher
