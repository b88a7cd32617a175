#pragma once

#include "TestHome.h"

#include <QCoreApplication>
#include <QTest>

// The home folder is static, because with `-functions` the test ends inside `qExec`.

/// The main function of a test. Makes the test's own home folder first, then the application
/// object. The test must include the header of `Application`.
#define PELORIN_TEST_MAIN(Application, TestClass)      \
    int main(int argc, char *argv[]) {                 \
        static const pelorinnews::test::TestHome home; \
        const Application application(argc, argv);     \
        TestClass test;                                \
        return QTest::qExec(&test, argc, argv);        \
    }

/// For a test that makes its own application objects, or needs none.
#define PELORIN_APPLESS_TEST_MAIN(TestClass)           \
    int main(int argc, char *argv[]) {                 \
        static const pelorinnews::test::TestHome home; \
        TestClass test;                                \
        return QTest::qExec(&test, argc, argv);        \
    }

/// For a test without a window.
#define PELORIN_CORE_TEST_MAIN(TestClass) PELORIN_TEST_MAIN(QCoreApplication, TestClass)
/// For a test that needs fonts, pictures or events, but shows no window.
#define PELORIN_GUI_TEST_MAIN(TestClass) PELORIN_TEST_MAIN(QGuiApplication, TestClass)
/// For a test with widgets.
#define PELORIN_WIDGET_TEST_MAIN(TestClass) PELORIN_TEST_MAIN(QApplication, TestClass)
