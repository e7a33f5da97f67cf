#include "monthclose/MonthCloseParts.h"

#include "store/DataControl.h"
#include "store/SchemaInfo.h"

#include <QLabel>

namespace monthclose {

bool flag(const QVariant &v)
{
    return store::normalize(store::ColumnKind::YesNo, v).toBool();
}

QLabel *labelFor(const QString &caption, QWidget *buddy)
{
    auto *label = new QLabel(caption);
    label->setBuddy(buddy);
    return label;
}

bool standsOnRow(store::DataControl *adc)
{
    const int pos = adc->absolutePosition();
    if (pos == store::DataControl::PosBOF || pos == store::DataControl::PosEOF || !adc->hasCurrentRow())
        return false;
    return adc->recordCount() >= 1;
}

}  // namespace monthclose
