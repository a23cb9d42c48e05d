# GCC's library has two kinds of std::string, and names and objects of libzemoUtils hold them: an application has to be
# built with the kind of the library. What is built here is, and the installed package tells those who use it.
set(ZEMO_STRING_ABI "default" CACHE STRING "std::string of GCC's library: default (the compiler's), cxx11 or old")
set_property(CACHE ZEMO_STRING_ABI PROPERTY STRINGS default cxx11 old)

set(zemo_string_abi_of_cxx11 1)
set(zemo_string_abi_of_old 0)
set(ZEMO_STRING_ABI_DEFINITIONS "")
if(DEFINED zemo_string_abi_of_${ZEMO_STRING_ABI})
  set(ZEMO_STRING_ABI_DEFINITIONS _GLIBCXX_USE_CXX11_ABI=${zemo_string_abi_of_${ZEMO_STRING_ABI}})
elseif(NOT ZEMO_STRING_ABI STREQUAL "default")
  message(FATAL_ERROR "ZEMO_STRING_ABI is \"${ZEMO_STRING_ABI}\"; it can be default, cxx11 or old")
endif()

if(ZEMO_STRING_ABI_DEFINITIONS)
  # A library may have been built with one kind alone, and takes the definition back then.
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_DEFINITIONS -D${ZEMO_STRING_ABI_DEFINITIONS})
  check_cxx_source_compiles(
    "#include <string>
     #if !defined __GLIBCXX__ || _GLIBCXX_USE_CXX11_ABI != ${zemo_string_abi_of_${ZEMO_STRING_ABI}}
     #error
     #endif
     int main() {}"
    ZEMO_HAS_STRING_ABI_${ZEMO_STRING_ABI})
  unset(CMAKE_REQUIRED_DEFINITIONS)
  if(NOT ZEMO_HAS_STRING_ABI_${ZEMO_STRING_ABI})
    message(FATAL_ERROR "ZEMO_STRING_ABI is \"${ZEMO_STRING_ABI}\", which ${CMAKE_CXX_COMPILER} does not have")
  endif()
  add_compile_definitions(${ZEMO_STRING_ABI_DEFINITIONS})
endif()

# zemo_publish_string_abi(TARGET...): users of these targets are given what this tree is built with.
function(zemo_publish_string_abi)
  foreach(target ${ARGN})
    target_compile_definitions(${target} INTERFACE ${ZEMO_STRING_ABI_DEFINITIONS})
  endforeach()
endfunction()
