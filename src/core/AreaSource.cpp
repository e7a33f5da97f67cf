#include "core/AreaSource.h"

#include "store/DataControl.h"

namespace core {

store::DataControl *areaSource(store::DataControl *given, QObject *owner)
{
    if (given)
        return given;
    auto *areas = new store::DataControl(QStringLiteral("adcAreas"), owner);
    areas->setObjectName(QStringLiteral("adcAreas"));
    areas->setRecordSource(QStringLiteral("SELECT * FROM AREAS"));
    areas->refresh();
    return areas;
}

}  // namespace core
