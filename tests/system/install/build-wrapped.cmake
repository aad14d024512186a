# Installs the recorder and what programs are built with into an empty directory. Builds a program whose calls of a library
# are recorded with that alone, by the way that a user takes, and runs it; and sees what is said when that cannot be.
# cmake -DBUILD=... -DSCRATCH=... -DSOURCE=... -DPYTHON=... -DCC=... -DCXX=... -P build-wrapped.cmake
file(REMOVE_RECURSE ${SCRATCH})
foreach(component IN ITEMS recorder recorder_dev)
    execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${SCRATCH}/usr --component ${component}
                    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
# The sources as they are, where they can be changed.
file(COPY ${SOURCE}/ DESTINATION ${SCRATCH}/source)
set(configure ${CMAKE_COMMAND} -S ${SCRATCH}/source -B ${SCRATCH}/build -DCMAKE_PREFIX_PATH=${SCRATCH}/usr
              -DCMAKE_C_COMPILER=${CC} -DCMAKE_CXX_COMPILER=${CXX})

# Without libclang it says what to install.
execute_process(COMMAND ${configure} -DQX_TRACE_FUNCTIONS_PYTHON=/bin/false RESULT_VARIABLE status OUTPUT_QUIET
                ERROR_VARIABLE text)
string(REGEX REPLACE "[ \n]+" " " text "${text}")
if(status EQUAL 0 OR NOT text MATCHES "apt-get install python3-clang")
    message(FATAL_ERROR "without libclang, configuring ended with ${status}: ${text}")
endif()

execute_process(COMMAND ${configure} -DQX_TRACE_FUNCTIONS_PYTHON=${PYTHON} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${SCRATCH}/build OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
set(ENV{QX_RUNTIME_DIR} ${SCRATCH}/recordings)
execute_process(COMMAND ${SCRATCH}/build/qx_wrapped COMMAND_ERROR_IS_FATAL ANY)
file(GLOB recordings ${SCRATCH}/recordings/*)
if(NOT recordings)
    message(FATAL_ERROR "the program recorded nothing")
endif()

# A header that changes has its wrappers made anew: one that lacks a function is told of.
file(READ ${SCRATCH}/source/figures.h header)
string(REPLACE "figure_sum(" "figure_total(" header "${header}")
file(WRITE ${SCRATCH}/source/figures.h "${header}")
execute_process(COMMAND ${CMAKE_COMMAND} --build ${SCRATCH}/build --target qx_wrapped-traced-figures_1
                RESULT_VARIABLE status OUTPUT_VARIABLE text ERROR_VARIABLE text)
if(status EQUAL 0 OR NOT text MATCHES "figures.h declares no function figure_sum")
    message(FATAL_ERROR "with a header that lacks a function, building ended with ${status}: ${text}")
endif()
