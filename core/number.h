#pragma once

namespace launcher {

/// The decimal number that `text` begins with, read as Windows' msvcrt.dll reads it:
///
///     [blanks][+|-]digits[.digits][(e|E|d|D)[+|-]digits]
///
/// Zero when there is none. Newer C libraries also read "0x10", "inf" and "nan", and some
/// do not know the exponent "d"; which one a build is linked with must not show in a result.
[[nodiscard]] double readDecimal(const char* text);

/// The whole number that `text` begins with, [blanks][+|-]digits; zero when there is none.
/// Beyond 32 bits its lowest 32 bits are left: C libraries differ there, too.
[[nodiscard]] int readInteger(const char* text);

}  // namespace launcher
