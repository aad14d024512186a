#include "FuzzPlatform.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"
#include "QxXMLLoader.h"
#include "dlog.h"

extern "C" int __dlog_print(log_id_t, int, const char*, const char* format, ...) {
    char line[9000];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    return length;
}

const char kFuzzScenario[] =
    "<Scenario><act name='x'><method name='a'/><method name=''/>"
    "<event name='1' tag='IN' value='0' type='INT' watch='CHANGED'/>"
    "<event name='2' tag='IN' value='0' type='STRING' filter='a' datakey='a&amp;b' watch='ALWAYS'/>"
    "<event name='3' tag='OUT' value='1' type='INT' watch='CONDITIONAL' condition='==' conditionValue='1&amp;2' "
    "conditionType='OR'/>"
    "<event name='4' tag='RET' value='0' type='INT' watch='D-CONDITIONAL' condition='range' conditionValue='1,5'/>"
    "<event name='5' tag='NONE'/></act>"
    "<act name='y'><method name='b'/>"
    "<event name='6' tag='IN' value='1' type='INT' watch='D-CONDITIONAL' condition='&gt;' conditionValue='10'/>"
    "<event name='7' tag='RET' value='0' type='STRING' keyword='on'/></act></Scenario>";

std::shared_ptr<IQxData> MakeFuzzStore() {
    QxDebugPrint::GetInstance()->SetLevel(Info);
    std::shared_ptr<IQxData> store = IQxData::Instance();
    store->AppendProcessName(kFuzzPid, "fuzzed");
    store->AppendCurrentProcess("fuzzed");
    return store;
}

void LoadScenario(const std::shared_ptr<IQxData>& store, const char* text) {
    std::string copy = text;
    std::pair<int, char*> script(static_cast<int>(copy.size()), copy.data());
    if (!QxXMLLoader::Parse(script, store)) std::abort();
}

void DecodeDump(QxParser& parser, std::vector<char> dump, const std::shared_ptr<IQxData>& store) {
    std::pair<int, char*> bytes(static_cast<int>(dump.size()), dump.data());
    try {
        parser.Parse(bytes, store);
        parser.Extract();
    } catch (const std::length_error&) {
        // A payload shorter than its size's own bytes; the tracking cycle drops such a dump.
        parser.DropJoined();
    }
}

int IgnoreEvent(std::string name, std::string value, IQxData::HSCall, void*) {
    if (name == "6") throw std::runtime_error(value);
    if (name == "7") throw name;
    return 0;
}
