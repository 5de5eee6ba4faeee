# One place for the warning set every target of the project uses.
add_library(ostrel_warnings INTERFACE)
target_compile_options(ostrel_warnings INTERFACE -Wall -Wextra)
if(OSTREL_WERROR)
  target_compile_options(ostrel_warnings INTERFACE -Werror)
endif()
