# The portable core alone, for the machine that builds it: sanitizers and fuzzers.
<<<<<<< HEAD
find_package(nlohmann_json REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
<<<<<<< HEAD
<<<<<<< HEAD
=======
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
>>>>>>> refs/heads/concurrency
find_package(Threads REQUIRED)
add_library(tandor_core STATIC ${TANDOR_CORE_SOURCES}
    concurrency/lock_native.cpp
    concurrency/pool_message_native.cpp
)
target_link_libraries(tandor_core PUBLIC tandor_compiling tandor_base OpenSSL::Crypto Threads::Threads)
<<<<<<< HEAD
=======
add_library(tandor_core STATIC ${TANDOR_CORE_SOURCES})
target_link_libraries(tandor_core PUBLIC tandor_compiling tandor_base OpenSSL::Crypto nlohmann_json::nlohmann_json)
>>>>>>> refs/heads/device
=======
>>>>>>> refs/heads/concurrency
=======
find_package(tinyxml2 REQUIRED)
add_library(tandor_core STATIC ${TANDOR_CORE_SOURCES} ${PELORA_PORTABLE_SOURCES})
target_include_directories(tandor_core PUBLIC ${PROJECT_SOURCE_DIR}/suite/include)
target_link_libraries(tandor_core PUBLIC tandor_compiling tandor_base OpenSSL::Crypto PRIVATE tinyxml2::tinyxml2)
>>>>>>> refs/heads/screen
