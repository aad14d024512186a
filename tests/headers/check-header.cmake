# Compiles each header alone, in one language standard, with all warnings as errors.
# cmake -DCOMPILER=... -DSTANDARD=c++11 -DHEADERS=... -DFOLDERS=... -DSCRATCH=... -P check-header.cmake
set(includes ${FOLDERS})
list(TRANSFORM includes PREPEND -I)
foreach(header IN LISTS HEADERS)
    string(MAKE_C_IDENTIFIER ${header} name)
    file(WRITE ${SCRATCH}/${name}.cpp "#include <${header}>\n")
    execute_process(COMMAND ${COMPILER} -std=${STANDARD} -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                            -Wold-style-cast -Werror ${includes} ${SCRATCH}/${name}.cpp
                    RESULT_VARIABLE status ERROR_VARIABLE text)
    if(NOT status EQUAL 0)
        message(SEND_ERROR "${header} does not compile alone as ${STANDARD}:\n${text}")
    endif()
endforeach()
