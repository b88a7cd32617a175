#pragma once

#include "TestHome.h"

#include <QCoreApplication>
#include <QTest>

/// The main function of a test without a window: creates a home folder of its own first, then the
/// application.
#define PELORIN_CORE_TEST_MAIN(TestClass)               \
    int main(int argc, char *argv[]) {                  \
        const pelorinnews::test::TestHome home;         \
        const QCoreApplication application(argc, argv); \
        TestClass test;                                 \
        return QTest::qExec(&test, argc, argv);         \
    }

/// The same for a test with widgets. Include <QApplication> before.
#define PELORIN_WIDGET_TEST_MAIN(TestClass)         \
    int main(int argc, char *argv[]) {              \
        const pelorinnews::test::TestHome home;     \
        const QApplication application(argc, argv); \
        TestClass test;                             \
        return QTest::qExec(&test, argc, argv);     \
    }
