#pragma once

#include "ScriptedDialogs.h"
#include "TempStore.h"

#include <memory>
#include <optional>

class QWidget;

namespace tests {

// Every top-level window closed and deleted.
void closeAllWindows();

// Clicks the button `button` of `w` as the user does and returns the text of the last box
// that came up meanwhile, empty when none did; `answer` is queued for the first question.
QString clickForBox(QWidget *w, const char *button, std::optional<ui::Answer> answer = std::nullopt);

// What a test of the windows holds for one test function: a fresh store, the scripted
// dialogs installed, and at the end every window closed before the store goes. Called
// from the test's init() and cleanup().
class WindowFixture {
public:
    void begin(TempStore::Content content = TempStore::Content::Demo);
    // The dialogs only: the test opens its store when it is ready for one.
    void beginWithoutStore();
    void openStore(TempStore::Content content = TempStore::Content::Demo);
    void end();

    TempStore &store() { return *m_store; }
    ScriptedDialogs &dialogs() { return *m_dialogs; }
    void dropStore() { m_store.reset(); }

private:
    std::unique_ptr<TempStore> m_store;
    std::unique_ptr<ScriptedDialogs> m_dialogs;
    std::unique_ptr<ScriptedDialogs::Install> m_installed;
};

}  // namespace tests
