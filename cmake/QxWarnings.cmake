# The warnings that all of the project's own code is built with. Link qx_warnings privately.
add_library(qx_warnings INTERFACE)
target_compile_options(
    qx_warnings
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wconversion
              -Wsign-conversion
              -Wshadow
              -Wold-style-cast
              -Wnon-virtual-dtor
              -Woverloaded-virtual
              -Werror)
