# The packages and builds that can be repeated; with the compiler and the options that packages are built with.
if(CMAKE_BUILD_TYPE STREQUAL "Debug" OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  return()
endif()

# zemo_package_test(NAME SECONDS SCRIPT ARGUMENT...)
function(zemo_package_test name seconds script)
  add_test(NAME package.${name} COMMAND /usr/bin/python3 ${CMAKE_CURRENT_SOURCE_DIR}/package/${script} ${ARGN})
  set_tests_properties(package.${name} PROPERTIES TIMEOUT ${seconds} SKIP_RETURN_CODE 77)
endfunction()

zemo_package_test(reproducible 600 test_reproducible.py ${PROJECT_BINARY_DIR})
# Both architectures come out of one build of the tests, in the folder of ./dev package.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  zemo_package_test(build 1500 test_build.py ${PROJECT_SOURCE_DIR}/build)
  set_tests_properties(package.build PROPERTIES FIXTURES_SETUP packages)
  foreach(architecture amd64 i386)
    zemo_package_test(${architecture} 1500 test_installed.py ${PROJECT_SOURCE_DIR}/build ${architecture})
    set_tests_properties(package.${architecture} PROPERTIES FIXTURES_REQUIRED packages)
  endforeach()
endif()
