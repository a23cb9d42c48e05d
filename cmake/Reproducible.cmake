# The same source makes the same bytes, wherever and whenever it is built: neither __FILE__ nor the debug information
# names a folder of the machine. A debugger finds the sources when it is started in the source folder. Debug builds keep
# their paths.
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  # Of two that fit, the last one counts: a build folder may stand inside the source folder.
  set(zemo_prefix_maps -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
  add_compile_options(${zemo_prefix_maps})
endif()
