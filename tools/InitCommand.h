#pragma once

#include <QString>
#include <QStringList>

// `tempalia-store init`: a personal store for the user who runs it, as the program's first
// start makes one. Arguments after "init": [--file FILE] LOGIN [PASSWORD]; without PASSWORD
// the password is read as one line of standard input, so that it stays out of the process
// list. Prints what it did; returns the exit status.
namespace storetool {

int initCommand(const QString &dataSource, const QStringList &arguments);

}  // namespace storetool
