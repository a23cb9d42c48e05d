# Install and export rules. Components: runtime (libzemoUtils), development (what is needed to build against it), host
# (the host platform in the same package, as zemoUtils::host), programs (tools and examples) and their manuals.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zemoUtils)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# An installed tree can be moved: its files find each other from where they are.
file(RELATIVE_PATH ZEMO_PREFIX_FROM_PKGCONFIG /prefix/${pkgconfig_dir} /prefix)
file(RELATIVE_PATH libraries_from_programs /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})

# zemo_install_libraries(EXPORT COMPONENT DEVELOPMENT-COMPONENT TARGET...)
function(zemo_install_libraries export component development)
  zemo_publish_string_abi(${ARGN})
  install(TARGETS ${ARGN} EXPORT ${export}
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component} NAMELINK_COMPONENT ${development})
  install(EXPORT ${export} NAMESPACE zemoUtils:: DESTINATION ${package_dir} COMPONENT ${development})
endfunction()

function(zemo_install_headers folder destination component)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${destination}
          COMPONENT ${component} FILES_MATCHING PATTERN "*.h")
endfunction()

function(zemo_install_pkgconfig name component)
  list(TRANSFORM ZEMO_STRING_ABI_DEFINITIONS PREPEND " -D" OUTPUT_VARIABLE definitions)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${pkgconfig_dir} COMPONENT ${component})
endfunction()

function(zemo_install_programs folder)
  get_property(targets DIRECTORY ${PROJECT_SOURCE_DIR}/${folder} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target ${targets})
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
      set_target_properties(${target} PROPERTIES INSTALL_RPATH "\$ORIGIN/${libraries_from_programs}")
      install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT programs)
    endif()
  endforeach()
endfunction()

zemo_install_libraries(zemoUtilsTargets runtime development zemoUtils)
zemo_install_headers(Utils/include zemoUtils development)
zemo_install_pkgconfig(zemoUtils development)
configure_package_config_file(cmake/zemoUtilsConfig.cmake.in ${PROJECT_BINARY_DIR}/zemoUtilsConfig.cmake
                              INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zemoUtilsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zemoUtilsConfig.cmake ${PROJECT_BINARY_DIR}/zemoUtilsConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)

if(ZEMO_PLATFORM STREQUAL "host")
  set_target_properties(zemo_platform PROPERTIES EXPORT_NAME host)
  zemo_install_libraries(zemoUtilsHostTargets host host zemo_platform isoaglib_host zemoconsole_host)
  foreach(folder isoaglib console)
    zemo_install_headers(platform/${folder}/include zemoUtils-platform host)
    zemo_install_headers(platform/${folder}/host zemoUtils-host host)
  endforeach()
  zemo_install_pkgconfig(zemoUtils-host host)
  zemo_install_programs(tools)
  zemo_install_programs(examples)
  file(GLOB manuals CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.1)
  if(ZEMO_PACKAGES)
    include(cmake/Packages.cmake)
  else()
    install(FILES ${manuals} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT manuals)
  endif()
endif()
