#include "pelorinnews/NewsPlugin.h"

#include <QFile>
#include <QObject>
#include <QThread>

/// A news module that records what its host does, in the file named by PELORIN_RECORD, and logs one
/// line of each level from a thread of its own.
class RecordingNewsModule final : public QObject, public pelorinnews::NewsPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID PELORINNEWS_PLUGIN_IID)
    Q_INTERFACES(pelorinnews::NewsPlugin)

public:
    static void record(const QString &line) {
        QFile file(qEnvironmentVariable("PELORIN_RECORD"));
        if (file.open(QFile::Append))
            file.write(line.toUtf8() + '\n');
    }

    void setHostIdentity(const pelorinnews::HostIdentity &identity) override {
        record(QStringLiteral("identity %1 %2 %3")
                   .arg(identity.bundleIdentifier, identity.organizationName,
                        identity.applicationName));
    }

    std::shared_ptr<pelorinnews::NewsController> init(pelorinnews::Error *) override;

    std::shared_ptr<pelorinnews::NotificationCenter> notificationCenter() override {
        return nullptr;
    }
};

namespace {

class RecordingController final : public pelorinnews::NewsController {
public:
    RecordingController() = default;
    ~RecordingController() override { RecordingNewsModule::record(QStringLiteral("released")); }
    RecordingController(const RecordingController &) = delete;
    RecordingController &operator=(const RecordingController &) = delete;

    void show() override { RecordingNewsModule::record(QStringLiteral("show")); }
    void exit() override { RecordingNewsModule::record(QStringLiteral("exit")); }

    void setLogger(std::shared_ptr<pelorinnews::OlvLogger> logger) override {
        RecordingNewsModule::record(logger ? QStringLiteral("logger")
                                           : QStringLiteral("no logger"));
        const std::unique_ptr<QThread> thread(QThread::create([logger] {
            logger->addErrorMessage(QStringLiteral("an error"));
            logger->addWarningMessage(QStringLiteral("a warning"));
            logger->addInfoMessage(QStringLiteral("an information"));
            logger->addDebugMessage(QStringLiteral("a detail"));
        }));
        thread->start();
        thread->wait();
    }

    void setDelegate(std::shared_ptr<void> delegate) override {
        RecordingNewsModule::record(delegate ? QStringLiteral("delegate")
                                             : QStringLiteral("no delegate"));
    }
};

}  // namespace

std::shared_ptr<pelorinnews::NewsController> RecordingNewsModule::init(pelorinnews::Error *) {
    record(QStringLiteral("init"));
    return std::make_shared<RecordingController>();
}

#include "RecordingNewsModule.moc"
