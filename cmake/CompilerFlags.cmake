# The one place of compiler flags. Every target of ours is given them by zemo_flags().
set(ZEMO_WARNINGS
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wcast-qual -Wnon-virtual-dtor -Wmissing-declarations -Wformat=2
    -Wundef -Wvla -Werror)

function(zemo_flags target)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:${ZEMO_WARNINGS}>)
endfunction()

# What an installed library is protected with: checked copies, guarded stacks, and tables that are read-only when the
# program runs. Sanitizers look closer, and checked copies take optimisation.
string(FIND "${CMAKE_CXX_FLAGS}" "-fsanitize" zemo_sanitizer_place)
function(zemo_harden target)
  target_link_options(${target} PRIVATE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
  if(zemo_sanitizer_place EQUAL -1)
    target_compile_options(${target} PRIVATE -fstack-protector
                                             $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
  endif()
endfunction()
