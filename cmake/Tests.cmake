find_package(Qt6 6.4 REQUIRED COMPONENTS Test)

# Drop Qt Test's macro for QFINDTESTDATA, which no test uses: its value is the path of the source
# folder, so each folder would need precompiled headers of its own.
get_target_property(definitions Qt6::Test INTERFACE_COMPILE_DEFINITIONS)
list(FILTER definitions EXCLUDE REGEX "QT_TESTCASE_")
set_target_properties(Qt6::Test PROPERTIES INTERFACE_COMPILE_DEFINITIONS "${definitions}")

# Every source of the tests is compiled with Patience.h. Of Qt Test, only QSignalSpy is precompiled:
# other headers depend on which Qt libraries are linked.
set(headers ${CMAKE_SOURCE_DIR}/tests/support/Patience.h <QSignalSpy>)
pelorin_precompiled(test_core "${headers};${PELORIN_CORE_HEADERS}" Qt6::Test)
if(PELORIN_WINDOW)
    pelorin_precompiled(
        test_widgets "${headers};${PELORIN_WIDGETS_HEADERS}" "Qt6::Test;Qt6::Widgets")
endif()
# The precompiled headers for the tests of a folder; a folder can choose others.
set(PELORIN_TEST_HEADERS test_core)

# Only one of the named tests may run at a time: a host searches the whole disk for its copies, and
# two such searches need more inotify watches than one user may have. Other programs of the user
# would then get no watch.
function(pelorin_watches_the_disk)
    foreach(name IN LISTS ARGN)
        set_property(TEST ${PELORIN_TEST_PREFIX}${name} APPEND PROPERTY RESOURCE_LOCK disk-watches)
    endforeach()
endfunction()

# pelorin_moc(<target> <source>...) runs moc on sources that include their own "<name>.moc". AUTOMOC
# would add three build steps to each test, among them the compilation of an empty file.
function(pelorin_moc target)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/moc/${target})
    foreach(source IN LISTS ARGN)
        get_filename_component(name ${source} NAME_WE)
        qt6_generate_moc(${source} ${folder}/${name}.moc TARGET ${target})
        target_sources(${target} PRIVATE ${folder}/${name}.moc)
    endforeach()
    target_include_directories(${target} PRIVATE ${folder})
endfunction()

# pelorin_test(<name> SOURCES <file>... [LIBS <target>...] [LABELS <label>...] [TIMEOUT <s>]
#              [SESSION] [DISPLAY | WAYLAND] [TILING] [SIDE_BY_SIDE])
#
# One executable and one CTest entry. The test class is in <file> "...Test.cpp". SESSION gives it its
# own D-Bus session, DISPLAY an Xvfb with a window manager, WAYLAND a compositor; TILING makes the
# window manager or compositor a tiling one. SIDE_BY_SIDE runs the test functions at the same time,
# each in a process (and session, and display) of its own: for tests that mostly wait. In a
# sanitized build the entry is called "<preset>.<name>".
function(pelorin_test name)
    cmake_parse_arguments(
        ARG "SESSION;DISPLAY;WAYLAND;TILING;SIDE_BY_SIDE" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    set(target test_${name})
    add_executable(${target} ${ARG_SOURCES})
    set(classes ${ARG_SOURCES})
    list(FILTER classes INCLUDE REGEX "Test\\.cpp$")
    pelorin_moc(${target} ${classes})
    target_link_libraries(
        ${target} PRIVATE ${ARG_LIBS} pelorin_testsupport pelorin_options Qt6::Test)
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
    if(ARG_SIDE_BY_SIDE)
        set(command ${CMAKE_SOURCE_DIR}/tests/support/side-by-side ${command})
    endif()
    set(entry ${PELORIN_TEST_PREFIX}${name})
    add_test(NAME ${entry} COMMAND ${command})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
    set_tests_properties(${entry} PROPERTIES
        TIMEOUT ${ARG_TIMEOUT}
        LABELS "${ARG_LABELS}"
        ENVIRONMENT "${PELORIN_TEST_ENVIRONMENT}")
endfunction()

# pelorin_hosts_page_example(<N> <output>): writes the Nth block of C++ in docs/hosting.md to a file.
function(pelorin_hosts_page_example number output)
    set(page ${PROJECT_SOURCE_DIR}/docs/hosting.md)
    set(script ${PROJECT_SOURCE_DIR}/tests/support/extract-example.cmake)
    add_custom_command(OUTPUT ${output}
        COMMAND ${CMAKE_COMMAND} -DDOCUMENT=${page} -DNUMBER=${number} -DOUTPUT=${output} -P ${script}
        DEPENDS ${page} ${script})
endfunction()
