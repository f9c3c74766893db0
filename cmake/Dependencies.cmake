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
<<<<<<< HEAD
find_path(CRYPTO_INCLUDE openssl/evp.h REQUIRED)
find_library(CRYPTO_LIBRARY crypto REQUIRED)
add_library(tandor_crypto STATIC IMPORTED)
set_target_properties(tandor_crypto PROPERTIES IMPORTED_LOCATION ${CRYPTO_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${CRYPTO_INCLUDE})
tandor_delay_load(tandor_crypto ws2_32 user32 advapi32)
=======

# libcurl and OpenSSL, static. Whoever links them delay-loads the system libraries: ws2_32 crypt32 bcrypt advapi32 user32 gdi32.
find_path(CURL_INCLUDE curl/curl.h REQUIRED)
find_library(CURL_LIBRARY curl REQUIRED)
find_library(SSL_LIBRARY ssl REQUIRED)
find_library(CRYPTO_LIBRARY crypto REQUIRED)
add_library(tandor_curl INTERFACE)
target_include_directories(tandor_curl SYSTEM INTERFACE ${CURL_INCLUDE})
target_compile_definitions(tandor_curl INTERFACE CURL_STATICLIB)
target_link_libraries(tandor_curl INTERFACE ${CURL_LIBRARY} ${SSL_LIBRARY} ${CRYPTO_LIBRARY})
>>>>>>> refs/heads/outbox
