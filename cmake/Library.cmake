# TandorUtil.dll: the portable core and, beside it, the files that call the system.
add_library(tandor_core OBJECT ${TANDOR_CORE_SOURCES})
target_link_libraries(tandor_core PUBLIC tandor_compiling tandor_crypto ${TANDOR_SUITE_TARGET} PRIVATE nlohmann_json::nlohmann_json)
target_compile_definitions(tandor_core PRIVATE TANDOR_BUILDING)

add_library(TandorUtil SHARED
    $<TARGET_OBJECTS:tandor_core>
    concurrency/foreign_file.cpp
    concurrency/keep_awake.cpp
    concurrency/open_files.cpp
    concurrency/pool_message_system.cpp
    concurrency/presence.cpp
    concurrency/process_detector.cpp
    concurrency/system_table.cpp
    concurrency/window_detector.cpp
    config/album_times.cpp
    config/bound_records.cpp
    config/koplay_registry.cpp
    config/paired_attributes.cpp
    config/present_records.cpp
    config/config_mgr.cpp
    config/display_query.cpp
    device/panel_query.cpp
    foundation/channel_logger.cpp
    foundation/channel_sink.cpp
    foundation/logging.cpp
    foundation/text_system.cpp
    foundation/thumbnail.cpp
    security/crypt_base.cpp
    security/crypt_random.cpp
    security/file_digest.cpp
    system/device_console.cpp
    system/device_inventory.cpp
    system/device_nodes.cpp
    system/driver_staging.cpp
    system/store_search.cpp
    system/rehearsal.cpp
    system/system_path.cpp
    system/firewall.cpp
    system/firewall_manager.cpp
    system/firewall_reader.cpp
    system/firewall_removal.cpp
    system/http_download.cpp
    system/http_transfer.cpp
    telemetry/data_process_report.cpp
    telemetry/data_report_clock.cpp
    ${TANDOR_SERVICE_CALLERS}
)
add_library(Tandor::TandorUtil ALIAS TandorUtil)
target_compile_definitions(TandorUtil PRIVATE TANDOR_BUILDING)
target_include_directories(TandorUtil PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
set_target_properties(TandorUtil PROPERTIES PREFIX "" IMPORT_PREFIX "lib")
target_link_libraries(TandorUtil PRIVATE $<BUILD_INTERFACE:tandor_compiling> $<BUILD_INTERFACE:tandor_base>
    ${TANDOR_SUITE_TARGET} $<BUILD_INTERFACE:spdlog::spdlog> $<BUILD_INTERFACE:fmt::fmt>
    $<BUILD_INTERFACE:tandor_crypto> $<BUILD_INTERFACE:tandor_curl>)
tandor_delay_load(TandorUtil user32 gdi32 gdiplus advapi32 ole32 oleaut32 bcrypt pathcch setupapi cfgmgr32)
# Sample configuration, where programs in the bin folder look for theirs.
foreach(sample config/VxExScreenConfig.xml cloundConfig/PadResolutionConfig.xml)
    get_filename_component(name ${sample} NAME)
    get_filename_component(folder ${sample} DIRECTORY)
    configure_file(config/samples/${name} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${folder}/VxExScreen/${name} COPYONLY)
endforeach()
configure_file(device/samples/wide-panel.edid ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/samples/wide-panel.edid COPYONLY)

set(TANDOR_SAMPLE_FOLDERS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/config ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/cloundConfig
    ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/samples)

tandor_product(TandorUtil)
tandor_version_resource(TandorUtil "Utility library of the multi-device feature")

# The portable core's free functions, for programs that look inside: tests, benchmarks and tandorctl.
add_library(tandor_core_static STATIC $<TARGET_OBJECTS:tandor_core>)
target_link_libraries(tandor_core_static PUBLIC tandor_compiling tandor_base tandor_crypto ${TANDOR_SUITE_TARGET})
