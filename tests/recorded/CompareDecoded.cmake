# Fails unless what the tool decodes of a kept capture is, byte for byte, what decoded.jsonl beside it says.
# cmake -DQXLT=... -DFOLDER=... -P CompareDecoded.cmake
execute_process(COMMAND ${QXLT} decode --format json 000001/recorded.qxdump 000002/recorded.qxdump
                WORKING_DIRECTORY ${FOLDER} OUTPUT_VARIABLE decoded COMMAND_ERROR_IS_FATAL ANY)
file(READ ${FOLDER}/decoded.jsonl expected)
if(NOT decoded STREQUAL expected)
    message(FATAL_ERROR "${FOLDER}/decoded.jsonl differs from what is decoded here:\n${decoded}")
endif()
