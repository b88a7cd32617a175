#pragma once

#include <QByteArrayView>
#include <QString>

namespace pelorinnews::NestedValues {

/// QSettings reads a value inside a value by recursion, also in lines that nobody asks for. 50,000
/// levels overflow a stack of 8 MB and 20,000 do not.
constexpr qsizetype maxLevels = 10'000;

/// The most levels of values in values that a settings file with these bytes may have. Never too
/// low; too high if values lie side by side, or bytes look like the start of one.
[[nodiscard]] qsizetype possibleLevels(QByteArrayView file);

/// Whether the settings file at `path` has at most `maxLevels` possible levels, so that QSettings
/// can read it. True if there is no file that can be read. Reads the disk.
[[nodiscard]] bool areReadable(const QString &path);

}  // namespace pelorinnews::NestedValues
