#include "rehearsal/stage/failure.h"

#include <exception>

namespace stage {

std::string failureOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const std::exception& error) {
    return error.what();
  }
  return {};
}

}  // namespace stage
