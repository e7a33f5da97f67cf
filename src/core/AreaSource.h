#pragma once

class QObject;

namespace store {
class DataControl;
}

namespace core {

// The areas a super user's tab offers: the window's adcAreas when it hands one over
// (`given`), otherwise an adcAreas ("SELECT * FROM AREAS") of `owner`, opened here.
store::DataControl *areaSource(store::DataControl *given, QObject *owner);

}  // namespace core
