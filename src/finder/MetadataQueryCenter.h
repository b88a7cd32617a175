#pragma once

#include <QObject>

namespace pelorinnews {

class MetadataQuery;

/// Emits the signals of all metadata queries of the process. Lives on the main thread, emits only
/// there, and is never destroyed.
///
/// Compare the query pointers in its signals, but never dereference them: the pointer to another
/// owner's query may be dangling.
class MetadataQueryCenter : public QObject {
    Q_OBJECT

public:
    /// Callable from any thread, with an application object alive.
    static MetadataQueryCenter *defaultCenter();

Q_SIGNALS:
    /// The existing matches have been gathered.
    void didFinishGathering(const pelorinnews::MetadataQuery *query);

    /// After `didFinishGathering`: matches have appeared or disappeared.
    void didUpdate(const pelorinnews::MetadataQuery *query);

private:
    MetadataQueryCenter() = default;
};

}  // namespace pelorinnews
