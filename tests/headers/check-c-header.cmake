# Fails unless the recorder's header for C compiles alone, marks of every kind compile without a warning, and a mark that
# does not fit what it names gives one. cmake -DCOMPILER=... -DROOT=... -P check-c-header.cmake
set(calls ${ROOT}/tests/unit/host/recorder/c/c_calls.c)
set(misfits ${ROOT}/tests/headers/misfits.c)
set(header ${ROOT}/platform/host/include/qx/recorder_c.h)
foreach(standard IN ITEMS c99 c11 c17 gnu17)
    # What is optimised is looked at more closely.
    foreach(options IN ITEMS -O0 -O2 -DQX_RECORDER_DISABLED)
        set(command ${COMPILER} -std=${standard} ${options} -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
                    -I${ROOT}/platform/host/include -o /dev/null)
        execute_process(COMMAND ${command} -fsyntax-only -include ${header} -x c /dev/null RESULT_VARIABLE status
                        ERROR_VARIABLE text)
        if(NOT status EQUAL 0)
            message(SEND_ERROR "the header alone, ${standard} ${options}:\n${text}")
        endif()
        execute_process(COMMAND ${command} -c ${calls} RESULT_VARIABLE status ERROR_VARIABLE text)
        if(NOT status EQUAL 0)
            message(SEND_ERROR "${standard} ${options}:\n${text}")
        endif()
    endforeach()
endforeach()
foreach(place RANGE 0 7)
    execute_process(COMMAND ${COMPILER} -std=c99 -Werror -fsyntax-only -DPLACE=${place} -I${ROOT}/platform/host/include
                            ${misfits} RESULT_VARIABLE status ERROR_VARIABLE text)
    if(place EQUAL 0 AND NOT status EQUAL 0)
        message(SEND_ERROR "what fits was warned of:\n${text}")
    elseif(NOT place EQUAL 0 AND status EQUAL 0)
        message(SEND_ERROR "misfit ${place}: taken without a warning")
    endif()
endforeach()
