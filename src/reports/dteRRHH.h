#pragma once

// The data environment of the printed reports: the read-only connection decQuronda and its
// nine named commands. It lives with the reports (rather than with the store) because
// nothing else uses it.
//
// One instance for the whole run, created by the first report that needs it; its
// connection is opened then and kept. The recordset of a command is not shared: each call
// of open() runs the statement again and hands back rows of their own, so two reports of
// one command never see each other's statement.

#include "store/Shape.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace store {
class Connection;
}

class dteRRHH {
public:
    static constexpr const char *kConnectString =
        "PROVIDER=MSDataShape;DATA PROVIDER=MSDASQL;Persist Security Info=False;User ID=sa;"
        "Data Source=RRHHODBC;Mode=Read;";

    static dteRRHH &instance();

    // "Actividades", "Areas", "Rubros", "Destinos", "Institutos", "TipoHoras", "Materias",
    // "Presupuesto", "Funcionarios".
    static QStringList commandNames();
    // The design statement of a command; empty for an unknown name.
    static QString commandText(const QString &command);

    // The recordset of `command` with `source` as its statement (the design statement when
    // source is empty), opened and fully read. A SHAPE statement gives its hierarchy; a plain
    // one a single level named after the command. Store errors pass through; an unknown
    // command is StoreError 3265.
    store::ShapeChapter open(const QString &command, const QString &source = {});

    store::Connection &connection();  // decQuronda

private:
    dteRRHH() = default;
    std::shared_ptr<store::Connection> m_decQuronda;
};
