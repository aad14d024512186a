# Makes a capture on this machine, with the script and the events of a kept one beside it.
# cmake -DMAKER=... -DSCRATCH=... -DEXPECTED=... -P MakeHere.cmake
file(REMOVE_RECURSE ${SCRATCH})
file(MAKE_DIRECTORY ${SCRATCH})
set(ENV{QX_RUNTIME_DIR} ${SCRATCH}/runtime)
execute_process(COMMAND ${MAKER} ${SCRATCH}/capture COMMAND_ERROR_IS_FATAL ANY)
file(COPY ${EXPECTED}/all.xml ${EXPECTED}/expected.jsonl DESTINATION ${SCRATCH}/capture)
