#include "store/ErrorReporter.h"

#include "store/StoreError.h"

#include <cstdio>

namespace store {
namespace {
ErrorReporter &current()
{
    static ErrorReporter reporter;
    return reporter;
}
}  // namespace

void setErrorReporter(ErrorReporter reporter)
{
    current() = std::move(reporter);
}

void reportError(const std::exception &error)
{
    if (current()) {
        current()(error);
        return;
    }
    std::fprintf(stderr, "%s\n", error.what());
}

}  // namespace store
