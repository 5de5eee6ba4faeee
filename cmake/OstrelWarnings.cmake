# One place for the warning set every target of the project uses.
add_library(ostrel_warnings INTERFACE)
target_compile_options(ostrel_warnings INTERFACE -Wall -Wextra)
if(OSTREL_WERROR)
  target_compile_options(ostrel_warnings INTERFACE -Werror)
  # GCC 12 at -O3 reports overlapping copies inside std::string that cannot
  # happen (GCC bug 105329); they stay warnings so optimised builds still pass.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)
    target_compile_options(ostrel_warnings INTERFACE -Wno-error=restrict)
  endif()
endif()
