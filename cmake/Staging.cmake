# The application folder as a maker of hosts would ship it. Every build assembles one, so that
# tests and ./run meet the module exactly as a host does.
set(PELORIN_APP_DIR ${CMAKE_BINARY_DIR}/Pelorin.app CACHE PATH "Where the application folder is staged")

# pelorin_stage(<target> <bin|lib/pelorin|...>)
function(pelorin_stage target folder)
    set_target_properties(${target} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${PELORIN_APP_DIR}/${folder}
        LIBRARY_OUTPUT_DIRECTORY ${PELORIN_APP_DIR}/${folder})
endfunction()
