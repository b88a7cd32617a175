find_package(Qt6 6.4 REQUIRED COMPONENTS Test)

# Qt Test tells each folder's sources where they lie, which nobody asks for (QFINDTESTDATA), and for
# which each folder would have to precompile the headers anew.
get_target_property(definitions Qt6::Test INTERFACE_COMPILE_DEFINITIONS)
list(FILTER definitions EXCLUDE REGEX "QT_TESTCASE_")
set_target_properties(Qt6::Test PROPERTIES INTERFACE_COMPILE_DEFINITIONS "${definitions}")

# Patience.h is for every source of the tests. Qt Test's headers that look at which libraries of Qt
# are linked stay out.
set(headers ${CMAKE_SOURCE_DIR}/tests/support/Patience.h <QSignalSpy>)
pelorin_precompiled(test_core "${headers};${PELORIN_CORE_HEADERS}" Qt6::Test)
if(PELORIN_WINDOW)
    pelorin_precompiled(test_widgets "${headers};${PELORIN_WIDGETS_HEADERS}" "Qt6::Test;Qt6::Widgets")
endif()
# Which of them the tests of a folder take.
set(PELORIN_TEST_HEADERS test_core)

# Tests of which only one may run at a time: a host looks for its copies on the whole disk, and two
# such searches take more of the kernel's watches than one user has. Whoever else wants a watch then
# would get none.
function(pelorin_watches_the_disk)
    foreach(name IN LISTS ARGN)
        set_property(TEST ${PELORIN_TEST_PREFIX}${name} APPEND PROPERTY RESOURCE_LOCK disk-watches)
    endforeach()
endfunction()

# pelorin_test(<name> SOURCES <file>... [LIBS <target>...] [LABELS <label>...] [TIMEOUT <s>]
#              [SESSION] [DISPLAY | WAYLAND] [TILING])
#
# One executable, one entry of CTest. SESSION gives it a D-Bus session of its own, DISPLAY an Xvfb
# with a window manager, WAYLAND a compositor; TILING makes either one that tiles. In a sanitized
# build the entry is called "<preset>.<name>".
function(pelorin_test name)
    cmake_parse_arguments(ARG "SESSION;DISPLAY;WAYLAND;TILING" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    set(target test_${name})
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE ${ARG_LIBS} pelorin_testsupport pelorin_options Qt6::Test)
    pelorin_precompile(${target} ${PELORIN_TEST_HEADERS})
    target_compile_definitions(${target} PRIVATE
        PELORIN_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}"
        PELORIN_APP_DIR="${PELORIN_APP_DIR}")
    set(command $<TARGET_FILE:${target}>)
    if(ARG_TILING)
        set(command --tiling ${command})
    endif()
    if(ARG_DISPLAY)
        set(command ${CMAKE_SOURCE_DIR}/tests/support/with-display ${command})
    endif()
    if(ARG_WAYLAND)
        set(command ${CMAKE_SOURCE_DIR}/tests/support/with-wayland ${command})
    endif()
    if(ARG_SESSION)
        set(command ${CMAKE_SOURCE_DIR}/tests/support/with-session ${command})
    endif()
    set(entry ${PELORIN_TEST_PREFIX}${name})
    add_test(NAME ${entry} COMMAND ${command})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set_tests_properties(${entry} PROPERTIES
        TIMEOUT ${ARG_TIMEOUT}
        LABELS "${ARG_LABELS}"
        ENVIRONMENT "${PELORIN_TEST_ENVIRONMENT}")
endfunction()
