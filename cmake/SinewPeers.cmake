# The libraries of others that the benches, the tests and the figures compare sinew with.
# The library itself needs none of them. Included by the top-level CMakeLists.txt, because an imported target is visible
# only in the directory that looks it up and below.
#
# Each peer that is installed becomes the interface target sinew_peer_<name>, which carries its headers and libraries:
#   benches and tests  eigen imath pugixml
#   tests              glm gmp
#   benches            cgal embree nanoflann suitesparse
#   tests, benches and figures  mpfr

# sinew_link_peers(<target> <prefix> <name>...)
#
# Links the peers that are installed and defines <prefix>_<NAME> for each; the target is built without the others. Does
# nothing if this build has no such target.
function(sinew_link_peers target prefix)
  if(NOT TARGET ${target})
    return()
  endif()
  foreach(name ${ARGN})
    if(TARGET sinew_peer_${name})
      string(TOUPPER "${prefix}_${name}" definition)
      target_link_libraries(${target} PRIVATE sinew_peer_${name})
      target_compile_definitions(${target} PRIVATE ${definition})
    else()
      message(STATUS "${name} was not found: ${target} is built without it")
    endif()
  endforeach()
endfunction()

# sinew_require_peers(<name>...): stops the configuration if one of the peers is not installed. Distributions do not have
# them for other systems than their own: SINEW_OPTIONAL_PEERS leaves out what needs them.
option(SINEW_OPTIONAL_PEERS "Build without the tests that need libraries which are not installed" OFF)
mark_as_advanced(SINEW_OPTIONAL_PEERS)
function(sinew_require_peers)
  foreach(name ${ARGN})
    if(NOT TARGET sinew_peer_${name} AND NOT SINEW_OPTIONAL_PEERS)
      message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR} needs ${name}, which was not found. "
                          "SINEW_OPTIONAL_PEERS=ON leaves out the tests that need it.")
    endif()
  endforeach()
endfunction()

function(sinew_add_peer name)
  cmake_parse_arguments(arg "" "" "INCLUDES;LIBRARIES" ${ARGN})
  add_library(sinew_peer_${name} INTERFACE)
  target_include_directories(sinew_peer_${name} SYSTEM INTERFACE ${arg_INCLUDES})
  target_link_libraries(sinew_peer_${name} INTERFACE ${arg_LIBRARIES})
endfunction()

# sinew_find_package_peer(<name> <target> <arguments of find_package>...): a peer whose package file offers <target>.
# A function, so that the variables which package files set reach nothing else.
function(sinew_find_package_peer name target)
  find_package(${ARGN} QUIET)
  if(TARGET ${target})
    sinew_add_peer(${name} LIBRARIES ${target})
  endif()
endfunction()

if(SINEW_TESTS OR SINEW_BENCH)
  sinew_find_package_peer(eigen Eigen3::Eigen Eigen3 NO_MODULE)
  sinew_find_package_peer(pugixml pugixml::pugixml pugixml)

  # Not by its package file, which complains about Python bindings that belong to another package.
  find_path(SINEW_IMATH_INCLUDE Imath/ImathVec.h)
  find_library(SINEW_IMATH_LIBRARY Imath)
  if(SINEW_IMATH_INCLUDE AND SINEW_IMATH_LIBRARY)
    sinew_add_peer(imath INCLUDES "${SINEW_IMATH_INCLUDE}/Imath" LIBRARIES "${SINEW_IMATH_LIBRARY}")
  endif()
endif()

if(SINEW_TESTS)
  sinew_find_package_peer(glm glm::glm glm)

  # Exact rational numbers, through the classes for C++.
  find_path(SINEW_GMP_INCLUDE gmpxx.h)
  find_library(SINEW_GMP_LIBRARY gmp)
  find_library(SINEW_GMPXX_LIBRARY gmpxx)
  if(SINEW_GMP_INCLUDE AND SINEW_GMP_LIBRARY AND SINEW_GMPXX_LIBRARY)
    sinew_add_peer(gmp INCLUDES "${SINEW_GMP_INCLUDE}" LIBRARIES "${SINEW_GMPXX_LIBRARY}" "${SINEW_GMP_LIBRARY}")
  endif()
endif()

if(SINEW_BENCH)
  sinew_find_package_peer(cgal CGAL::CGAL CGAL)
  sinew_find_package_peer(embree embree embree 3)
  sinew_find_package_peer(nanoflann nanoflann::nanoflann nanoflann)

  # Without a package file. CHOLMOD's kernels call the BLAS that the system provides.
  find_path(SINEW_SUITESPARSE_INCLUDE cholmod.h PATH_SUFFIXES suitesparse)
  find_library(SINEW_CHOLMOD_LIBRARY cholmod)
  find_library(SINEW_CXSPARSE_LIBRARY cxsparse)
  if(SINEW_SUITESPARSE_INCLUDE AND SINEW_CHOLMOD_LIBRARY AND SINEW_CXSPARSE_LIBRARY)
    sinew_add_peer(suitesparse INCLUDES "${SINEW_SUITESPARSE_INCLUDE}"
                   LIBRARIES "${SINEW_CHOLMOD_LIBRARY}" "${SINEW_CXSPARSE_LIBRARY}")
  endif()
endif()

if(SINEW_TESTS OR SINEW_BENCH OR SINEW_FIGURES)
  find_path(SINEW_MPFR_INCLUDE mpfr.h)
  find_library(SINEW_MPFR_LIBRARY mpfr)
  if(SINEW_MPFR_INCLUDE AND SINEW_MPFR_LIBRARY)
    sinew_add_peer(mpfr INCLUDES "${SINEW_MPFR_INCLUDE}" LIBRARIES "${SINEW_MPFR_LIBRARY}")
  endif()
endif()
