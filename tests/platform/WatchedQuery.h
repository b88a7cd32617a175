#pragma once

#include "MetadataQuery.h"
#include "MetadataQueryCenter.h"

#include <QDir>
#include <QFile>
#include <QObject>
#include <QStringList>

namespace pelorinnews::test {

/// A metadata query that counts its own news.
class WatchedQuery {
public:
    WatchedQuery(const QString &pattern, const QStringList &scopes) {
        query.setPredicate(FileNamePattern::like(pattern));
        query.setSearchScopes(scopes);
        const auto *center = MetadataQueryCenter::defaultCenter();
        QObject::connect(center, &MetadataQueryCenter::didFinishGathering, &context,
                         [this](const MetadataQuery *from) { gathered += from == &query ? 1 : 0; });
        QObject::connect(center, &MetadataQueryCenter::didUpdate, &context,
                         [this](const MetadataQuery *from) { updated += from == &query ? 1 : 0; });
    }

    MetadataQuery query;
    int gathered = 0;
    int updated = 0;

private:
    QObject context;
};

/// How many threads of this process bear `name`.
inline int threadCount(const QByteArray &name) {
    int count = 0;
    const QStringList threads = QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs);
    for (const QString &thread : threads) {
        QFile file(QStringLiteral("/proc/self/task/%1/comm").arg(thread));
        if (file.open(QIODevice::ReadOnly) && file.readAll().trimmed() == name)
            ++count;
    }
    return count;
}

}  // namespace pelorinnews::test
