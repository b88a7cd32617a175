#pragma once

#include <QStringList>

namespace pelorinnews::test {

/// Runs a program to its end, at most 20 seconds, and returns what it printed, without surrounding
/// whitespace. `exitCode` becomes -1 if it did not end by itself.
QByteArray outputOf(const QString &program, const QStringList &arguments, int *exitCode = nullptr);

}  // namespace pelorinnews::test
