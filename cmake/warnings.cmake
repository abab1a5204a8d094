# Warnings for our own code. Generated scanner and parser code is compiled without them.
add_library(welk_warnings INTERFACE)
target_compile_options(welk_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wformat=2 -Werror=format-security -Wcast-align -Wnull-dereference
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wextra-semi>
  $<$<BOOL:${WELK_WERROR}>:-Werror>)
