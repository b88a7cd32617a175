#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace pelorinnews::test {

/// An item of a feed that a test serves.
struct FeedItem {
    QString title;
    QDateTime date;
    QString plainText;
    QString html;
    QString category = QStringLiteral("mac pelorin");
};

}  // namespace pelorinnews::test
