#include "WindowFixture.h"

#include "Controls.h"

#include <QApplication>
#include <QWidget>

namespace tests {

void closeAllWindows()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        w->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QString clickForBox(QWidget *w, const char *button, std::optional<ui::Answer> answer)
{
    ScriptedDialogs *dialogs = ScriptedDialogs::current();
    const int before = dialogs->count();
    if (answer)
        dialogs->answerNext(*answer);
    click(w, button);
    return dialogs->count() > before ? dialogs->last().text : QString();
}

void WindowFixture::begin(TempStore::Content content)
{
    openStore(content);
    beginWithoutStore();
}

void WindowFixture::openStore(TempStore::Content content)
{
    m_store = std::make_unique<TempStore>(content);
}

void WindowFixture::beginWithoutStore()
{
    m_dialogs = std::make_unique<ScriptedDialogs>();
    m_installed = std::make_unique<ScriptedDialogs::Install>(*m_dialogs);
}

void WindowFixture::end()
{
    closeAllWindows();
    m_installed.reset();
    m_dialogs.reset();
    m_store.reset();
}

}  // namespace tests
