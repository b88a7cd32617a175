# The application folder, laid out as a vendor of hosts would ship it. Every build assembles one, so
# that tests and ./run load the module exactly as a host does.
set(PELORIN_APP_DIR ${PROJECT_BINARY_DIR}/Pelorin.app CACHE PATH "Where the application folder is staged")

# Builds all of it.
add_custom_target(staged)

# pelorin_stage(<target> <bin|lib/pelorin|...>)
function(pelorin_stage target folder)
    set_target_properties(${target} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${PELORIN_APP_DIR}/${folder}
        LIBRARY_OUTPUT_DIRECTORY ${PELORIN_APP_DIR}/${folder})
    add_dependencies(staged ${target})
endfunction()

# pelorin_plugin(<target>): the MODULE library exports only its plug-in entry points. It is never
# unloaded, since that would remove code under a running thread.
function(pelorin_plugin target)
    set(exported ${PROJECT_SOURCE_DIR}/cmake/plugin.map)
    target_link_options(${target} PRIVATE -Wl,-z,nodelete -Wl,--version-script=${exported})
    # A sanitizer's functions come from the program that loads the module, so they stay undefined
    # here.
    if(NOT PELORIN_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
    set_target_properties(${target} PROPERTIES PREFIX "" LINK_DEPENDS ${exported})
endfunction()
