# Fails when an archive has a destructor run at the end of the process: a thread may still be using what it destroys.
# cmake -DNM=... -DLIBRARY=... -P check-destructors.cmake
execute_process(COMMAND ${NM} --undefined-only ${LIBRARY} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
if(symbols MATCHES "(__cxa_atexit|__aeabi_atexit|[ _]atexit)")
    message(FATAL_ERROR "${LIBRARY} registers a destructor of static storage (${CMAKE_MATCH_1}); "
                        "make what has one by `*new`, so that it is never destroyed")
endif()
