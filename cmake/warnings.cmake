# Warnings for our own code. Generated scanner and parser code is compiled without them.
add_library(welk_warnings INTERFACE)
target_compile_options(welk_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wformat=2 -Werror=format-security -Wcast-align
  # With inlining g++ 12 follows moved-from vectors into paths that do not exist: the debug build is the one that asks.
  $<$<CONFIG:Debug>:-Wnull-dereference>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wextra-semi>
  # g++ 12 sees overlapping copies inside its own std::string when texts are added up with optimisation on.
  $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>,$<NOT:$<CONFIG:Debug>>>:-Wno-restrict>
  # clang asks it of functions that pass a checked format on; g++ asks their callers.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-format-nonliteral>
  $<$<BOOL:${WELK_WERROR}>:-Werror>)
