#include <QObject>
#include <QtPlugin>

/// A Qt plug-in of another kind.
class ForeignModule final : public QObject {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Olvane.PelorinNews.test.Foreign")
};

#include "ForeignModule.moc"
