# What an installation puts where. Programs and data find one another by relative paths, so the
# installed tree can be moved. Components: module (plug-in, C library and translations), page (page
# process), dev (headers, CMake package, pkg-config file), tools (with the program that takes pictures,
# which uses the page process if it is there), host.
include(CMakePackageConfigHelpers)

# pelorin_check_way(<from> <to> <expression>): the relative path between two installed folders must
# match the expression, because programs look there.
function(pelorin_check_way from to expression)
    file(RELATIVE_PATH way ${from} ${to})
    if(NOT way MATCHES "^${expression}$")
        message(FATAL_ERROR "${to} cannot be found from ${from}: ${way} does not match ${expression}")
    endif()
endfunction()

if(PELORIN_GUI)
    # What a host links: PelorinNews::PelorinNews, the headers. What it loads: the file of
    # PelorinNews::Module. The names are the same after find_package and after add_subdirectory.
    add_library(pelorin_interface INTERFACE)
    target_include_directories(pelorin_interface INTERFACE
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_compile_features(pelorin_interface INTERFACE cxx_std_20)
    target_link_libraries(pelorin_interface INTERFACE Qt6::Widgets)
    set_target_properties(pelorin_interface PROPERTIES EXPORT_NAME PelorinNews)
    set_target_properties(PelorinNews PROPERTIES EXPORT_NAME Module)
    add_library(PelorinNews::PelorinNews ALIAS pelorin_interface)
    add_library(PelorinNews::Module ALIAS PelorinNews)
    write_basic_package_version_file(${PROJECT_BINARY_DIR}/PelorinNewsConfigVersion.cmake
        COMPATIBILITY SameMajorVersion)
endif()

# pelorin_install(<targets> <folder of libraries>): the rules, for the calling folder. <targets> names
# the set of exported targets.
function(pelorin_install targets libraries)
    set(programs ${CMAKE_INSTALL_BINDIR})
    set(share ${CMAKE_INSTALL_DATADIR})

    if(PELORIN_PROGRAMS)
        pelorin_check_way(${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_DATADIR} "\\.\\./share")
        set(tools feedserver)
        if(PELORIN_WINDOW)
            list(APPEND tools feedcheck)
        endif()
        foreach(tool IN LISTS tools)
            set(source ${PROJECT_SOURCE_DIR}/tools/${tool}/pelorin-${tool})
            install(TARGETS pelorin-${tool} DESTINATION ${programs} COMPONENT tools)
            install(FILES ${source}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
            install(FILES ${source}.bash DESTINATION ${share}/bash-completion/completions
                RENAME pelorin-${tool} COMPONENT tools)
        endforeach()
        if(PELORIN_WINDOW)
            install(TARGETS pelorin-news-pictures DESTINATION ${libraries}/pelorin COMPONENT tools)
        endif()
        install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/demo-feed DESTINATION ${share}/pelorin
            COMPONENT tools)
    endif()

    if(PELORIN_GUI)
        # ModuleBundle::resourceFolder() looks here.
        set(folder ${libraries}/pelorin)
        cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE full)
        pelorin_check_way(${full} ${CMAKE_INSTALL_FULL_DATADIR} "(\\.\\./)?\\.\\./\\.\\./share")
        install(TARGETS PelorinNews EXPORT ${targets}
            LIBRARY DESTINATION ${folder} COMPONENT module)
        # The C library looks for the module in the folder pelorin beside it.
        install(TARGETS pelorin_cinterface EXPORT ${targets}
            LIBRARY DESTINATION ${libraries} COMPONENT module NAMELINK_COMPONENT dev)
        get_directory_property(tables DIRECTORY ${PROJECT_SOURCE_DIR}/resources DEFINITION tables)
        install(FILES ${tables} DESTINATION ${share}/pelorin-news COMPONENT module)
        install(TARGETS pelorin-news-page DESTINATION ${folder} COMPONENT page)

        install(TARGETS pelorin_interface EXPORT ${targets} COMPONENT dev)
        set(pkgconfig ${libraries}/pkgconfig)
        cmake_path(ABSOLUTE_PATH pkgconfig BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE full)
        file(RELATIVE_PATH way_to_prefix ${full} ${CMAKE_INSTALL_PREFIX})
        file(RELATIVE_PATH way_to_headers ${full} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
        set(description ${CMAKE_CURRENT_BINARY_DIR}/pelorin-news.pc)
        configure_file(${PROJECT_SOURCE_DIR}/cmake/pelorin-news.pc.in ${description} @ONLY)
        install(FILES ${description} DESTINATION ${pkgconfig} COMPONENT dev)
        install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/pelorinnews
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev FILES_MATCHING PATTERN "*.h")

        set(package ${libraries}/cmake/PelorinNews)
        install(EXPORT ${targets} FILE PelorinNewsTargets.cmake NAMESPACE PelorinNews::
            DESTINATION ${package} COMPONENT dev)
        install(FILES ${PROJECT_BINARY_DIR}/PelorinNewsConfigVersion.cmake
                ${PROJECT_SOURCE_DIR}/cmake/PelorinNewsConfig.cmake
            DESTINATION ${package} COMPONENT dev)
    endif()

    if(PELORIN_GUI AND PELORIN_PROGRAMS)
        install(TARGETS pelorin DESTINATION ${programs} COMPONENT host)
        install(DIRECTORY ${PELORIN_APP_DIR}/share/applications ${PELORIN_APP_DIR}/share/icons
            DESTINATION ${share} COMPONENT host)
        set(host ${PROJECT_SOURCE_DIR}/host)
        install(FILES ${host}/com.olvane.Pelorin.metainfo.xml DESTINATION ${share}/metainfo
            COMPONENT host)
        install(FILES ${host}/pelorin.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT host)
    endif()
endfunction()

pelorin_install(PelorinNewsTargets ${CMAKE_INSTALL_LIBDIR})
