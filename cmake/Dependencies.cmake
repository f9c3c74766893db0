# The libraries that are called, as targets without the system libraries they would pull in at load.
find_package(fmt REQUIRED)
find_package(spdlog REQUIRED)
find_package(tinyxml2 REQUIRED)
find_path(SQLITE_INCLUDE sqlite3.h REQUIRED)
find_library(SQLITE_LIBRARY sqlite3 REQUIRED)
add_library(tandor_sqlite INTERFACE)
target_include_directories(tandor_sqlite SYSTEM INTERFACE ${SQLITE_INCLUDE})
target_link_libraries(tandor_sqlite INTERFACE ${SQLITE_LIBRARY})
find_package(nlohmann_json REQUIRED)
find_path(CLI11_INCLUDE CLI/CLI.hpp REQUIRED)
add_library(tandor_cli11 INTERFACE)
target_include_directories(tandor_cli11 SYSTEM INTERFACE ${CLI11_INCLUDE})
find_path(CRYPTO_INCLUDE openssl/evp.h REQUIRED)
find_library(CRYPTO_LIBRARY crypto REQUIRED)
add_library(tandor_crypto STATIC IMPORTED)
set_target_properties(tandor_crypto PROPERTIES IMPORTED_LOCATION ${CRYPTO_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${CRYPTO_INCLUDE})
tandor_delay_load(tandor_crypto ws2_32 user32 advapi32)
find_library(TLS_LIBRARY ssl REQUIRED)
add_library(tandor_tls STATIC IMPORTED)
set_target_properties(tandor_tls PROPERTIES IMPORTED_LOCATION ${TLS_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${CRYPTO_INCLUDE} INTERFACE_LINK_LIBRARIES tandor_crypto)
# Not through its own package, which names the system DLLs for loading at start.
find_path(CURL_INCLUDE curl/curl.h REQUIRED)
find_library(CURL_LIBRARY curl REQUIRED)
add_library(tandor_curl STATIC IMPORTED)
set_target_properties(tandor_curl PROPERTIES IMPORTED_LOCATION ${CURL_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${CURL_INCLUDE} INTERFACE_COMPILE_DEFINITIONS CURL_STATICLIB
    INTERFACE_LINK_LIBRARIES tandor_tls)
tandor_delay_load(tandor_curl ws2_32 crypt32 bcrypt advapi32)
