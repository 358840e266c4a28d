# Excludes sources from unity builds (presets asan, tsan, tidy), because a name in their anonymous namespace is also used
# in another source of the target.
function(tessra_alone)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

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
  # Mistakes with memory shall end the program, not be of use to somebody. Sanitizers see more than fortified functions.
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now)
  if(TESSRA_SANITIZE)
    target_compile_definitions(${target} PRIVATE _GLIBCXX_ASSERTIONS)
  else()
    target_compile_definitions(${target} PRIVATE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
    target_compile_options(${target} PRIVATE
      $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  endif()
  set_target_properties(${target} PROPERTIES
    UNITY_BUILD_CODE_BEFORE_INCLUDE "// NOLINTNEXTLINE(bugprone-suspicious-include)")
  if(TESSRA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(TESSRA_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TESSRA_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${TESSRA_SANITIZE})
  endif()
endfunction()
