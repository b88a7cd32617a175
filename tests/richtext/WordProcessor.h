#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

namespace pelorinnews::test {

/// What LibreOffice Writer reads from rich text: by name, the outline of each copy, as
/// `OpenDocumentOutline` makes it. Fails the running test, and
/// returns nothing, if LibreOffice is missing, fails or hangs.
QMap<QString, QString> wordProcessorOutlines(const QMap<QString, QByteArray> &copies);

}  // namespace pelorinnews::test
