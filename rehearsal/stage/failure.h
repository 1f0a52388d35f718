#pragma once

#include <functional>
#include <string>

namespace stage {

/// What the exception says that the work throws; empty when it throws none. (Tests that are
/// compiled without exceptions cannot catch one themselves.)
std::string failureOf(const std::function<void()>& work);

}  // namespace stage
