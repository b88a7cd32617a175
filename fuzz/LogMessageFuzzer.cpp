// The promise tested: a format is expanded as a simple model does it, and what an error says never
// begins a line of its own in the log.

#include "Input.h"
#include "logging/LogMessage.h"

using namespace pelorinnews;

namespace {

void require(bool holds) {
    if (!holds)
        qFatal("a log message violates one of its guarantees");
}

/// The same result in other steps: splits the format into pieces, then joins these.
QString expanded(const QString &format, QStringList arguments) {
    QStringList pieces;
    for (qsizetype i = 0; i < format.size(); ++i) {
        const QString next = format.mid(i, 2);
        if (next == u"%@" && !arguments.isEmpty()) {
            pieces.append(arguments.takeFirst());
            ++i;
        } else if (next == u"%%") {
            pieces.append(QStringLiteral("%"));
            ++i;
        } else {
            pieces.append(format.mid(i, 1));
        }
    }
    return pieces.join(QString());
}

class Recorder final : public OlvLogger {
public:
    void addErrorMessage(const QString &message) override { add(1, message); }
    void addWarningMessage(const QString &message) override { add(2, message); }
    void addInfoMessage(const QString &message) override { add(3, message); }
    void addDebugMessage(const QString &message) override { add(4, message); }

    int level = 0;
    QString text;

private:
    void add(int of, const QString &message) {
        require(level == 0);
        level = of;
        text = message;
    }
};

bool isControl(QChar character) {
    return character.category() == QChar::Other_Control ||
           character.category() == QChar::Separator_Line ||
           character.category() == QChar::Separator_Paragraph;
}

}  // namespace

/// The first byte is the level; then follow the format and its arguments, one a line.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(QByteArrayView(data, static_cast<qsizetype>(size)));
    const auto level = input.value<qint8>();
    const QString format = QString::fromUtf8(input.bytesUntil('\n'));
    QStringList arguments;
    while (!input.isAtEnd())
        arguments.append(QString::fromUtf8(input.bytesUntil('\n')));
    const QString text = formatLogMessage(format, arguments);
    require(!text.isNull() && text == expanded(format, arguments));

    const Error error{format, level, {{Error::localizedDescriptionKey(), arguments.value(0)}}};
    const auto logger = std::make_shared<Recorder>();
    logMessage(logger, level, format, error, arguments.value(1), qint64{level}, nullptr);
    const bool isLevel = level >= LogLevelError && level <= LogLevelDebug;
    require(logger->level == (isLevel ? level : 0));
    require(!isLevel ||
            logger->text ==
                expanded(format, {error.description(), logDescription(arguments.value(1)),
                                  QString::number(level), QStringLiteral("(null)")}));
    const QString said = Error{QStringLiteral("d"), 1, error.userInfo}.description();
    require(std::none_of(said.begin(), said.end(), isControl));
    return 0;
}
