# What an installed TandorUtil consists of, and how find_package(TandorUtil) finds it.
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
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tandor DESTINATION include)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TandorUtilConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/TandorUtilConfig.cmake
    INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TandorUtilConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TandorUtilConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/TandorUtilConfigVersion.cmake
    DESTINATION ${package_directory})
