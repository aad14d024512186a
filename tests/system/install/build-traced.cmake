# Installs the recorder and its headers into an empty directory, builds a traced program with them alone, and runs it.
file(REMOVE_RECURSE ${SCRATCH})
foreach(component IN ITEMS recorder recorder_dev)
    execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${SCRATCH}/usr --component ${component}
                    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
set(ENV{PKG_CONFIG_PATH} ${SCRATCH}/usr/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs qxrecorder OUTPUT_VARIABLE options
                        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(options UNIX_COMMAND "${options}")
separate_arguments(FLAGS UNIX_COMMAND "${FLAGS}")
execute_process(COMMAND ${COMPILER} ${FLAGS} -std=c++17 -Wall -Wextra -Werror ${TRACED} -o ${SCRATCH}/traced
                        ${options} -pthread
                COMMAND_ERROR_IS_FATAL ANY)

set(ENV{LD_LIBRARY_PATH} ${SCRATCH}/usr/${LIBDIR})
set(ENV{QX_RUNTIME_DIR} ${SCRATCH}/recordings)
execute_process(COMMAND ${SCRATCH}/traced RESULT_VARIABLE status ERROR_VARIABLE text)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "the traced program ended with ${status}: ${text}")
endif()
