// Names of processes by their ids.
#include "ProcessNames.h"

#include <gmock/gmock.h>

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

}  // namespace
