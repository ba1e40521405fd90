# Every file that states the version states that of CMakeLists.txt. Called with -D ROOT, VERSION.

# expect(<file> <regular expression with the version as the group>): the first match in the file is the version.
function(expect file pattern)
  file(READ "${ROOT}/${file}" text)
  if(NOT text MATCHES "${pattern}")
    message(SEND_ERROR "${file} states no version")
  elseif(NOT CMAKE_MATCH_1 STREQUAL VERSION)
    message(SEND_ERROR "${file} states the version ${CMAKE_MATCH_1}, and CMakeLists.txt ${VERSION}")
  endif()
endfunction()

expect(CITATION.cff "\nversion: ([0-9.]+)")
expect(packaging/vcpkg/sinew/vcpkg.json "\"version-semver\": \"([0-9.]+)\"")
expect(CHANGELOG.md "\n## ([0-9.]+)")
