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

  sinew_install_pkgconfig()
  if(SINEW_INSTALL_LICENSE)
    install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION ${CMAKE_INSTALL_DOCDIR})
  endif()
  sinew_install_debugger_views()
endfunction()

# gdb loads a file that has the name of the shared library, with "-gdb.py", from its own tree of folders.
function(sinew_install_debugger_views)
  install(FILES "${PROJECT_SOURCE_DIR}/debuggers/sinew.natvis" DESTINATION ${CMAKE_INSTALL_DATADIR}/sinew)
  if(SINEW_SHARED AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
    install(FILES "${PROJECT_SOURCE_DIR}/debuggers/sinew_gdb.py"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR}"
            RENAME "libsinew.so.${PROJECT_VERSION}-gdb.py")
  else()
    install(FILES "${PROJECT_SOURCE_DIR}/debuggers/sinew_gdb.py" DESTINATION ${CMAKE_INSTALL_DATADIR}/sinew)
  endif()
endfunction()

# The folder of the package as a pkg-config file names it: relative to that file, so that the package can be moved, unless
# the build was given an absolute folder.
function(sinew_relocatable folder result)
  string(REPLACE " " "\\ " path "${folder}") # pkg-config does the same to the folder of its file
  if(NOT IS_ABSOLUTE "${folder}")
    set(path "\${prefix}/${path}")
  endif()
  set(${result} "${path}" PARENT_SCOPE)
endfunction()

# sinew.pc links the shared library if there is one, and sinew-static.pc the static one.
function(sinew_install_pkgconfig)
  set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  string(REPLACE " " "\\ " prefix "${CMAKE_INSTALL_PREFIX}")
  if(NOT IS_ABSOLUTE "${pkgconfig_dir}")
    file(RELATIVE_PATH up "/${pkgconfig_dir}" "/")
    string(REGEX REPLACE "/$" "" up "${up}")
    set(prefix "\${pcfiledir}/${up}")
  endif()
  sinew_relocatable("${CMAKE_INSTALL_LIBDIR}" libdir)
  sinew_relocatable("${CMAKE_INSTALL_INCLUDEDIR}" includedir)
  set(contraction_option "")
  if(SINEW_HAS_ffp_contract_off)
    set(contraction_option -ffp-contract=off)
  endif()
  set(static_library "${CMAKE_STATIC_LIBRARY_PREFIX}sinew${CMAKE_STATIC_LIBRARY_SUFFIX}")
  foreach(file sinew sinew-static)
    set(dll_option "")
    set(libraries "-L\${libdir} -lsinew")
    if(file STREQUAL "sinew-static")
      set(libraries "\${libdir}/${static_library}")
    elseif(WIN32 AND SINEW_SHARED)
      set(dll_option -DSINEW_DLL)
    endif()
    if(file STREQUAL "sinew" OR SINEW_STATIC)
      configure_file("${PROJECT_SOURCE_DIR}/cmake/sinew.pc.in" ${file}.pc @ONLY)
      install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${file}.pc" DESTINATION ${pkgconfig_dir})
    endif()
  endforeach()
endfunction()
