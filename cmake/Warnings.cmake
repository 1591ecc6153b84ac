# One set of warnings for all of our code; each is an error.
add_library(tav_warnings INTERFACE)
target_compile_options(tav_warnings INTERFACE
  -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Wformat=2
  -Wimplicit-fallthrough -Wno-unused-parameter)
