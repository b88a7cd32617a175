#include <QObject>
#include <QtPlugin>

/// A news module with the interface before the first one. It must not be loaded, and ends the
/// process if it is.
class OlderNewsModule final : public QObject {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Olvane.PelorinNews.NewsPlugin/0" FILE "older.json")
};

namespace {

[[maybe_unused]] const bool loaded = [] {
    qFatal("A module with another interface was loaded.");
    return true;
}();

}  // namespace

#include "OlderNewsModule.moc"
