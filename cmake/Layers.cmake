# The libraries stand in layers, and each may use only what stands below it. A library sees the
# headers of those it links and of no other, so that a forbidden include does not compile and a
# forbidden link does not configure.
set(PELORIN_LAYER_platform 1)
set(PELORIN_LAYER_logging 1)
set(PELORIN_LAYER_feed 2)
set(PELORIN_LAYER_settings 2)
set(PELORIN_LAYER_finder 2)
set(PELORIN_LAYER_window 3)

# pelorin_library(<name> SOURCES <file>... [USES <library>...] [LINKS <target>...] [PRIVATE_LINKS <target>...])
#
# USES names libraries of this project by their short names; LINKS names others.
function(pelorin_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;LINKS;PRIVATE_LINKS" ${ARGN})
    if(NOT DEFINED PELORIN_LAYER_${name})
        message(FATAL_ERROR "${name} has no layer")
    endif()
    add_library(pelorin_${name} STATIC ${ARG_SOURCES})
    target_include_directories(pelorin_${name} PUBLIC
        ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include)
    target_link_libraries(pelorin_${name} PUBLIC ${ARG_LINKS}
        PRIVATE pelorin_options ${ARG_PRIVATE_LINKS})
    foreach(used IN LISTS ARG_USES)
        if(PELORIN_LAYER_${used} GREATER PELORIN_LAYER_${name})
            message(FATAL_ERROR "${name} must not use ${used}, which stands above it")
        endif()
        if(PELORIN_LAYER_${used} EQUAL PELORIN_LAYER_${name} AND PELORIN_LAYER_${name} GREATER 1)
            message(FATAL_ERROR "${name} must not use ${used}, which stands beside it")
        endif()
        target_link_libraries(pelorin_${name} PUBLIC pelorin_${used})
    endforeach()
    if(PELORIN_LAYER_${name} LESS PELORIN_LAYER_window)
        foreach(link IN LISTS ARG_LINKS ARG_PRIVATE_LINKS)
            if(link MATCHES "Gui|Widgets|WebEngine|Qml|Quick")
                message(FATAL_ERROR "${name} must not link ${link}: nothing below the window may")
            endif()
        endforeach()
    endif()
endfunction()
