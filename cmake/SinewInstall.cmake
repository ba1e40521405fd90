# Installs the given libraries, the public headers, the CMake package and the pkg-config module.
include(CMakePackageConfigHelpers)

function(sinew_install)
  install(TARGETS ${ARGN} EXPORT sinewTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  # Headers in the detail folders are internal, so they are not installed.
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/sinew/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sinew
          FILES_MATCHING PATTERN "*.h" PATTERN "detail" EXCLUDE)

  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/sinew)
  install(EXPORT sinewTargets NAMESPACE sinew:: DESTINATION ${package_dir})
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/sinewConfig.cmake.in" sinewConfig.cmake
                                INSTALL_DESTINATION ${package_dir})
  write_basic_package_version_file(sinewConfigVersion.cmake COMPATIBILITY SameMinorVersion)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/sinewConfig.cmake"
                "${CMAKE_CURRENT_BINARY_DIR}/sinewConfigVersion.cmake"
                "${PROJECT_SOURCE_DIR}/cmake/SinewHostOptions.cmake" DESTINATION ${package_dir})

  set(contraction_option "")
  if(SINEW_HAS_ffp_contract_off)
    set(contraction_option -ffp-contract=off)
  endif()
  set(dll_option "")
  if(WIN32 AND SINEW_SHARED)
    set(dll_option -DSINEW_DLL)
  endif()
  configure_file("${PROJECT_SOURCE_DIR}/cmake/sinew.pc.in" sinew.pc @ONLY)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/sinew.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
