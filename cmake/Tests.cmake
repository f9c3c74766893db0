# How the tests for Windows are compiled and linked. Included by the folder that has them.
if(MINGW)
    # What is tested is optimised as it is shipped, the tests are not. They are compiled alike in every build, and without
    # a precompiled header, which never comes out the same: the compiler's cache has them for every build but the first.
    set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O0 -g1")
    set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g1")
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
    # GNU ld needs two minutes for a program of so many small sections, lld a second. The table of imports stays writable,
    # as functions of libraries that are loaded on first use are entered there.
    find_program(TANDOR_CLANG clang++)
    find_program(TANDOR_LLD ld.lld)
    if(TANDOR_CLANG AND TANDOR_LLD)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name
            OUTPUT_VARIABLE libgcc OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        cmake_path(GET libgcc PARENT_PATH gcc_libraries)
        set(CMAKE_CXX_LINK_EXECUTABLE "${TANDOR_CLANG} --target=x86_64-w64-windows-gnu -fuse-ld=lld -L${gcc_libraries} \
-Wl,-Xlink=-merge:.idata=.data <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES> -lpthread")
    endif()
endif()
