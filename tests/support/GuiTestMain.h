#pragma once

#include "TestHome.h"

#include <QGuiApplication>
#include <QTest>

/// The main function of a test that needs fonts, pictures or events, but shows no window.
#define PELORIN_GUI_TEST_MAIN(TestClass)               \
    int main(int argc, char *argv[]) {                 \
        const pelorinnews::test::TestHome home;        \
        const QGuiApplication application(argc, argv); \
        TestClass test;                                \
        return QTest::qExec(&test, argc, argv);        \
    }
