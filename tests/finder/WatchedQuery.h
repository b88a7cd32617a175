#pragma once

#include "SearchThreads.h"
#include "finder/MetadataQuery.h"
#include "finder/MetadataQueryCenter.h"

#include <QObject>
#include <QStringList>

namespace pelorinnews::test {

/// A metadata query whose signals are counted.
class WatchedQuery {
public:
    WatchedQuery(const QString &pattern, const QStringList &scopes) {
        query.setPredicate(FileNamePattern::like(pattern));
        query.setSearchScopes(scopes);
        const auto *center = MetadataQueryCenter::defaultCenter();
        QObject::connect(center, &MetadataQueryCenter::didFinishGathering, &_context,
                         [this](const MetadataQuery *from) { gathered += from == &query ? 1 : 0; });
        QObject::connect(center, &MetadataQueryCenter::didUpdate, &_context,
                         [this](const MetadataQuery *from) { updated += from == &query ? 1 : 0; });
    }

    MetadataQuery query;
    int gathered = 0;
    int updated = 0;

private:
    QObject _context;
    HurriedWalks _hurriedWalks;
};

}  // namespace pelorinnews::test
