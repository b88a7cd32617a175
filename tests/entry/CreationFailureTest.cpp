// Situations in which no panel can be created. The application objects are created and destroyed
// inside the tests, so there is none outside.

#include "LoadedModule.h"
#include "TestMain.h"

#include "pelorinnews/NewsStatus.h"

#include <thread>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

Error creationError(const char *text) {
    return {QStringLiteral("com.Olvane.PelorinNews.ErrorDomain"),
            -1,
            {{QStringLiteral("NSUnderlyingErrorKey"), QString::fromLatin1(text)}}};
}

// Calls on a controller whose creation failed are no-ops and must not crash.
void useHalfMade(const std::shared_ptr<NewsController> &made) {
    NewsStatus *const status = newsStatus(made);
    QVERIFY(status);
    status->setChangeCallback([] { QFAIL("There is nothing that could change."); });
    status->refreshNow();
    QCOMPARE(status->unreadCount(), 0);
    QVERIFY(!status->latestItem());
    QVERIFY(!status->lastRefresh());

    NewsController &controller = *made;
    controller.setLogger(nullptr);
    controller.setDelegate(std::make_shared<int>(1));
    controller.show();
    QCoreApplication::processEvents();
    controller.exit();
    controller.exit();
}

int argumentCount = 1;
char programName[] = "test";
char *arguments[] = {programName, nullptr};

}  // namespace

class CreationFailureTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutAnApplicationObjectTheBaseFails();
    void withACoreApplicationTheWindowControllerFails();
    void withAGuiApplicationTheWindowControllerFails();
    void offTheMainThreadTheWindowControllerFails();

private:
    void theWindowControllerFails() const;
};

void CreationFailureTest::withoutAnApplicationObjectTheBaseFails() {
    Error error;
    QVERIFY(!module()->init(&error));
    QCOMPARE(error, creationError("Creating NewsController base failed."));
    QVERIFY(!module()->init());
}

void CreationFailureTest::theWindowControllerFails() const {
    Error error;
    QVERIFY(!module()->init(&error));
    QCOMPARE(error, creationError("Failed to create NewsWindowController."));
    const auto halfMade = module()->init();
    QVERIFY(halfMade);
    useHalfMade(halfMade);
}

void CreationFailureTest::withACoreApplicationTheWindowControllerFails() {
    const QCoreApplication application(argumentCount, arguments);
    theWindowControllerFails();
}

void CreationFailureTest::withAGuiApplicationTheWindowControllerFails() {
    const QGuiApplication application(argumentCount, arguments);
    theWindowControllerFails();
}

void CreationFailureTest::offTheMainThreadTheWindowControllerFails() {
    const QApplication application(argumentCount, arguments);
    Error error;
    std::shared_ptr<NewsController> controller;
    std::thread([&] { controller = module()->init(&error); }).join();
    QVERIFY(!controller);
    QCOMPARE(error, creationError("Failed to create NewsWindowController."));
    std::thread([&] { controller = module()->init(); }).join();
    QVERIFY(controller);
    useHalfMade(controller);
}

PELORIN_APPLESS_TEST_MAIN(CreationFailureTest)
#include "CreationFailureTest.moc"
