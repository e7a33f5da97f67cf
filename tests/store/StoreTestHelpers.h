#pragma once

// What the store-level tests share: the error a call throws.
#include "store/StoreError.h"

#include <QString>

namespace store_tests {

// The StoreError `call` throws; when it throws none, an error whose number is 0 and whose
// text says so, which no expectation of a test matches.
template <class Call>
store::StoreError errorOf(Call &&call)
{
    try {
        call();
    } catch (const store::StoreError &e) {
        return e;
    }
    return store::StoreError(store::StoreError::Kind::Store, 0, QStringLiteral("(nothing was refused)"));
}

}  // namespace store_tests
