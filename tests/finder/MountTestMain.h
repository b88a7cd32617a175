#pragma once

#include "Mounts.h"
#include "TestHome.h"

#include <QCoreApplication>
#include <QTest>

/// The main function of a test that mounts file systems, in a mount namespace of its own.
#define PELORIN_MOUNT_TEST_MAIN(TestClass)              \
    int main(int argc, char *argv[]) {                  \
        pelorinnews::test::Mounts::enterNamespace();    \
        const pelorinnews::test::TestHome home;         \
        const QCoreApplication application(argc, argv); \
        TestClass test;                                 \
        return QTest::qExec(&test, argc, argv);         \
    }
