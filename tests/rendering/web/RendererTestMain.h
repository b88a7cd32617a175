#pragma once

#include "TestHome.h"

#include <QApplication>
#include <QTest>

/// The main function of a test of the renderers.
#define PELORIN_RENDERER_TEST_MAIN(TestClass)       \
    int main(int argc, char *argv[]) {              \
        const pelorinnews::test::TestHome home;     \
        const QApplication application(argc, argv); \
        TestClass test;                             \
        return QTest::qExec(&test, argc, argv);     \
    }
