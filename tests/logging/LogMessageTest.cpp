#include "RecordingLogger.h"
#include "TestMain.h"
#include "logging/LogMessage.h"
#include "logging/LogVocabulary.h"
#include "platform/GuardedSlot.h"

#include <atomic>
#include <limits>
#include <thread>
#include <vector>

using namespace pelorinnews;
using pelorinnews::test::RecordingLogger;

namespace {

/// An argument that counts how often its description is requested.
struct Watched {
    mutable std::atomic<int> asked = 0;
    [[nodiscard]] QString description() const {
        ++asked;
        return QStringLiteral("watched");
    }
};

/// An object that logs as the panel's objects do.
class Owner {
public:
    void setLogger(std::shared_ptr<OlvLogger> logger) { _logger.set(std::move(logger)); }

    template <class... Arguments>
    void logMessage(std::int32_t level, QStringView format, const Arguments &...arguments) const {
        pelorinnews::logMessage(_logger.get(), level, format, arguments...);
    }

private:
    GuardedSlot<std::shared_ptr<OlvLogger>> _logger;
};

using Entries = QList<RecordingLogger::Entry>;

}  // namespace

class LogMessageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void formatsInOnePass_data() {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QStringList>("descriptions");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, const char *format, const QStringList &descriptions,
                            const char *text) {
            QTest::newRow(name) << QString::fromUtf8(format) << descriptions
                                << QString::fromUtf8(text);
        };
        row("nothing to replace", "plain text", {}, "plain text");
        row("empty format", "", {}, "");
        row("one", "a: %@", {"b"}, "a: b");
        row("only a placeholder", "%@", {"b"}, "b");
        row("two, in order", "%@ then %@", {"b", "c"}, "b then c");
        row("touching", "%@%@", {"b", "c"}, "bc");
        row("percent codes of an address survive", "at %@!", {"http://a/b%20c?d=%1&e=%%"},
            "at http://a/b%20c?d=%1&e=%%!");
        row("a placeholder in an argument survives", "%@ and %@", {"%@", "c"}, "%@ and c");
        row("too few arguments", "%@ and %@", {"b"}, "b and %@");
        row("no argument", "%@", {}, "%@");
        row("too many arguments", "%@", {"b", "c"}, "b");
        row("arguments without a placeholder", "a", {"b"}, "a");
        row("lone percent sign", "100 % of %@", {"b"}, "100 % of b");
        row("percent sign at the end", "%@ %", {"b"}, "b %");
        row("doubled percent sign", "100 %% of %@", {"b"}, "100 % of b");
        row("three percent signs", "%%%@", {"b"}, "%b");
        row("a percent sign before a placeholder's sign", "%x%@", {"b"}, "%xb");
        row("other conversions stand for themselves", "%d %s %1", {"b"}, "%d %s %1");
        row("beyond Latin", "„%@“ 🦀", {"Ünï"}, "„Ünï“ 🦀");
    }

    void formatsInOnePass() {
        QFETCH(QString, format);
        QFETCH(QStringList, descriptions);
        QTEST(formatLogMessage(format, descriptions), "text");
    }

    void aLongArgumentComesThroughWhole() {
        const QString large(10'000'000, u'%');
        QCOMPARE(formatLogMessage(u"<%@>", {large}), u'<' + large + u'>');
    }

    void describesArguments() {
        QCOMPARE(logDescription(QStringLiteral("text")), "text");
        QCOMPARE(logDescription(QStringLiteral("")), "");
        // Texts, even with control characters, and addresses are logged unchanged.
        QCOMPARE(logDescription(QStringLiteral(" a\n\x1b[31m")), " a\n\x1b[31m");
        QCOMPARE(logDescription(QUrl(QStringLiteral("http://a/b%20c?x=%2F"))),
                 "http://a/b%20c?x=%2F");
        QCOMPARE(logDescription(QDateTime({2015, 3, 2}, {10, 0}, Qt::UTC)),
                 "2015-03-02T10:00:00.000Z");
        QCOMPARE(logDescription(-12), "-12");
        QCOMPARE(logDescription(std::numeric_limits<quint64>::max()), "18446744073709551615");
        QCOMPARE(logDescription(std::make_shared<Watched>()), "watched");
        QCOMPARE(logDescription(std::optional<int>(3)), "3");

        const Error error{QStringLiteral("Domain"), -4, {}};
        QCOMPARE(logDescription(error), "Error Domain=Domain Code=-4");
        QCOMPARE(logDescription(std::optional(error)), logDescription(error));
    }

    void anErrorsTextCannotSteerWhoeverReadsTheLog_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("printed");
        const auto row = [](const char *name, const char *text, const char *printed) {
            QTest::newRow(name) << QString::fromUtf8(text) << QString::fromUtf8(printed);
        };
        row("plain", "server replied: No \"ünï\" 🦀", "server replied: No \"ünï\" 🦀");
        row("another line", "a\r\n2026-01-01 ERROR b\n", "a 2026-01-01 ERROR b");
        row("a colour", "\x1b[31mred\x07", "\uFFFD[31mred\uFFFD");
        row("other control characters",
            "a\xC2\x9B"
            "31m\x7F",
            "a\uFFFD31m\uFFFD");
        row("separators of lines", "a\u2028b\u2029c\u0085d", "a b c d");
        row("another direction", "a\u202Eb\u2066c\uFEFFd\U000E0041",
            "a\uFFFDb\uFFFDc\uFFFDd\uFFFD");
        row("joiners that scripts need", "می\u200Cشود 👩\u200D💻", "می\u200Cشود 👩\u200D💻");
        QTest::newRow("a lone surrogate")
            << QStringLiteral("a") + QChar(0xD83D) + QStringLiteral("b") << "a\uFFFDb";
        QTest::newRow("a null character") << QStringLiteral("a") + QChar(0) << "a\uFFFD";
    }

    void anErrorsTextCannotSteerWhoeverReadsTheLog() {
        QFETCH(const QString, text);
        QFETCH(const QString, printed);
        const Error error{QStringLiteral("Domain"), 1, {{Error::localizedDescriptionKey(), text}}};
        QCOMPARE(logDescription(error),
                 QStringLiteral("Error Domain=Domain Code=1 \"") + printed + u'"');
    }

    void aTextThatIsCutShortKeepsWholeCharacters() {
        QCOMPARE(printableText(QStringLiteral("abcd"), 4), QStringLiteral("abcd"));
        QCOMPARE(printableText(QStringLiteral("abcde"), 4), QStringLiteral("abc…"));
        QCOMPARE(printableText(QStringLiteral("ab🦀cd"), 4), QStringLiteral("ab…"));
        QCOMPARE(printableText(QStringLiteral("ab"), 1), QStringLiteral("…"));
        QVERIFY(printableText(QString()).isNull());
        QVERIFY(!printableText(QStringLiteral("")).isNull());
    }

    void anythingAbsentPrintsAsNull() {
        const QString null = QStringLiteral("(null)");
        QCOMPARE(logDescription(nullptr), null);
        QCOMPARE(logDescription(QString()), null);
        QCOMPARE(logDescription(QUrl()), null);
        QCOMPARE(logDescription(QDateTime()), null);
        QCOMPARE(logDescription(std::optional<Error>()), null);
        QCOMPARE(logDescription(std::optional<QString>(QString())), null);
        QCOMPARE(logDescription(std::shared_ptr<Watched>()), null);
        QCOMPARE(logDescription(static_cast<const Error *>(nullptr)), null);
    }

    void anErrorPlacePrintsItsAddressAndNotTheErrorInIt() {
        Error place{QStringLiteral("Domain"), 7, {}};
        Error *const parameter = &place;
        QCOMPARE(logDescription(parameter), QString::asprintf("%p", static_cast<void *>(&place)));
    }

    void withoutALoggerNothingIsEvaluated() {
        const auto watched = std::make_shared<Watched>();
        const Owner owner;
        for (const std::int32_t level : {-1, 0, 1, 2, 3, 4, 5})
            owner.logMessage(level, u"%@", watched);
        QCOMPARE(watched->asked, 0);
    }

    void eachLevelHasItsOperation() {
        const auto logger = std::make_shared<RecordingLogger>();
        Owner owner;
        owner.setLogger(logger);
        owner.logMessage(LogLevelError, u"one");
        owner.logMessage(LogLevelWarning, u"two");
        owner.logMessage(LogLevelInfo, u"three");
        owner.logMessage(LogLevelDebug, u"four");
        QCOMPARE(logger->entries(), (Entries{{1, "one"}, {2, "two"}, {3, "three"}, {4, "four"}}));
    }

    void otherLevelsReachNoOperation() {
        const auto logger = std::make_shared<RecordingLogger>();
        const auto watched = std::make_shared<Watched>();
        Owner owner;
        owner.setLogger(logger);
        for (const std::int32_t level : {0, 5, -1, std::numeric_limits<std::int32_t>::max(),
                                         std::numeric_limits<std::int32_t>::min()})
            owner.logMessage(level, u"%@", watched);
        QCOMPARE(logger->entries(), Entries{});
        QCOMPARE(watched->asked, 5);
    }

    void anAddressIsLoggedExactly() {
        const QString address = QStringLiteral("https://a.example/N.php?&locale=de%20x&type=%1");
        const auto logger = std::make_shared<RecordingLogger>();
        Owner owner;
        owner.setLogger(logger);
        owner.logMessage(3, u"News Cache -feedRequest returning: %@", address);
        QCOMPARE(logger->entries(),
                 (Entries{{3, QStringLiteral("News Cache -feedRequest returning: ") + address}}));
    }

    void theVocabularyIsWordForWord() {
        QCOMPARE(LogVocabulary::refreshContentShowingWindowFailed,
                 u"News Window Controller - refreshContentShowingWindow received an error: %@");
        QCOMPARE(LogVocabulary::refreshContentFailed,
                 u"News Window Controller - refreshContent received an error: %@");
        QCOMPARE(LogVocabulary::writingLocalCacheFailed,
                 u"News Cache -refresh failed to write local cache: %@");
        QCOMPARE(LogVocabulary::parsingLocalCacheFailed,
                 u"News Cache -refresh failed to parse local cache: %@");
        QCOMPARE(LogVocabulary::readingLocalCacheFailed,
                 u"News Cache -refresh failed to read local cache: %@");
        QCOMPARE(LogVocabulary::parsingFeedFailed,
                 u"News Cache -parseFeed:error: failed to parse, using old data (%@)");
        QCOMPARE(LogVocabulary::feedRequestReturning, u"News Cache -feedRequest returning: %@");
        QCOMPARE(LogVocabulary::creatingCacheFolderFailed,
                 u"News Cache -initializeLocalCache failed to create folder: %@");
    }

    void anotherLoggerReplacesTheFirstAndNoneSwitchesOff() {
        const auto first = std::make_shared<RecordingLogger>();
        const auto second = std::make_shared<RecordingLogger>();
        Owner owner;
        owner.setLogger(first);
        owner.logMessage(1, u"a");
        owner.setLogger(second);
        owner.logMessage(1, u"b");
        owner.setLogger(nullptr);
        owner.logMessage(1, u"c");
        QCOMPARE(first->entries(), (Entries{{1, "a"}}));
        QCOMPARE(second->entries(), (Entries{{1, "b"}}));
    }

    void severalThreadsLogWhileTheLoggerIsReplaced() {
        constexpr int threadCount = 4;
        constexpr int messagesEach = 500;
        const auto logger = std::make_shared<RecordingLogger>();
        Owner owner;
        owner.setLogger(logger);
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i) {
            threads.emplace_back([&owner] {
                for (int j = 0; j < messagesEach; ++j)
                    owner.logMessage(LogLevelError, u"message %@", j);
            });
        }
        for (int j = 0; j < messagesEach; ++j)
            owner.setLogger(logger);
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(logger->entries().size(), threadCount * messagesEach);
    }
};

PELORIN_CORE_TEST_MAIN(LogMessageTest)
#include "LogMessageTest.moc"
