#pragma once

#include <QtTest/qtestcase.h>

// The timeout of every wait in the tests, in milliseconds: Qt's five seconds are not enough for a
// sanitized build on a busy computer. A plain number, because Qt's macros and waiting functions
// take one. The build includes this header in every source of the tests.
constexpr int testPatience = 60000;

#undef QTRY_COMPARE
#define QTRY_COMPARE(expression, expected) \
    QTRY_COMPARE_WITH_TIMEOUT(expression, expected, testPatience)
#undef QTRY_VERIFY
#define QTRY_VERIFY(expression) QTRY_VERIFY_WITH_TIMEOUT(expression, testPatience)
#undef QTRY_VERIFY2
#define QTRY_VERIFY2(expression, message) \
    QTRY_VERIFY2_WITH_TIMEOUT(expression, message, testPatience)
