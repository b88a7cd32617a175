#pragma once

#include <QObject>

namespace pelorinnews {

class MetadataQuery;

/// Where every metadata query of the process says that it has news. It lives on the main thread,
/// says everything there, and is never destroyed.
///
/// The queries named in its signals are there to be compared only: one that belongs to somebody
/// else may be gone.
class MetadataQueryCenter : public QObject {
    Q_OBJECT

public:
    /// Callable from any thread, with an application object alive.
    static MetadataQueryCenter *defaultCenter();

Q_SIGNALS:
    /// The matches that existed have been gathered.
    void didFinishGathering(const pelorinnews::MetadataQuery *query);

    /// After that: matches have come or gone.
    void didUpdate(const pelorinnews::MetadataQuery *query);

private:
    MetadataQueryCenter() = default;
};

}  // namespace pelorinnews
