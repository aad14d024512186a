# Fails unless a type that the recorder does not know gives one error, wherever it is marked, and one of its lines names
# the type and says what to do. cmake -DCOMPILER=... -DINCLUDE=... -DSOURCE=... -P check-unknown-type.cmake
foreach(place RANGE 0 5)
    execute_process(COMMAND ${COMPILER} -std=c++17 -fsyntax-only -I${INCLUDE} -DPLACE=${place} ${SOURCE}
                    RESULT_VARIABLE status ERROR_VARIABLE text)
    if(status EQUAL 0)
        message(SEND_ERROR "place ${place}: a type that is not known was taken")
    endif()
    string(REGEX MATCHALL " error: " errors "${text}")
    list(LENGTH errors count)
    if(NOT count EQUAL 1)
        message(SEND_ERROR "place ${place}: ${count} errors instead of one:\n${text}")
    endif()
    if(NOT text MATCHES "QX_TRACE_STRUCT[^\n]*<Mystery>[^\n]*")
        message(SEND_ERROR "place ${place}: no line names the type and QX_TRACE_STRUCT:\n${text}")
    endif()
endforeach()
