// A store that also lists what decoders hand to it, for fields that no operation gives back.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "QxData.h"

class ListingStore final : public QxData {
public:
    struct Header {
        unsigned short pid;
        std::vector<std::string> texts;  // process, qxVersion, swBuildString, swVersionModel, extraField1, extraField2
    };
    struct Event {
        std::string name;
        std::string value;
        HSCall call;
    };

    void AppendHeader(unsigned short pid, std::string process, std::string qxVersion, std::string swBuildString,
                      std::string swVersionModel, std::string extraField1, std::string extraField2) override {
        headers.push_back({pid, {process, qxVersion, swBuildString, swVersionModel, extraField1, extraField2}});
        operations.emplace_back("AppendHeader");
        QxData::AppendHeader(pid, process, qxVersion, swBuildString, swVersionModel, extraField1, extraField2);
    }
    void AppendThread(HSIThread& thread) override {
        QxData::AppendThread(thread);
        threads.push_back(thread);
        operations.emplace_back("AppendThread");
    }
    void AppendCallLocation(_HSCallLocation& location) override {
        locations.push_back(location);
        operations.emplace_back("AppendCallLocation");
        QxData::AppendCallLocation(location);
    }
    void AppendCompArgDesc(std::string name, _HSCompArgDesc desc) override {
        descriptors.emplace_back(name, desc);
        operations.emplace_back("AppendCompArgDesc");
        QxData::AppendCompArgDesc(name, desc);
    }
    unsigned long long AppendBeforeCall(HSCall& call) override {
        operations.emplace_back("AppendBeforeCall");
        return QxData::AppendBeforeCall(call);
    }
    void AppendAfterCall(unsigned long long key, HSCall& call) override {
        operations.emplace_back("AppendAfterCall");
        QxData::AppendAfterCall(key, call);
    }
    void SetCurrentThread(unsigned short tid) override {
        currentThreads.push_back(tid);
        QxData::SetCurrentThread(tid);
    }
    void AppendEvent(std::string name, std::string value, HSCall call) override {
        events.push_back({name, value, call});
        QxData::AppendEvent(name, value, call);
    }

    std::vector<std::string> operations;  // those that store records, in order
    std::vector<Header> headers;
    std::vector<HSIThread> threads;
    std::vector<_HSCallLocation> locations;
    std::vector<std::pair<std::string, _HSCompArgDesc>> descriptors;
    std::vector<unsigned short> currentThreads;
    std::vector<Event> events;
};
