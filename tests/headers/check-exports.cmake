# Fails when the library exports a symbol that does not belong to the interface, or lacks one that does.
# cmake -DNM=... -DLIBRARY=... -P check-exports.cmake
execute_process(COMMAND ${NM} --dynamic --defined-only --demangle ${LIBRARY} OUTPUT_VARIABLE symbols
                        COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "\n$" "" symbols "${symbols}")
string(REPLACE ";" "," symbols "${symbols}")
string(REPLACE "\n" ";" symbols "${symbols}")
foreach(symbol IN LISTS symbols)
    string(REGEX REPLACE "^[0-9a-f]* [A-Za-z] " "" symbol "${symbol}")
    if(NOT symbol MATCHES "^(typeinfo for |typeinfo name for |vtable for )?(IQxLogTracker|IQxData)(::.*)?$")
        message(SEND_ERROR "exported, though it is no part of the interface: ${symbol}")
    endif()
endforeach()
foreach(wanted IN ITEMS "IQxLogTracker::Instance(EDebugLevel)" "IQxData::Instance()"
                        "IQxData::_HSScriptPtr::~_HSScriptPtr()" "typeinfo for IQxLogTracker" "typeinfo for IQxData"
                        "typeinfo for IQxData::_PERR_TYPE")
    if(NOT symbols MATCHES " ${wanted}(;|$)")
        string(FIND "${symbols}" " ${wanted}" at)
        if(at LESS 0)
            message(SEND_ERROR "not exported: ${wanted}")
        endif()
    endif()
endforeach()
