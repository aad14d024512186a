#include "QxXMLLoader.h"

#include <exception>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"
#include "QxXMLDefaults.h"

namespace {

// The state of one load. The store's root slot serves as the cursor: it points at the element that is open.
struct Load {
    XML_Parser parser;
    IQxData::_HSScript* open;
    QxXMLDefaults defaults;
    std::exception_ptr error;  // thrown in a handler; nothing may be thrown through the parser's own code
    bool stopped = false;
};

// The parser still reports the end of the element that it was stopped in when that one is empty.
void Stop(Load& load) {
    load.stopped = true;
    XML_StopParser(load.parser, XML_FALSE);
}

void AddElement(IQxData::_HSScript& open, const char* name, const char** attributes) {
    auto element = std::make_unique<IQxData::_HSScriptPtr>();
    element->Append(name, attributes);
    element->parent = open;
    if (open != nullptr) open->children.push_back(element.get());
    open = element.release();
}

void OnStart(void* userData, const char* name, const char** attributes) {
    auto& load = *static_cast<Load*>(userData);
    try {
        if (!load.defaults.Take(load.parser, attributes)) {
            QxDebugPrint::GetInstance()->Print(
                "Parse", __LINE__, Major,
                "[QxXMLLoader::Parse] The document type gives elements too many attributes, line: %lu",
                static_cast<unsigned long>(XML_GetCurrentLineNumber(load.parser)));
            Stop(load);
            return;
        }
        AddElement(*load.open, name, attributes);
    } catch (...) {
        load.error = std::current_exception();
        Stop(load);
    }
}

void OnEnd(void* userData, const char*) {
    const auto& load = *static_cast<Load*>(userData);
    IQxData::_HSScript& open = *load.open;
    if (load.stopped) return;  // the element was refused: what is open is the one around it
    if (open != nullptr && open->parent != nullptr) open = open->parent;
}

}  // namespace

bool QxXMLLoader::Parse(std::pair<int, char*>& text, std::shared_ptr<IQxData> data) {
    const QxXMLHandle parser(XML_ParserCreate(nullptr));
    if (parser == nullptr) return false;
    Load load{parser.get(), nullptr, QxXMLDefaults(text.first), nullptr, false};
    data->GetScript(&load.open);
    XML_SetUserData(parser.get(), &load);
    XML_SetElementHandler(parser.get(), OnStart, OnEnd);
    const XML_Status status = XML_Parse(parser.get(), text.second, text.first, XML_TRUE);
    if (load.error != nullptr) std::rethrow_exception(load.error);
    return status == XML_STATUS_OK;
}
