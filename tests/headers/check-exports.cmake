# Fails unless a shared library exports the symbols of the list beside its sources, no more and no fewer.
# cmake -DNM=... -DLIBRARY=... -DSYMBOLS=... -P check-exports.cmake
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND ${NM} --dynamic --defined-only --demangle ${LIBRARY} OUTPUT_VARIABLE exported
                        COMMAND_ERROR_IS_FATAL ANY)
file(READ ${SYMBOLS} reviewed)
# A list of CMake: a line is an element.
function(to_list variable)
    string(REGEX REPLACE "\n$" "" lines "${${variable}}")
    string(REPLACE ";" "," lines "${lines}")
    string(REPLACE "\n" ";" lines "${lines}")
    set(${variable} "${lines}" PARENT_SCOPE)
endfunction()
to_list(exported)
to_list(reviewed)
list(TRANSFORM exported REPLACE "^[0-9a-f]* [A-Za-z] " "")

foreach(symbol IN LISTS exported)
    if(NOT symbol IN_LIST reviewed)
        message(SEND_ERROR "exported, and not in ${SYMBOLS}: ${symbol}\n"
                           "Keep it inside (see the version script beside the list), or have the list say that clients may use it")
    endif()
endforeach()
foreach(symbol IN LISTS reviewed)
    if(NOT symbol IN_LIST exported)
        message(SEND_ERROR "in ${SYMBOLS}, and not exported: ${symbol}\n"
                           "Programs that use it no longer start; that takes a new soname")
    endif()
endforeach()
