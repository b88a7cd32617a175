#pragma once

#include "Panel.h"
#include "TestMain.h"

/// The main function of a test of the news window. With "--text" as its only argument, the test's
/// hosts have no web engine.
#define PELORIN_PANEL_TEST_MAIN(TestClass)                                                         \
    int main(int argc, char *argv[]) {                                                             \
        const pelorinnews::test::TestHome home;                                                    \
        const QCoreApplication application(argc, argv);                                            \
        pelorinnews::test::Panel::withoutWebEngine = argc == 2 && qstrcmp(argv[1], "--text") == 0; \
        TestClass test;                                                                            \
        return QTest::qExec(&test, pelorinnews::test::Panel::withoutWebEngine ? 1 : argc, argv);   \
    }
