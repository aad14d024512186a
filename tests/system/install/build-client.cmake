# Installs library and headers into an empty directory, builds a client with what pkg-config says, and runs it.
file(REMOVE_RECURSE ${SCRATCH})
foreach(component IN ITEMS library dev)
    execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${SCRATCH}/usr --component ${component}
                    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()

set(ENV{PKG_CONFIG_PATH} ${SCRATCH}/usr/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs qxlogtracker OUTPUT_VARIABLE options
                        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(options UNIX_COMMAND "${options}")
separate_arguments(FLAGS UNIX_COMMAND "${FLAGS}")
execute_process(COMMAND ${COMPILER} ${FLAGS} -std=c++11 ${CLIENT} -o ${SCRATCH}/client ${options} -pthread
                        COMMAND_ERROR_IS_FATAL ANY)

# A script without an end is refused by the library, not by the client.
file(WRITE ${SCRATCH}/broken.xml "<Scenario>")
set(ENV{LD_LIBRARY_PATH} ${SCRATCH}/usr/${LIBDIR})
set(ENV{QX_LOG} none)
execute_process(COMMAND ${SCRATCH}/client ${SCRATCH}/broken.xml RESULT_VARIABLE status ERROR_VARIABLE text)
if(NOT status EQUAL 1 OR NOT text MATCHES "not well-formed")
    message(FATAL_ERROR "the installed client ended with ${status}: ${text}")
endif()
