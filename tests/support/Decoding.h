// A parser with a store to look into, for tests of decoders. The process "traced" is current and registered as 7; all
// messages are recorded.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Diagnostics.h"
#include "DumpWriter.h"
#include "ExactBytes.h"
#include "ListingStore.h"
#include "QxParser.h"
#include "RecordingLog.h"
#include "dlog.h"

class Decoding : public testing::Test {
protected:
    static constexpr unsigned short kPid = 7;

    Decoding() {
        store->AppendProcessName(kPid, "traced");
        store->AppendCurrentProcess("traced");
        std::pair<int, char*> nothing(0, nullptr);
        parser.Parse(nothing, store);
    }

    // What Parse and Extract return for the bytes.
    int Parse(const std::string& bytes) {
        ExactBytes exact(bytes);
        return parser.Parse(exact.Pair(), store);
    }
    int Decode(const std::string& bytes) {
        const int parsed = Parse(bytes);
        return parser.Extract() & parsed;
    }

    // One item through its decoder: what it returns, or -1 - E for a thrown _PERR_TYPE E.
    int Item(unsigned tag, const std::string& bytes) {
        std::vector<char> payload(bytes.begin(), bytes.end());
        payload.shrink_to_fit();
        try {
            return parser.ParseItem(static_cast<unsigned char>(tag), payload);
        } catch (QxData::_PERR_TYPE error) {
            return -1 - static_cast<int>(error);
        }
    }
    static constexpr int kInvalidTag = -1;
    static constexpr int kInvalidSize = -2;
    static constexpr int kCallNotFound = -3;

    // No prefix of a good item is accepted, and none stores anything.
    void ExpectNoPrefixIsAccepted(unsigned tag, const std::string& payload) {
        const std::size_t stored = store->operations.size();
        for (std::size_t size = 0; size < payload.size(); ++size) {
            EXPECT_EQ(Item(tag, dump::Cut(payload, size)), kInvalidSize) << "the first " << size << " bytes";
        }
        EXPECT_EQ(store->operations.size(), stored);
    }

    int Logged(const std::string& message, int priority) const { return RecordingLog::Count(message, priority); }

    const std::map<unsigned long long, IQxData::HSCall>& Calls() { return *store->GetCallIMap(); }
    const IQxData::HSCall& OnlyCall() {
        EXPECT_EQ(Calls().size(), 1u);
        return Calls().begin()->second;
    }

    Diagnostics diagnostics;
    std::shared_ptr<ListingStore> store = std::make_shared<ListingStore>();
    QxParser parser{nullptr, nullptr};
};

// A plain value as the store keeps it.
inline IQxData::HSICallArg Plain(const std::string& bytes) {
    return {{"", dump::Stored(bytes)}};
}
