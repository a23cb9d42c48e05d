# The paths of a stack and a console library that do not come from this tree, looked at before anything is compiled.

# What the library includes of the two stands in one header, which may have been fitted to their layout.
file(STRINGS ${PROJECT_SOURCE_DIR}/Utils/include/ZemoPlatform.h includes REGEX "^#include <")
list(TRANSFORM includes REPLACE "^#include <(.*)>.*$" "\\1")
list(GET includes 0 ZEMO_ISOAGLIB_HEADER)
list(GET includes 1 ZEMO_CONSOLE_HEADER)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Utils/include/ZemoPlatform.h)

# zemo_check_external(WHAT PART): PART is the one of the variables' names.
function(zemo_check_external what part)
  set(folders ${ZEMO_${part}_INCLUDE_DIRS})
  foreach(folder ${folders})
    if(NOT IS_ABSOLUTE ${folder} OR NOT IS_DIRECTORY ${folder})
      message(FATAL_ERROR "ZEMO_${part}_INCLUDE_DIRS names \"${folder}\", which is no folder with its whole path")
    endif()
  endforeach()
  find_path(found ${ZEMO_${part}_HEADER} PATHS ${folders} NO_CACHE)
  if(NOT found)
    message(FATAL_ERROR "The headers of ${what} are missing: <${ZEMO_${part}_HEADER}> is not in the folders of "
                        "ZEMO_${part}_INCLUDE_DIRS, which is \"${folders}\"")
  endif()
  foreach(library ${ZEMO_${part}_LIBRARIES})
    if(library MATCHES "/" AND NOT EXISTS ${library})
      message(FATAL_ERROR "ZEMO_${part}_LIBRARIES names \"${library}\", which does not exist")
    endif()
  endforeach()
endfunction()

zemo_check_external("the ISOBUS stack" ISOAGLIB)
zemo_check_external("the console-services library" CONSOLE)
