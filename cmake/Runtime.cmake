# The C++ run-time DLLs go beside the products, so that the bin folder copied to a PC just runs.
if(MINGW)
    foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${path}")
            find_file(runtime_${dll} ${dll} PATHS /usr/x86_64-w64-mingw32/lib NO_DEFAULT_PATH REQUIRED NO_CMAKE_FIND_ROOT_PATH)
            set(path ${runtime_${dll}})
        endif()
        # Without their debug information, which makes them twenty times as large and slower to load.
        set(stripped ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${dll})
        if(NOT EXISTS ${stripped})
            file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
            execute_process(COMMAND ${CMAKE_STRIP} --strip-all -o ${stripped} ${path} COMMAND_ERROR_IS_FATAL ANY)
        endif()
        list(APPEND TANDOR_RUNTIME_DLLS ${stripped})
    endforeach()
endif()

# tandor_version_resource(TARGET DESCRIPTION): file and product version as the system shows them.
function(tandor_version_resource target description)
    set(TANDOR_FILE_DESCRIPTION ${description})
    set(TANDOR_FILE_NAME $<TARGET_FILE_NAME:${target}>)
    set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${resource}.in @ONLY)
    file(GENERATE OUTPUT ${resource} INPUT ${resource}.in)
    enable_language(RC)
    target_sources(${target} PRIVATE ${resource})
endfunction()
