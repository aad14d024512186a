# Records the calls that a program makes of functions in C, without a mark in either: the linker leads the calls to
# wrappers, which are made from the functions' prototypes.
#
#   qx_trace_functions(TARGET HEADER... FUNCTIONS NAME...
#                      [PACKAGE NAME]
#                      [IN FUNCTION:ARGUMENT[.MEMBER]...] [OUT FUNCTION:ARGUMENT[.MEMBER]...]
#                      [ADDRESS FUNCTION:ARGUMENT...] [BYTES FUNCTION:ARGUMENT:LENGTH...])
#
# TARGET is a program or a shared library, in C or in C++; the calls of its own objects are recorded, and those of the
# static libraries that it links. HEADERs are named as it includes them, those of its own folder by their paths. In the
# trace the functions go by their names, and by a package that is called like the first header unless PACKAGE says
# otherwise.
#
# Each argument is recorded at entry, so that the value IN n of a scenario is the function's argument n: numbers, enums
# (as numbers), texts (const char*) and, of all other pointers, the address. What pointers lead to is recorded where it
# is asked for, and only where they are not null:
#
#   IN        at entry, behind the arguments: what the argument points to, or a member of it. It must be there by then.
#   OUT       at exit: the same. Numbers, pointers and texts (char** as the text behind it, char* as the text in that
#             buffer). The function must have written it, on every way that it returns by, or the caller before.
#   ADDRESS   a const char* that leads to no text with an end: its address is recorded.
#   BYTES     at entry, in the argument's place: as many bytes as another argument tells.
#
# Functions with a variable number of arguments, and those that take or return structs, are refused. Calls within one
# object file, or within a shared library, need no linker and are not seen; nor are, where GNU's linker optimises, calls
# of functions that were compiled for that (-flto).
#
# Needed are CMake 3.20 and, while the program is built and for no other purpose, Python 3 with libclang's module
# clang.cindex (on Debian: python3-clang). QX_TRACE_FUNCTIONS_PYTHON names the Python to take.
# qx_find_python_clang(VARIABLE) sets the variable to that Python, or to nothing where there is none.
cmake_policy(VERSION 3.16...3.25)

set(QX_TRACE_FUNCTIONS_PYTHON "" CACHE FILEPATH "The Python, with clang.cindex, that makes wrappers of functions")

# Sets the variable to a Python that has what is needed, or to nothing.
function(qx_find_python_clang variable)
    set(${variable} "" PARENT_SCOPE)
    # A Python of the user's own comes first in many a PATH; Debian's packages are for the system's.
    set(candidates ${QX_TRACE_FUNCTIONS_PYTHON})
    if(NOT candidates)
        set(candidates ${Python3_EXECUTABLE} python3 /usr/bin/python3)
    endif()
    foreach(python IN LISTS candidates)
        execute_process(COMMAND ${python} -c "from clang.cindex import Index; Index.create()" RESULT_VARIABLE status
                        OUTPUT_QUIET ERROR_QUIET)
        if(status EQUAL 0)
            set(${variable} ${python} PARENT_SCOPE)
            return()
        endif()
    endforeach()
endfunction()

# Stops, with a text that says what to do, unless the wrappers can be made and linked.
function(_qx_check_trace target python)
    set(function "qx_trace_functions(${target})")
    if(CMAKE_VERSION VERSION_LESS 3.20)
        message(FATAL_ERROR "${function}: CMake 3.20 or later is needed, and this is ${CMAKE_VERSION}")
    endif()
    if(NOT TARGET ${target})
        message(FATAL_ERROR "${function}: there is no such target; call it below add_executable or add_library")
    endif()
    get_target_property(type ${target} TYPE)
    if(NOT type MATCHES "^(EXECUTABLE|SHARED_LIBRARY|MODULE_LIBRARY)$")
        message(FATAL_ERROR "${function}: nothing is linked for a target of type ${type}; name the program, or the "
                            "shared library, that it becomes a part of")
    endif()
    if(NOT CMAKE_C_COMPILER_LOADED)
        message(FATAL_ERROR "${function}: the wrappers are in C; say so with project(... LANGUAGES C CXX)")
    endif()
    if(NOT TARGET QxLogTracker::recorder)
        message(FATAL_ERROR "${function}: the recorder is missing; "
                            "say find_package(QxLogTracker REQUIRED COMPONENTS recorder) before")
    endif()
    if(NOT python)
        message(FATAL_ERROR "${function}: Python 3 with libclang's module clang.cindex is needed, and not found; on "
                            "Debian: apt-get install python3-clang. QX_TRACE_FUNCTIONS_PYTHON names the Python to take")
    endif()
endfunction()

# Writes down, while the build system is generated, how the compiler of a target's sources finds and reads headers.
function(_qx_write_compile_options target file)
    set(includes "$<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>")
    set(definitions "$<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>")
    set(content "$<$<BOOL:${includes}>:-I$<JOIN:${includes},\n-I>>\n")
    string(APPEND content "$<$<BOOL:${definitions}>:-D$<JOIN:${definitions},\n-D>>\n")
    if(CMAKE_LIBRARY_ARCHITECTURE)
        string(APPEND content "--target=${CMAKE_LIBRARY_ARCHITECTURE}\n")
    endif()
    if(CMAKE_SYSROOT)
        string(APPEND content "--sysroot=${CMAKE_SYSROOT}\n")
    endif()
    # Some of it may be for one language only.
    file(GENERATE OUTPUT ${file}.$<COMPILE_LANGUAGE> CONTENT "${content}")
endfunction()

function(qx_trace_functions target)
    cmake_parse_arguments(PARSE_ARGV 1 traced "" "PACKAGE" "FUNCTIONS;IN;OUT;ADDRESS;BYTES")
    qx_find_python_clang(python)
    _qx_check_trace(${target} "${python}")
    if(NOT traced_FUNCTIONS OR NOT traced_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "qx_trace_functions(${target}): name headers, and functions: "
                            "qx_trace_functions(${target} HEADER... FUNCTIONS NAME...)")
    endif()

    set(headers)
    foreach(header IN LISTS traced_UNPARSED_ARGUMENTS)
        if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${header})
            set(header ${CMAKE_CURRENT_SOURCE_DIR}/${header})
        endif()
        list(APPEND headers ${header})
    endforeach()
    if(NOT traced_PACKAGE)
        list(GET headers 0 first)
        get_filename_component(traced_PACKAGE ${first} NAME_WE)
    endif()

    # The wrappers are compiled by themselves: what the program's own sources are compiled with may be meant for C++.
    string(MAKE_C_IDENTIFIER ${traced_PACKAGE} name)
    set(objects ${target}-traced-${name})
    if(TARGET ${objects})
        message(FATAL_ERROR "qx_trace_functions(${target}): functions of the package ${traced_PACKAGE} are traced "
                            "already; name all of them in one call, or another PACKAGE")
    endif()
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/${objects})
    set(source ${folder}/traced-${name}.c)
    set(script ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/qx_trace_functions.py)
    _qx_write_compile_options(${objects} ${folder}/options)
    add_custom_command(
        OUTPUT ${source}
        COMMAND ${python} ${script} --target ${target} --package ${traced_PACKAGE} --headers ${headers} --functions
                ${traced_FUNCTIONS} --in ${traced_IN} --out ${traced_OUT} --address ${traced_ADDRESS} --bytes
                ${traced_BYTES} --options ${folder}/options.C --output ${source} --depfile ${source}.d
        DEPENDS ${script} ${folder}/options.C
        DEPFILE ${source}.d
        COMMENT "Making wrappers that record calls of ${traced_PACKAGE} for ${target}"
        VERBATIM)

    # An exception that a function lets pass has its call's exit recorded. The trace names the file, not where it was
    # built, by either way that compilers are told of it.
    file(RELATIVE_PATH relative ${CMAKE_BINARY_DIR} ${folder})
    add_library(${objects} OBJECT ${source})
    # What may be wrong with the headers is for the program's own sources to tell.
    target_include_directories(${objects} SYSTEM PRIVATE $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
    target_compile_definitions(${objects} PRIVATE $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
    target_compile_options(${objects} PRIVATE -fexceptions -fmacro-prefix-map=${folder}/=
                           -fmacro-prefix-map=${relative}/=)
    target_link_libraries(${objects} PRIVATE QxLogTracker::recorder)
    # A shared library keeps its wrappers to itself.
    set_target_properties(${objects} PROPERTIES POSITION_INDEPENDENT_CODE ON C_VISIBILITY_PRESET hidden)

    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${objects}>)
    list(TRANSFORM traced_FUNCTIONS PREPEND LINKER:--wrap= OUTPUT_VARIABLE wraps)
    target_link_options(${target} PRIVATE ${wraps})
    # By the property: target_link_libraries has two forms, and a target may have only one of them.
    set_property(TARGET ${target} APPEND PROPERTY LINK_LIBRARIES QxLogTracker::recorder)
endfunction()
