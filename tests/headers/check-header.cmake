# Compiles each header alone, in one language, c or c++, and one of its standards, with all warnings as errors.
# cmake -DCOMPILER=... -DLANGUAGE=c++ -DSTANDARD=c++11 -DHEADERS=... -DFOLDERS=... -DSCRATCH=... -P check-header.cmake
set(includes ${FOLDERS})
list(TRANSFORM includes PREPEND -I)
set(warnings -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
if(LANGUAGE STREQUAL "c++")
    list(APPEND warnings -Wold-style-cast)
endif()
foreach(header IN LISTS HEADERS)
    string(MAKE_C_IDENTIFIER ${header} name)
    file(WRITE ${SCRATCH}/${name}.in "#include <${header}>\n")
    execute_process(COMMAND ${COMPILER} -x ${LANGUAGE} -std=${STANDARD} -fsyntax-only ${warnings} ${includes}
                            ${SCRATCH}/${name}.in
                    RESULT_VARIABLE status ERROR_VARIABLE text)
    if(NOT status EQUAL 0)
        message(SEND_ERROR "${header} does not compile alone as ${STANDARD}:\n${text}")
    endif()
endforeach()
