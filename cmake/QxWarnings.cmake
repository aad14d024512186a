# The warnings that all of the project's own code is built with. Link qx_warnings privately. They are errors where the
# project is worked on, in the presets, and not where it is only built: another compiler knows other ones.
option(QX_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)

add_library(qx_warnings INTERFACE)
target_compile_options(
    qx_warnings
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wconversion
              -Wsign-conversion
              -Wshadow
              $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
              $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
              $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
              $<$<BOOL:${QX_WARNINGS_AS_ERRORS}>:-Werror>)
