# tandor_delay_load(TARGET dll...): the system DLLs named are loaded at the first call into them, not with TARGET.
# For an imported TARGET that holds for everything that links it.
# With mingw the stubs are made from the tool chain's own import library; with MSVC the linker does it.
function(tandor_delay_load target)
    get_target_property(imported ${target} IMPORTED)
    if(imported)
        set(scope INTERFACE)
    else()
        set(scope PRIVATE)
        target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/base/system_dlls_only.cpp)
    endif()
    foreach(name IN LISTS ARGN)
        if(MSVC)
            target_link_libraries(${target} ${scope} ${name})
            target_link_options(${target} ${scope} /DELAYLOAD:${name}.dll)
        else()
            tandor_delay_import_library(${name} library)
            target_link_libraries(${target} ${scope} ${library})
        endif()
    endforeach()
    target_link_libraries(${target} ${scope} delayimp)
endfunction()

function(tandor_delay_import_library name result)
    set(library ${CMAKE_BINARY_DIR}/delay/lib${name}_delayed.a)
    set(${result} ${library} PARENT_SCOPE)
    if(EXISTS ${library})
        return()
    endif()
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=lib${name}.a
        OUTPUT_VARIABLE import_library OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${CMAKE_DLLTOOL} --identify ${import_library}
        OUTPUT_VARIABLE dll OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${CMAKE_NM} --defined-only ${import_library}
        OUTPUT_VARIABLE symbols ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL " T [A-Za-z0-9_]+" names "${symbols}")
    list(TRANSFORM names REPLACE " T " "  ")
    list(JOIN names "\n" names)
    file(WRITE ${CMAKE_BINARY_DIR}/delay/${name}.def "LIBRARY ${dll}\nEXPORTS\n${names}\n")
    execute_process(COMMAND ${CMAKE_DLLTOOL} --input-def ${name}.def --output-delaylib ${library}
        WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/delay COMMAND_ERROR_IS_FATAL ANY)
endfunction()
