#pragma once

// A window's controls found by name and used as the user uses them.
#include "ui/DataLists.h"

#include <QAbstractButton>
#include <QLineEdit>
#include <QString>
#include <QTest>
#include <QWidget>

namespace tests {

// The control `name` of `w`; a missing control ends the test program with its name.
template <typename T>
T *child(const QObject *w, const QString &name)
{
    T *c = w->findChild<T *>(name);
    if (!c)
        qFatal("control %s not found", qPrintable(name));
    return c;
}

template <typename T>
T *child(const QObject *w, const char *name)
{
    return child<T>(w, QString::fromUtf8(name));
}

inline void click(QWidget *w, const char *button)
{
    QTest::mouseClick(child<QAbstractButton>(w, button), Qt::LeftButton);
}

// The old text selected and replaced by the keys typed, one key a character (any
// character, not only those of Latin-1).
inline void type(QLineEdit *edit, const QString &text)
{
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    for (QChar c : text)
        QTest::sendKeyEvent(QTest::Click, edit, Qt::Key_unknown, QString(c), Qt::NoModifier);
}

inline void type(QWidget *w, const char *name, const QString &text)
{
    type(child<QLineEdit>(w, name), text);
}

// The row of a list box whose text is `text`, as a click chooses it (in a box that takes
// clicks).
inline void choose(QWidget *w, const char *name, const QString &text)
{
    auto *box = child<ui::DataCombo>(w, name);
    if (!box->isEnabled() || !box->chooseText(text))
        qFatal("cannot choose %s in %s", qPrintable(text), name);
}

}  // namespace tests
