# An overlay port: it builds the sources that it lies in. vcpkg install sinew --overlay-ports=<sources>/packaging/vcpkg
get_filename_component(SOURCE_PATH "${CURRENT_PORT_DIR}/../../.." ABSOLUTE)

vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS -DSINEW_TESTS=OFF -DSINEW_TOOL=OFF -DSINEW_EXAMPLES=OFF -DSINEW_SELFTEST=OFF -DSINEW_INSTALL_LICENSE=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME sinew CONFIG_PATH lib/cmake/sinew)
vcpkg_fixup_pkgconfig()
vcpkg_copy_pdbs()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
