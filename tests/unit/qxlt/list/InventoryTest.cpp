// Which of a script's types reads what a program records.
#include "Inventory.h"

#include <gmock/gmock.h>

#include "QxFormat.h"

namespace {

using namespace qxlt;
using qxscript::Type;

TEST(Inventory, KnowsTheTypeThatReadsAValue) {
    struct Row {
        const char* type;
        unsigned int size;
        Type fitting;
        bool fitsInt;
        bool fitsString;
    };
    const Row rows[] = {{"bool", 1, Type::Int, true, false},
                        {"char", 1, Type::Int, true, true},
                        {"unsigned char", 1, Type::Int, true, true},
                        {"short", 2, Type::Int, true, false},
                        {"int", 4, Type::Int, true, false},
                        {"long", 8, Type::Other, false, false},
                        {"float", 4, Type::Other, false, false},
                        {"double", 8, Type::Other, false, false},
                        {"long double", 16, Type::Other, false, false},
                        {"char*", 4, Type::String, false, true},
                        {"const char *", 8, Type::String, false, true},
                        {"QString", 2, Type::String, false, true},
                        {"text", 1, Type::String, false, true},
                        {"std::string", qxformat::kVariableLength, Type::String, false, true},
                        {"Name", 3, Type::String, false, true},
                        {"Name", 32, Type::String, false, true},
                        {"Point", qxformat::kComposite, Type::Other, true, true}};
    for (const Row& row : rows) {
        const RecordedValue value{row.type, 0, row.type, row.size};
        EXPECT_EQ(FittingType(value), row.fitting) << row.type << " " << row.size;
        EXPECT_EQ(Fits(Type::Int, value), row.fitsInt) << row.type << " " << row.size;
        EXPECT_EQ(Fits(Type::String, value), row.fitsString) << row.type << " " << row.size;
    }
}

}  // namespace
