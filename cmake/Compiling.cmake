# How everything of ours is compiled. Warnings are errors; hardening is on in every build.
add_library(tandor_compiling INTERFACE)
target_include_directories(tandor_compiling INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_definitions(tandor_compiling INTERFACE
    $<$<PLATFORM_ID:Windows>:UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00 NTDDI_VERSION=0x0A000006>)

if(MSVC)
    target_compile_options(tandor_compiling INTERFACE /W4 /WX /permissive- /utf-8 /EHsc /guard:cf /sdl /Zc:__cplusplus)
    target_link_options(tandor_compiling INTERFACE /guard:cf /DYNAMICBASE /NXCOMPAT /HIGHENTROPYVA)
else()
    target_compile_options(tandor_compiling INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
        -ffunction-sections -fdata-sections)
    target_compile_definitions(tandor_compiling INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
endif()
if(MINGW)
    # base/stack_guard.cpp provides what the protector calls.
    target_compile_options(tandor_compiling INTERFACE -fstack-protector-strong)
    target_compile_definitions(tandor_compiling INTERFACE __USE_MINGW_ANSI_STDIO=1)
    target_link_options(tandor_compiling INTERFACE -Wl,--gc-sections -Wl,--dynamicbase,--nxcompat,--high-entropy-va)
    # A product says nothing about the machine that built it.
    target_compile_options(tandor_compiling INTERFACE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
        -ffile-prefix-map=${TANDOR_DEPENDENCIES}=dependencies)
endif()
if(TANDOR_SANITIZERS)
    target_compile_options(tandor_compiling INTERFACE -fsanitize=${TANDOR_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tandor_compiling INTERFACE -fsanitize=${TANDOR_SANITIZERS})
endif()
