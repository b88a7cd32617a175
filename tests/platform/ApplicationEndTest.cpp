#include "TestMain.h"
#include "platform/ApplicationEnd.h"

#include <QCoreApplication>
#include <QList>
#include <QTest>

#include <algorithm>
#include <array>
#include <thread>

namespace pelorinnews::test {

using ApplicationEnd::Phase;

namespace {

// The indexes of the actions, in the order in which they ran. Global, because actions are plain
// functions.
QList<int> ran;
// Entry in `ran` for a post routine that is not an action, such as one of Qt's own.
constexpr int ofSomebodyElse = -1;

constexpr std::array phases{Phase::Windows,  Phase::Notifications, Phase::Downloads, Phase::Queues,
                            Phase::Searches, Phase::Preferences,   Phase::MainTasks};

template <std::size_t index>
void note() {
    ran.append(static_cast<int>(index));
}

constexpr std::array<ApplicationEnd::Action, phases.size()> notes{
    note<0>, note<1>, note<2>, note<3>, note<4>, note<5>, note<6>};

void add(std::size_t index) {
    ApplicationEnd::add(phases.at(index), notes.at(index));
}

class Application {
public:
    Application() { ran.clear(); }

private:
    int _count = 1;
    std::array<char, 5> _name{"test"};
    std::array<char *, 2> _arguments{_name.data(), nullptr};
    QCoreApplication _application{_count, _arguments.data()};
};

}  // namespace

class ApplicationEndTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void phasesRunInTheirOrderWhateverCameFirst();
    void anActionAddedTwiceRunsOnce();
    void aLaterApplicationObjectEndsToo();
    void whatIsAddedWithoutAnApplicationObjectWaitsForTheNextOne();
    void actionsAddedAtTheEndRun();
    void windowsGoBeforeWhatTheirLibrariesRegistered();
    void anyThreadMayAdd();
};

void ApplicationEndTest::phasesRunInTheirOrderWhateverCameFirst() {
    std::array<std::size_t, phases.size()> order{0, 1, 2, 3, 4, 5, 6};
    const QList<int> expected(order.begin(), order.end());
    int orders = 0;
    do {
        {
            const Application application;
            std::for_each(order.begin(), order.end(), add);
        }
        QCOMPARE(ran, expected);
        ++orders;
    } while (std::next_permutation(order.begin(), order.end()));
    QCOMPARE(orders, 7 * 6 * 5 * 4 * 3 * 2);
}

void ApplicationEndTest::anActionAddedTwiceRunsOnce() {
    {
        const Application application;
        add(2);
        add(0);
        add(2);
        add(0);
    }
    QCOMPARE(ran, (QList<int>{0, 2}));
}

void ApplicationEndTest::aLaterApplicationObjectEndsToo() {
    {
        const Application application;
        add(1);
        add(4);
    }
    QCOMPARE(ran, (QList<int>{1, 4}));
    {
        const Application application;
        add(4);
    }
    QCOMPARE(ran, QList<int>{4});
    { const Application application; }
    QCOMPARE(ran, QList<int>());
}

void ApplicationEndTest::whatIsAddedWithoutAnApplicationObjectWaitsForTheNextOne() {
    add(5);
    { const Application application; }
    QCOMPARE(ran, QList<int>{5});
}

void ApplicationEndTest::actionsAddedAtTheEndRun() {
    {
        const Application application;
        ApplicationEnd::add(Phase::Downloads, [] {
            ran.append(100);
            add(6);
            add(0);
        });
        add(4);
    }
    QCOMPARE(ran, (QList<int>{100, 0, 4, 6}));
}

void ApplicationEndTest::windowsGoBeforeWhatTheirLibrariesRegistered() {
    {
        const Application application;
        add(6);
        add(0);
        qAddPostRoutine([] { ran.append(ofSomebodyElse); });
        // Simulates a second window: its action is added after the post routine of a library that
        // was loaded since the first window.
        add(0);
    }
    QCOMPARE(ran, (QList<int>{0, 6, ofSomebodyElse}));
}

void ApplicationEndTest::anyThreadMayAdd() {
    {
        const Application application;
        std::array<std::thread, 2> threads;
        for (std::size_t half = 0; half < threads.size(); ++half) {
            threads.at(half) = std::thread([half] {
                for (std::size_t index = half; index < phases.size(); index += 2)
                    add(index);
            });
        }
        std::for_each(threads.begin(), threads.end(), [](std::thread &each) { each.join(); });
    }
    QCOMPARE(ran, (QList<int>{0, 1, 2, 3, 4, 5, 6}));
}

}  // namespace pelorinnews::test

PELORIN_APPLESS_TEST_MAIN(pelorinnews::test::ApplicationEndTest)
#include "ApplicationEndTest.moc"
