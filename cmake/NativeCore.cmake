# The portable core alone, for the machine that builds it: sanitizers and fuzzers.
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
add_library(tandor_core STATIC ${TANDOR_CORE_SOURCES})
target_link_libraries(tandor_core PUBLIC tandor_compiling tandor_base OpenSSL::Crypto)
