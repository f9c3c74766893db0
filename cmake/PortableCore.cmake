# The portable core: every file that computes and includes no Windows header. Listed once; the DLL links it, and the
# native build compiles the same files under the sanitizers and for the fuzzers.
set(TANDOR_BASE_SOURCES
    base/cpu.cpp
    base/hex.cpp
    base/lock.cpp
    base/utf.cpp
)
set(TANDOR_CORE_SOURCES
    concurrency/handle_table.cpp
    concurrency/operation_queue.cpp
    concurrency/remote_command_line.cpp
    concurrency/thread_pool.cpp
    config/display_choice.cpp
    config/resolution_reader.cpp
    config/screen_check.cpp
    config/screen_reader.cpp
    config/screen_settings.cpp
    device/edid.cpp
    device/gamut.cpp
    device/gamut_diagram.cpp
    device/orientation.cpp
    device/hex_dump.cpp
    device/summary_reader.cpp
    device/summary_writer.cpp
    foundation/base64.cpp
    foundation/base64_ssse3.cpp
    foundation/file_classifier.cpp
    foundation/text.cpp
    foundation/url_coding.cpp
    foundation/version.cpp
    security/aes_gcm.cpp
    security/device_random.cpp
    security/digest.cpp
    security/sealed_message.cpp
    security/sealing.cpp
    security/sha256.cpp
    system/driver_store.cpp
    system/hardware_id.cpp
    system/firewall_rule.cpp
    system/http_headers.cpp
)
# Portable as well, but they call the suite's services: the native tests link them with stand-ins for those.
set(TANDOR_SERVICE_CALLERS
    device/edid_data.cpp
    foundation/message.cpp
    security/sealing_host.cpp
    telemetry/data_report.cpp
    telemetry/ko_event_reporter.cpp
    telemetry/report_functions.cpp
    telemetry/reporter.cpp
    telemetry/reporter_factories.cpp
)
# Of the suite's services, what runs anywhere: exported classes, and what stands behind them.
set(TANDOR_SUITE_EXPORTED_SOURCES
    suite/file/xml_document.cpp
    suite/ipc/ipc_channel.cpp
)
set(TANDOR_SUITE_CORE_SOURCES
    suite/ipc/ipc_frame.cpp
    suite/telemetry/record_codec.cpp
)
list(TRANSFORM TANDOR_BASE_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)
list(TRANSFORM TANDOR_CORE_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)
list(TRANSFORM TANDOR_SERVICE_CALLERS PREPEND ${PROJECT_SOURCE_DIR}/)
list(TRANSFORM TANDOR_SUITE_EXPORTED_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)
list(TRANSFORM TANDOR_SUITE_CORE_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)

# Called after a look at the processor.
if(NOT MSVC)
    set_source_files_properties(${PROJECT_SOURCE_DIR}/foundation/base64_ssse3.cpp PROPERTIES COMPILE_OPTIONS -mssse3)
endif()
