#pragma once

#include <QStringList>

namespace pelorinnews::test {

/// Runs a program to its end, at most 20 seconds, and gives what it printed without white space
/// around. `exitCode` becomes -1 where it did not end by itself.
QByteArray outputOf(const QString &program, const QStringList &arguments, int *exitCode = nullptr);

}  // namespace pelorinnews::test
