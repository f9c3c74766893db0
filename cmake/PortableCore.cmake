# The portable core: every file that computes and includes no Windows header. Listed once; the DLL links it, and the
# native build compiles the same files under the sanitizers and for the fuzzers.
set(TANDOR_BASE_SOURCES
    base/cpu.cpp
    base/hex.cpp
    base/utf.cpp
)
set(TANDOR_CORE_SOURCES
    config/screen_reader.cpp
    config/screen_settings.cpp
    device/edid.cpp
    device/gamut.cpp
    foundation/base64.cpp
    foundation/base64_ssse3.cpp
    foundation/file_classifier.cpp
    foundation/text.cpp
    foundation/url_coding.cpp
    foundation/version.cpp
    system/firewall_rule.cpp
)
# Of the suite's services, what runs anywhere. It stands in PeloraSuite.dll on Windows and in the core natively.
set(PELORA_PORTABLE_SOURCES
    suite/file/xml_document.cpp
)
list(TRANSFORM PELORA_PORTABLE_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)
# Of the suite's services.
set(TANDOR_SUITE_CORE_SOURCES
    suite/ipc/ipc_channel.cpp
    suite/ipc/ipc_frame.cpp
    suite/telemetry/record_codec.cpp
)
list(TRANSFORM TANDOR_BASE_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)
list(TRANSFORM TANDOR_CORE_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)
list(TRANSFORM TANDOR_SUITE_CORE_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)

# Called after a look at the processor.
if(NOT MSVC)
    set_source_files_properties(${PROJECT_SOURCE_DIR}/foundation/base64_ssse3.cpp PROPERTIES COMPILE_OPTIONS -mssse3)
endif()
