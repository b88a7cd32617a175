# A room is a folder of src/ with its own library. Its row (a call of pelorin_room) lists the rooms
# whose headers it includes. SHOWS: the rooms that its headers include; rooms that use this room can
# include their headers, too. USES: the rooms that only its sources include. A room can only name
# rooms in rows above its own, so there are no cycles. A GUI room may link Qt Gui, a WIDGETS room
# also Qt Widgets, an ENGINE room everything.
#
# To include another room's header, name the room: #include "network/UrlLoader.h". A room's include
# path has only the rooms of its row and the rooms that those show, so any other include fails to
# compile.
function(pelorin_room name)
    cmake_parse_arguments(ARG "GUI;WIDGETS;ENGINE" "" "SHOWS;USES" ${ARGN})
    get_property(rooms GLOBAL PROPERTY PELORIN_ROOMS)
    foreach(used IN LISTS ARG_SHOWS ARG_USES)
        if(NOT used IN_LIST rooms)
            message(FATAL_ERROR "${name} must not use ${used}, whose row is below its own")
        endif()
    endforeach()
    set_property(GLOBAL APPEND PROPERTY PELORIN_ROOMS ${name})
    set_property(GLOBAL PROPERTY PELORIN_ROOM_${name}_SHOWS ${ARG_SHOWS})
    set_property(GLOBAL PROPERTY PELORIN_ROOM_${name}_USES ${ARG_USES})
    if(ARG_ENGINE)
        set(forbidden)
    elseif(ARG_WIDGETS)
        set(forbidden WebEngine Qml Quick)
    elseif(ARG_GUI)
        set(forbidden WebEngine Qml Quick Widgets)
    else()
        set(forbidden WebEngine Qml Quick Widgets Gui)
    endif()
    set_property(GLOBAL PROPERTY PELORIN_ROOM_${name}_FORBIDDEN ${forbidden})
    # Read by tests/quality/check-rooms.
    list(JOIN ARG_SHOWS " " shows)
    list(JOIN ARG_USES " " uses)
    list(JOIN forbidden " " forbidden)
    file(APPEND ${PROJECT_BINARY_DIR}/rooms.txt "${name}|${shows}|${uses}|${forbidden}\n")
endfunction()

file(WRITE ${PROJECT_BINARY_DIR}/rooms.txt "")
pelorin_room(platform)
pelorin_room(logging)
pelorin_room(pageprotocol  SHOWS platform)
pelorin_room(network                                USES platform)
pelorin_room(notifications SHOWS platform)
pelorin_room(settings                               USES platform)
pelorin_room(finder        SHOWS platform)
pelorin_room(feed          SHOWS network platform   USES logging)
pelorin_room(page                                                                         GUI)
pelorin_room(richtext      SHOWS page                                                     GUI)
pelorin_room(rendering     SHOWS page pageprotocol  USES platform                         WIDGETS)
pelorin_room(window        SHOWS feed finder platform rendering settings
                           USES logging notifications page richtext                       WIDGETS)
# The plug-in, the C library (a host as far as the module can tell) and the page process.
pelorin_room(entry                                  USES notifications platform window    WIDGETS)
pelorin_room(cinterface                                                                   WIDGETS)
pelorin_room(page-process  SHOWS pageprotocol       USES page platform                    ENGINE)

# pelorin_link(<target> <room> [LINKS <target>...] [PRIVATE_LINKS <target>...])
#
# Links the target with the rooms that the room's row lists, and with external libraries: LINKS for
# those that the room's headers include, PRIVATE_LINKS for those that only its sources include.
function(pelorin_link target room)
    cmake_parse_arguments(ARG "" "" "LINKS;PRIVATE_LINKS" ${ARGN})
    get_property(shown GLOBAL PROPERTY PELORIN_ROOM_${room}_SHOWS)
    get_property(used GLOBAL PROPERTY PELORIN_ROOM_${room}_USES)
    get_property(forbidden GLOBAL PROPERTY PELORIN_ROOM_${room}_FORBIDDEN)
    foreach(link IN LISTS ARG_LINKS ARG_PRIVATE_LINKS)
        foreach(word IN LISTS forbidden)
            if(link MATCHES "${word}")
                message(FATAL_ERROR "${room} must not link ${link}")
            endif()
        endforeach()
    endforeach()
    list(TRANSFORM shown PREPEND pelorin_)
    list(TRANSFORM used PREPEND pelorin_)
    target_link_libraries(${target} PUBLIC ${shown} ${ARG_LINKS}
        PRIVATE ${used} pelorin_options ${ARG_PRIVATE_LINKS})
    if(Gui IN_LIST forbidden)
        pelorin_precompile(${target} core)
    elseif(Widgets IN_LIST forbidden)
        pelorin_precompile(${target} gui)
    else()
        pelorin_precompile(${target} widgets)
    endif()
endfunction()

# pelorin_library(<room> SOURCES <file>... [LINKS <target>...] [PRIVATE_LINKS <target>...])
#
# Makes the room's static library, pelorin_<room>, and its door: the folder that gives other rooms
# access to the room's headers when it is on their include path.
function(pelorin_library room)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
    set(door ${PROJECT_BINARY_DIR}/include/${room})
    file(MAKE_DIRECTORY ${door})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${door}/${room} SYMBOLIC)
    add_library(pelorin_${room} STATIC ${ARG_SOURCES})
    target_include_directories(pelorin_${room} PUBLIC ${door} ${PROJECT_SOURCE_DIR}/include)
    pelorin_link(pelorin_${room} ${room} LINKS ${ARG_LINKS} PRIVATE_LINKS ${ARG_PRIVATE_LINKS})
endfunction()
