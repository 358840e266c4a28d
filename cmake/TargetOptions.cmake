# Warnings, sanitizers and defaults of our own targets; libraries of others keep theirs.
function(tessra_target_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)
  # GCC 12 sees overlaps in string concatenation that are not there.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  # Two words written one by one and soon moved as one vector make the processor wait; values are moved all the time.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
  # The library's own functions are not meant to be replaced from outside: it calls them directly.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
  if(TESSRA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(TESSRA_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TESSRA_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${TESSRA_SANITIZE})
  endif()
endfunction()
