#pragma once

// Small pieces the two "Cierre de mes" tabs build on.

#include "ui/DataGrid.h"

#include <QString>
#include <QVariant>

class QLabel;
class QWidget;

namespace store {
class DataControl;
}

namespace monthclose {

// A Yes/No column of CIERREMESES as a bool.
bool flag(const QVariant &v);

using ui::column;

// A label for `buddy`, so that its mnemonic moves the focus there.
QLabel *labelFor(const QString &caption, QWidget *buddy);

// Whether the list stands on a stored or new row: not before the first, not after the last,
// and not on an empty list.
bool standsOnRow(store::DataControl *adc);

}  // namespace monthclose
