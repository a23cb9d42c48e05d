# The one place of compiler flags. Every target of ours is given them by zemo_flags().
set(ZEMO_WARNINGS
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wcast-qual -Wnon-virtual-dtor -Wmissing-declarations -Wformat=2
    -Wundef -Wvla -Werror)

function(zemo_flags target)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:${ZEMO_WARNINGS}>)
endfunction()
