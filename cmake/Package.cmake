# What an installed TandorUtil consists of, how find_package(TandorUtil) finds it, and the zip that carries it.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)
set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/TandorUtil)

if(TARGET PeloraSuite)
    install(TARGETS PeloraSuite EXPORT PeloraSuiteTargets RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
    install(EXPORT PeloraSuiteTargets NAMESPACE Pelora:: DESTINATION ${package_directory})
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/suite/include/pelora DESTINATION include)
endif()
install(TARGETS TandorUtil EXPORT TandorUtilTargets RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
install(EXPORT TandorUtilTargets NAMESPACE Tandor:: DESTINATION ${package_directory})
install(TARGETS tandorctl RUNTIME DESTINATION bin)
install(FILES ${TANDOR_RUNTIME_DLLS} DESTINATION bin)
install(DIRECTORY ${TANDOR_SAMPLE_FOLDERS} DESTINATION bin)
install(DIRECTORY ${TANDOR_SYMBOLS_DIRECTORY} DESTINATION .)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tandor DESTINATION include)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION share/doc/TandorUtil)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION share/doc/TandorUtil
    FILES_MATCHING PATTERN "*.md" PATTERN "*-notes.md" EXCLUDE)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TandorUtilConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/TandorUtilConfig.cmake
    INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TandorUtilConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TandorUtilConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/TandorUtilConfigVersion.cmake
    DESTINATION ${package_directory})

# tandor_install_licence(NAME FILE...): the first of these files that is there; without one there is no package to install.
function(tandor_install_licence name)
    find_file(TANDOR_LICENCE_${name} NAMES ${ARGN} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH
        PATHS ${TANDOR_DEPENDENCIES}/share/licences ${VCPKG_INSTALLED_DIR}/${VCPKG_TARGET_TRIPLET}/share /usr/share/doc
        /usr/share/common-licenses)
    mark_as_advanced(TANDOR_LICENCE_${name})
    if(NOT TANDOR_LICENCE_${name})
        install(CODE "message(FATAL_ERROR \"the licence of ${name} is nowhere to be found, and a package must carry it\")")
        return()
    endif()
    install(FILES ${TANDOR_LICENCE_${name}} DESTINATION share/licences RENAME ${name}.txt)
endfunction()

# tandor_version_in(RESULT HEADER DEFINE): the text that the header defines.
function(tandor_version_in result header define)
    file(STRINGS ${header} line REGEX "define ${define} +\"" LIMIT_COUNT 1)
    string(REGEX MATCH "[0-9]+\\.[0-9]+[0-9.]*" version "${line}")
    set(${result} "${version}" PARENT_SCOPE)
endfunction()

# tandor_part(NAME VERSION LICENCE WHERE FILE...): what goes along with the package, with its licence's text.
function(tandor_part name version licence where)
    if(NOT version)
        message(FATAL_ERROR "The version of ${name} is unknown, and the package lists it")
    endif()
    tandor_install_licence(${name} ${ARGN})
    set_property(GLOBAL APPEND_STRING PROPERTY TANDOR_PARTS
        ",\n    {\"name\": \"${name}\", \"version\": \"${version}\", \"licence\": \"${licence}\", \"in\": \"${where}\"}")
endfunction()

# As tools/setup.sh keeps the licences, or as vcpkg does.
tandor_version_in(cli11 ${CLI11_INCLUDE}/CLI/Version.hpp CLI11_VERSION)
tandor_version_in(sqlite ${SQLITE_INCLUDE}/sqlite3.h SQLITE_VERSION)
tandor_version_in(openssl ${CRYPTO_INCLUDE}/openssl/opensslv.h OPENSSL_VERSION_STR)
tandor_version_in(curl ${CURL_INCLUDE}/curl/curlver.h LIBCURL_VERSION)
tandor_part(fmt "${fmt_VERSION}" MIT "TandorUtil.dll, tandorctl.exe" fmt.txt fmt/copyright)
tandor_part(spdlog "${spdlog_VERSION}" MIT TandorUtil.dll spdlog.txt spdlog/copyright)
tandor_part(json "${nlohmann_json_VERSION}" MIT "TandorUtil.dll, tandorctl.exe" json.txt nlohmann-json/copyright)
tandor_part(tinyxml2 "${tinyxml2_VERSION}" Zlib PeloraSuite.dll tinyxml2.txt tinyxml2/copyright)
tandor_part(cli11 "${cli11}" BSD-3-Clause tandorctl.exe cli11.txt cli11/copyright)
tandor_part(sqlite "${sqlite}" blessing "PeloraSuite.dll, tandorctl.exe" sqlite.txt sqlite3/copyright)
tandor_part(openssl "${openssl}" Apache-2.0 "TandorUtil.dll, tandorctl.exe" openssl.txt openssl/copyright)
tandor_part(curl "${curl}" curl "TandorUtil.dll, tandorctl.exe" curl.txt curl/copyright)
if(MINGW)  # what goes along as DLLs of the tool chain, and the texts that these and OpenSSL's refer to
    find_file(MINGW_VERSION_HEADER _mingw_mac.h REQUIRED)
    mark_as_advanced(MINGW_VERSION_HEADER)
    file(STRINGS ${MINGW_VERSION_HEADER} mingw REGEX "define __MINGW64_VERSION_(MAJOR|MINOR|BUGFIX) ")
    list(TRANSFORM mingw REPLACE ".* ([0-9]+)$" "\\1")
    list(JOIN mingw . mingw)
    tandor_part(gcc-runtime "${CMAKE_CXX_COMPILER_VERSION}" "GPL-3.0-or-later WITH GCC-exception-3.1"
        "libstdc++-6.dll, libgcc_s_seh-1.dll" gcc-mingw-w64-base/copyright)
    tandor_part(mingw-runtime "${mingw}" "MIT AND BSD-3-Clause" libwinpthread-1.dll mingw-w64-common/copyright)
    tandor_install_licence(GPL-3 GPL-3)
    tandor_install_licence(Apache-2.0 Apache-2.0)
endif()
get_property(parts GLOBAL PROPERTY TANDOR_PARTS)
string(SUBSTRING "${parts}" 1 -1 parts)
file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/dependencies.json @ONLY
    CONTENT "{\n  \"name\": \"TandorUtil\",\n  \"version\": \"@PROJECT_VERSION@\",\n  \"dependencies\": [@parts@\n  ]\n}\n")
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/dependencies.json DESTINATION share)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME TandorUtil-${PROJECT_VERSION}-windows-x86_64)
set(CPACK_PACKAGE_VENDOR Tandor)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
set(CPACK_THREADS 0)
include(CPack)
