// Names of processes by their ids.
#include "ProcessNames.h"

#include <gmock/gmock.h>

#include "Failure.h"

namespace {

using namespace qxlt;

TEST(ProcessNames, NamesAnIdByItsFirstName) {
    ProcessNames names;
    names.Add("b", 1);
    names.Add("a", 1);
    names.Add("a", 2);
    EXPECT_EQ(names.NameOf(1), "a");
    EXPECT_EQ(names.NameOf(2), "");
}

TEST(ProcessNames, ReadTheIdBehindTheLastSign) {
    struct Row {
        const char* text;
        const char* name;
        unsigned short id;
        const char* warning;
    };
    const Row rows[] = {
        {"m", "m", 0, ""},
        {"m=0", "m", 0, ""},
        {"m=65535", "m", 65535, ""},
        {"m=65536", "m", 0, "warning: m: process id 65536 does not fit 16 bits and counts as 0\n"},
        {"m=999999999", "m", 51711, "warning: m: process id 999999999 does not fit 16 bits and counts as 51711\n"},
        {"a=b=7", "a=b", 7, ""}};
    for (const Row& row : rows) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(ProcessNames::Parse(row.text), std::pair(std::string(row.name), row.id)) << row.text;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), row.warning);
    }
    for (const char* const text : {"", "=7", "m=", "m=x", "m=7x", "m=-7", "m= 7", "m=1000000000"}) {
        EXPECT_THROW(ProcessNames::Parse(text), Failure) << text;
    }
}

}  // namespace
