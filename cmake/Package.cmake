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
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TandorUtilConfigVersion.cmake COMPATIBILITY SameMinorVersion)
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

# What is linked in: as tools/setup.sh keeps the licences, or as vcpkg does.
foreach(library fmt spdlog json:nlohmann-json tinyxml2 cli11 sqlite:sqlite3 openssl curl)
    string(REGEX REPLACE ".*:" "" port ${library})
    string(REGEX REPLACE ":.*" "" name ${library})
    tandor_install_licence(${name} ${name}.txt ${port}/copyright)
endforeach()
if(MINGW)  # what goes along as DLLs of the tool chain, and the texts that these and OpenSSL's refer to
    tandor_install_licence(gcc-runtime gcc-mingw-w64-base/copyright)
    tandor_install_licence(mingw-runtime mingw-w64-common/copyright)
    tandor_install_licence(GPL-3 GPL-3)
    tandor_install_licence(Apache-2.0 Apache-2.0)
endif()

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME TandorUtil-${PROJECT_VERSION}-windows-x86_64)
set(CPACK_PACKAGE_VENDOR Tandor)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
set(CPACK_THREADS 0)
include(CPack)
