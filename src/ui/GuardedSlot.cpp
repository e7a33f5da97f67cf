#include "ui/GuardedSlot.h"

#include "ui/Application.h"

#include <exception>

namespace ui {

bool runGuarded(const std::function<void()> &work)
{
    try {
        work();
        return true;
    } catch (const std::exception &error) {
        showError(error);
    }
    return false;
}

}  // namespace ui
