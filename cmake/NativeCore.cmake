# The portable core alone, for the machine that builds it: sanitizers and fuzzers.
add_library(tandor_core STATIC ${TANDOR_BASE_SOURCES} ${TANDOR_CORE_SOURCES})
find_package(nlohmann_json REQUIRED)
target_link_libraries(tandor_core PUBLIC tandor_compiling nlohmann_json::nlohmann_json)
