# The Debian packages, one for each component (packaging/build makes them).
if(NOT PROJECT_IS_TOP_LEVEL OR NOT PELORIN_GUI OR NOT PELORIN_PROGRAMS OR PELORIN_SANITIZE
        OR NOT CMAKE_LIBRARY_ARCHITECTURE)
    return()
endif()
# The folder has install rules of its own, for Debian's folders; `cmake --install` leaves them out.
add_subdirectory(packaging EXCLUDE_FROM_ALL)

set(CPACK_INSTALL_CMAKE_PROJECTS "${PROJECT_BINARY_DIR}/packaging;${PROJECT_NAME};ALL;/")
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL module page dev tools host)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_CONTACT "Pelorin News maintainers <maintainers@olvane.example>")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE pelorin-news)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The parts of one version belong together: the module and its page process speak a protocol that
# may change with each version.
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_PAGE_DEPENDS module)
set(CPACK_COMPONENT_DEV_DEPENDS module)
set(CPACK_COMPONENT_HOST_DEPENDS module)

# dpkg-shlibdeps does not see what a program loads by name: libcurl, Qt's plug-in for SVG.
set(CPACK_DEBIAN_MODULE_PACKAGE_NAME pelorin-news)
set(CPACK_DEBIAN_MODULE_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_MODULE_PACKAGE_DEPENDS "libcurl4 (>= 7.87)")
set(CPACK_DEBIAN_MODULE_PACKAGE_RECOMMENDS
    "pelorin-news-page, ca-certificates, fonts-dejavu-core, xdg-utils")
configure_file(packaging/shlibs.in packaging/shlibs @ONLY)
set(CPACK_DEBIAN_MODULE_PACKAGE_CONTROL_EXTRA
    ${PROJECT_BINARY_DIR}/packaging/shlibs ${PROJECT_SOURCE_DIR}/packaging/triggers)
set(CPACK_DEBIAN_MODULE_DESCRIPTION "news panel for Qt applications, as a plug-in
A host application loads this module to show news from a feed in a window of
its own and to announce new items as desktop notifications.
.
This package contains the plug-in, its text renderer, its translations and the
library by which hosts in C and other languages load it.")

set(CPACK_DEBIAN_PAGE_PACKAGE_NAME pelorin-news-page)
set(CPACK_DEBIAN_PAGE_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PAGE_DESCRIPTION "news panel for Qt applications, page process
The news panel starts this program to paint its items with a web engine.
Without it, the panel paints them as rich text.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME pelorin-news-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "qt6-base-dev (>= 6.4)")
set(CPACK_DEBIAN_DEV_DESCRIPTION "news panel for Qt applications, development files
This package contains what is needed to build a host application of the news
panel: the headers, the CMake package PelorinNews and a pkg-config file.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME pelorin-news-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libcurl4 (>= 7.87)")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "pelorin-news-page, ca-certificates, openssl")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "news panel for Qt applications, tools for feeds
pelorin-feedcheck checks a news feed as the panel reads it, and takes pictures
of its items; those by the web engine need the package pelorin-news-page.
pelorin-feedserver serves feeds on this computer for development and tests.")

set(CPACK_DEBIAN_HOST_PACKAGE_NAME pelorin)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS libqt6svg6)
set(CPACK_DEBIAN_HOST_DESCRIPTION "small application that shows the Pelorin News panel
Pelorin loads the news module, opens its panel and shows what the module
logs. It is an example for those who write hosts of their own.")

include(CPack)
