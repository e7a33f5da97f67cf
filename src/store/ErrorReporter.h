#pragma once

#include <functional>
#include <exception>

namespace store {

// Where an error goes when it happens inside the toolkit's own calls (a grid cell written
// in place, a list choosing a row) and cannot travel further up. The session installs a
// reporter that shows the message in a box; without one, errors are written to stderr.
using ErrorReporter = std::function<void(const std::exception &)>;
void setErrorReporter(ErrorReporter reporter);
void reportError(const std::exception &error);

}  // namespace store
