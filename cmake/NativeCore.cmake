# The portable core alone, for the machine that builds it: sanitizers and fuzzers.
find_package(nlohmann_json REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(Threads REQUIRED)
find_package(tinyxml2 REQUIRED)
add_library(tandor_core STATIC ${TANDOR_CORE_SOURCES} ${TANDOR_SUITE_EXPORTED_SOURCES} ${TANDOR_SUITE_CORE_SOURCES}
    concurrency/pool_message_native.cpp
)
target_include_directories(tandor_core PUBLIC ${PROJECT_SOURCE_DIR}/suite/include)
target_link_libraries(tandor_core PUBLIC tandor_compiling tandor_base OpenSSL::Crypto nlohmann_json::nlohmann_json Threads::Threads
    PRIVATE tinyxml2::tinyxml2)
