#include "HostLogger.h"
#include "LogPane.h"
#include "TestMain.h"

#include <QApplication>
#include <QComboBox>
#include <QTest>
#include <QThread>
#include <QTreeWidget>

#include <memory>
#include <vector>

namespace pelorinnews::test {

using host::HostLogger;
using host::LogLevel;
using host::LogPane;

class LogTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        _pane = std::make_unique<LogPane>();
        _lines = _pane->findChild<QTreeWidget *>();
        _levels = _pane->findChild<QComboBox *>();
    }

    void messagesOfSeveralThreadsAllArriveInTheOrderOfEach() {
        constexpr int threadCount = 4;
        constexpr int messageCount = 200;
        const HostLogger *const sender = &_logger;
        connect(sender, &HostLogger::messageAdded, _pane.get(), &LogPane::addMessage);
        std::vector<std::unique_ptr<QThread>> threads;
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back(QThread::create([this, thread] {
                for (int number = 0; number < messageCount; ++number)
                    _logger.addInfoMessage(QStringLiteral("%1 %2").arg(thread).arg(number));
            }));
            threads.back()->start();
        }
        for (const auto &thread : threads)
            QVERIFY(thread->wait(testPatience));

        QTRY_COMPARE(_lines->topLevelItemCount(), threadCount * messageCount);
        std::vector<int> next(threadCount, 0);
        for (int row = 0; row < _lines->topLevelItemCount(); ++row) {
            const QStringList words = _lines->topLevelItem(row)->text(2).split(QLatin1Char(' '));
            QCOMPARE(words.at(1).toInt(), next.at(words.at(0).toUInt())++);
        }
    }

    void eachOperationOfTheLoggerHasItsLevel() {
        connect(&_logger, &HostLogger::messageAdded, _pane.get(), &LogPane::addMessage);
        _logger.addErrorMessage(QStringLiteral("e"));
        _logger.addWarningMessage(QStringLiteral("w"));
        _logger.addInfoMessage(QStringLiteral("i"));
        _logger.addDebugMessage(QStringLiteral("d"));
        QCOMPARE(shown(), QStringList({QStringLiteral("Error e"), QStringLiteral("Warning w"),
                                       QStringLiteral("Info i"), QStringLiteral("Debug d")}));
    }

    void theChosenLevelHidesWhatIsLessGraveBeforeAndAfter() {
        _pane->addMessage(LogLevel::Debug, QStringLiteral("1"));
        _pane->addMessage(LogLevel::Warning, QStringLiteral("2"));
        _levels->setCurrentIndex(1);
        _pane->addMessage(LogLevel::Info, QStringLiteral("3"));
        _pane->addMessage(LogLevel::Error, QStringLiteral("4"));
        QCOMPARE(shown(), QStringList({QStringLiteral("Warning 2"), QStringLiteral("Error 4")}));
        _levels->setCurrentIndex(3);
        QCOMPARE(shown().size(), 4);
    }

    void theOldestMessagesGoWhenThereAreTooMany() {
        for (int number = 0; number < 5003; ++number)
            _pane->addMessage(LogLevel::Info, QString::number(number));
        QCOMPARE(_lines->topLevelItemCount(), 5000);
        QCOMPARE(_lines->topLevelItem(0)->text(2), QStringLiteral("3"));
        QCOMPARE(_lines->topLevelItem(4999)->text(2), QStringLiteral("5002"));
    }

    void markupInAMessageStaysText() {
        _pane->addMessage(LogLevel::Info, QStringLiteral("<b>bold</b>"));
        QCOMPARE(_lines->topLevelItem(0)->text(2), QStringLiteral("<b>bold</b>"));
        QCOMPARE(_lines->topLevelItem(0)->toolTip(2), QStringLiteral("&lt;b&gt;bold&lt;/b&gt;"));
    }

private:
    QStringList shown() const {
        QStringList texts;
        for (int row = 0; row < _lines->topLevelItemCount(); ++row) {
            const QTreeWidgetItem *const item = _lines->topLevelItem(row);
            if (!item->isHidden())
                texts << item->text(1) + QLatin1Char(' ') + item->text(2);
        }
        return texts;
    }

    HostLogger _logger;
    std::unique_ptr<LogPane> _pane;
    QTreeWidget *_lines = nullptr;
    QComboBox *_levels = nullptr;
};

}  // namespace pelorinnews::test

PELORIN_WIDGET_TEST_MAIN(pelorinnews::test::LogTest)

#include "LogTest.moc"
