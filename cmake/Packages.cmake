# The Debian packages, one for each group of components: libzemoutils (runtime), libzemoutils-dev (development) and
# zemo-desk (host platform, programs, manuals, examples). packaging/make_packages builds them with the presets
# package64 and package32.
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${packaging}/changelog ${PROJECT_SOURCE_DIR}/CHANGELOG.md
                                       ${manuals})
file(STRINGS ${packaging}/changelog first_line LIMIT_COUNT 1)
string(REGEX MATCH "\\(([0-9.]+)-([0-9]+)\\)" numbers "${first_line}")
if(NOT CMAKE_MATCH_1 VERSION_EQUAL PROJECT_VERSION)
  message(FATAL_ERROR "packaging/changelog begins with another version than ${PROJECT_VERSION}: ${first_line}")
endif()
set(release ${CMAKE_MATCH_2})
set(version ${PROJECT_VERSION}-${release})

# zemo_install_compressed(FILE DESTINATION COMPONENT [NAME])
function(zemo_install_compressed file destination component)
  get_filename_component(name ${file} NAME)
  if(ARGN)
    set(name ${ARGN})
  endif()
  set(compressed ${PROJECT_BINARY_DIR}/compressed/${name}.gz)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/compressed)
  execute_process(COMMAND gzip -9n INPUT_FILE ${file} OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${compressed} DESTINATION ${destination} COMPONENT ${component})
endfunction()

# zemo_install_package_documents(PACKAGE COMPONENT)
function(zemo_install_package_documents package component)
  set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
  install(FILES ${packaging}/copyright DESTINATION ${folder} COMPONENT ${component})
  zemo_install_compressed(${packaging}/changelog ${folder} ${component} changelog.Debian)
  zemo_install_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${folder} ${component} changelog)
  if(EXISTS ${packaging}/overrides/${package})
    install(FILES ${packaging}/overrides/${package} DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides
            COMPONENT ${component})
  endif()
endfunction()

zemo_install_package_documents(libzemoutils runtime)
zemo_install_package_documents(libzemoutils-dev development)
zemo_install_package_documents(zemo-desk host)
foreach(manual ${manuals})
  zemo_install_compressed(${manual} ${CMAKE_INSTALL_MANDIR}/man1 manuals)
endforeach()

# The sources of the programs in examples/ with what they take from tools/, as a project of their own. What the guide
# tells of are projects already.
set(examples_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/zemo-desk/examples)
install(DIRECTORY ${packaging}/programs DESTINATION ${examples_dir} COMPONENT examples)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${examples_dir}/programs COMPONENT examples
        PATTERN "__pycache__" EXCLUDE PATTERN "guide" EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/guide DESTINATION ${examples_dir} COMPONENT examples OPTIONAL)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/tools/desk ${PROJECT_SOURCE_DIR}/tools/terminal
        DESTINATION ${examples_dir}/programs/tools COMPONENT examples)
install(FILES ${PROJECT_SOURCE_DIR}/docs/terminal.md DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/zemo-desk
        COMPONENT examples)

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
else()
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libzemoutils)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own, as the first line of its description
set(CPACK_DEBIAN_PACKAGE_SOURCE libzemoutils)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${release})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "libzemoUtils maintainers <maintainers@zemoutils.invalid>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# What depends on the installed files: packaging/finish.cmake.
set(CPACK_PRE_BUILD_SCRIPTS ${packaging}/finish.cmake)
set(CPACK_ZEMO_LIBRARY_FOLDERS ${PROJECT_BINARY_DIR}/Utils ${PROJECT_BINARY_DIR}/platform)
# CPack has no variable for the field Multi-Arch: it stands on a line of its own behind the priority.
set(same_for_all_architectures "optional\nMulti-Arch: same")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzemoutils)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_PRIORITY ${same_for_all_architectures})
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "utilities for ISOBUS applications of an operator console
The library brings an ISOBUS (ISO 11783) stack up and down in order, gives
each control function its complete identity, and changes the objects of a
virtual terminal with one call each, sending only what has changed. Beside
that: Unicode text, debug log, signals and stack traces, files and media,
clocks, time and memory, threads.

The ISOBUS stack and the console services come with the application, or from
zemo-desk.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzemoutils-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_PRIORITY ${same_for_all_architectures})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libzemoutils (= ${version})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "zemo-desk (= ${version})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "utilities for ISOBUS applications of an operator console - development
Headers, the CMake package zemoUtils and the pkg-config module zemoUtils, for
building applications with libzemoutils.")

set(CPACK_DEBIAN_DESK_PACKAGE_NAME zemo-desk)
set(CPACK_DEBIAN_DESK_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_DESK_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_DESK_PACKAGE_DEPENDS "libzemoutils (= ${version})")
set(CPACK_DEBIAN_DESK_PACKAGE_RECOMMENDS "libzemoutils-dev (= ${version})")
set(CPACK_DEBIAN_DESK_DESCRIPTION
    "ISOBUS and console services on a PC, for applications of a console
What stands in for the operator console at a desk: an ISOBUS (ISO 11783) stack
on a bus inside the process, on SocketCAN or on a bus shared over TCP, and the
console's services with values from a file.

The package contains libraries, headers and CMake and pkg-config files for
applications with libzemoutils, a bus server, a virtual terminal without a
picture, a service tool, a demo, and examples with their sources.")

foreach(group RUNTIME DESK)
  set(CPACK_DEBIAN_${group}_PACKAGE_CONTROL_EXTRA ${packaging}/triggers
                                                  ${PROJECT_BINARY_DIR}/packages/${group}/shlibs)
endforeach()
# Libraries that an application was built with are asked for in this version or a later one.
file(WRITE ${PROJECT_BINARY_DIR}/packages/RUNTIME/shlibs
     "libzemoUtils ${PROJECT_VERSION_MAJOR} libzemoutils (>= ${PROJECT_VERSION})\n")
file(WRITE ${PROJECT_BINARY_DIR}/packages/DESK/shlibs
     "libisoaglib_host ${PROJECT_VERSION_MAJOR} zemo-desk (>= ${PROJECT_VERSION})\n"
     "libzemoconsole_host ${PROJECT_VERSION_MAJOR} zemo-desk (>= ${PROJECT_VERSION})\n")

set(CPACK_COMPONENTS_ALL runtime development host programs manuals examples)
include(CPack)
cpack_add_component_group(runtime)
cpack_add_component_group(development)
cpack_add_component_group(desk)
cpack_add_component(runtime GROUP runtime)
cpack_add_component(development GROUP development)
foreach(component host programs manuals examples)
  cpack_add_component(${component} GROUP desk)
endforeach()
