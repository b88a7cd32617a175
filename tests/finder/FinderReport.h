#pragma once

#include "SearchThreads.h"
#include "finder/OlvPelorinFinder.h"
#include "platform/HostBundle.h"

#include <QCoreApplication>
#include <QProcess>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

namespace pelorinnews::test {

/// The main function of a test's executable when it runs as an installed application. It searches
/// for copies of itself, prints the file name that it searches for, then each new `OlvFinderResult`
/// as a number on its own line, and ends when its standard input is closed.
inline int reportResults(int argc, char *argv[]) {
    const QCoreApplication application(argc, argv);
    const HurriedWalks hurriedWalks;
    std::printf("%s\n", qPrintable(HostBundle::mainBundle().name()));
    const auto finder = OlvPelorinFinder::init();
    int reported = 0;
    QTimer timer;
    timer.callOnTimeout([&] {
        if (finder->result() == reported)
            return;
        reported = finder->result();
        std::printf("%d\n", reported);
        std::fflush(stdout);
    });
    timer.start(10);
    QSocketNotifier ended(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}

/// The next line that the application prints; "nothing" on timeout.
inline QByteArray nextLine(QProcess &process) {
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(testPatience))
            return "nothing";
    }
    return process.readLine().trimmed();
}

}  // namespace pelorinnews::test
