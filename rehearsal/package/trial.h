#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace rehearsal {

/// The player of a trial submission.
constexpr char kTrialPlayer[] = "TRIAL - NOT A RUN";

/// The size of its receipt in bytes: far more than any run's.
constexpr std::size_t kTrialReceiptBytes = 1'000'000;

/// The body of a trial submission, put together as the launcher does it: a finished run of this
/// week with a note that it is none, filled up with blanks in a member of its own. `week` is
/// the server's answer to /week/current.
///
///     {"player":"TRIAL - NOT A RUN","week":"2026-W47","seed":20261147,"status":"ending",
///      ...,"trial":true,"note":"...","padding":"        "}
std::string trialSubmission(std::string_view week);

}  // namespace rehearsal
