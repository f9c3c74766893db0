# The portable core alone, for the machine that builds it: sanitizers and fuzzers.
find_package(tinyxml2 REQUIRED)
add_library(tandor_core STATIC ${TANDOR_CORE_SOURCES} ${PELORA_PORTABLE_SOURCES})
target_include_directories(tandor_core PUBLIC ${PROJECT_SOURCE_DIR}/suite/include)
target_link_libraries(tandor_core PUBLIC tandor_compiling tandor_base PRIVATE tinyxml2::tinyxml2)
