// Values as the types of their places tell to read them.
#include "TypedValue.h"

#include <gmock/gmock.h>

#include <cmath>

#include "ExactBytes.h"
#include "QxFormat.h"

namespace {

using namespace qxlt;

using Bytes = std::vector<unsigned char>;

// Reads bytes that lie in a block of exactly their size. A text is copied, since it lies in that block.
TypedValue Read(const std::string& type, std::uint32_t size, const Bytes& bytes, std::string* text = nullptr) {
    ExactBytes exact(std::string(bytes.begin(), bytes.end()));
    const TypedValue value = ReadValue(ValueTypeOf(type, size), {exact.Data(), bytes.size()});
    if (const auto* view = std::get_if<std::string_view>(&value)) {
        if (text != nullptr) *text = std::string(*view);
        return std::string_view();
    }
    return value;
}

TEST(TypedValue, ReadsNumbersByTheirTypes) {
    struct Row {
        const char* type;
        Bytes bytes;
        TypedValue value;
    };
    const Row rows[] = {
        {"int", {0x55, 0, 0, 0}, std::int64_t{85}},
        {"int", {0xFF, 0xFF, 0xFF, 0xFF}, std::int64_t{-1}},
        {"const int&", {0xFE, 0xFF, 0xFF, 0xFF}, std::int64_t{-2}},
        {"unsigned int", {0xFF, 0xFF, 0xFF, 0xFF}, std::uint64_t{4294967295}},
        {"unsigned", {1, 0, 0, 0x80}, std::uint64_t{2147483649}},
        {"signed char", {0x80}, std::int64_t{-128}},
        {"char", {0x80}, std::uint64_t{128}},
        {"short", {0, 0x80}, std::int64_t{-32768}},
        {"long unsigned int", Bytes(8, 0xFF), UINT64_MAX},
        {"long", {0, 0, 0, 0, 0, 0, 0, 0x80}, INT64_MIN},
        {"std::int64_t", {1, 0, 0, 0, 0, 0, 0, 0}, std::int64_t{1}},
        {"uint16_t", {0xFF, 0xFF}, std::uint64_t{65535}},
        {"std::size_t", {0, 1, 0, 0}, std::uint64_t{256}},
        {"void*", {0, 0, 0, 0x80}, std::uint64_t{0x80000000}},
        {"bool", {0}, false},
        {"bool", {2}, true},
        {"gboolean", {0, 0, 0, 1}, true},
        {"float", {0, 0, 0xC0, 0x3F}, 1.5F},
        {"double", {0, 0, 0, 0, 0, 0, 0xF8, 0xBF}, -1.5},
        {"long double", {0, 0, 0, 0, 0, 0, 0xF8, 0xBF}, -1.5},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Read(row.type, static_cast<std::uint32_t>(row.bytes.size()), row.bytes), row.value) << row.type;
    }
}

TEST(TypedValue, TellsNothingOfUnknownTypesAndSizes) {
    struct Row {
        const char* type;
        std::uint32_t size;
        std::size_t bytes;
    };
    const Row rows[] = {{"Mode", 4, 4},
                        {"", 4, 4},
                        {"int", 3, 3},
                        {"int", 16, 16},
                        {"int", 4, 3},  // fewer and more than the type has
                        {"int", 4, 5},
                        {"int", 4, 0},
                        {"int", 0, 0},
                        {"float", 2, 2},
                        {"long double", 16, 16},
                        {"vector<int>", qxformat::kVariableLength, 8},
                        {"int[2]", qxformat::kVariableLength, 8},
                        {"string", qxformat::kComposite, 4},
                        {"Point", qxformat::kComposite, 4},
                        {"unsigned Mode", 4, 4}};
    for (const Row& row : rows) {
        EXPECT_EQ(Read(row.type, row.size, Bytes(row.bytes, 1)), TypedValue()) << row.type << " " << row.size;
    }
}

TEST(TypedValue, ReadsTexts) {
    const std::pair<const char*, std::uint32_t> types[] = {{"string", qxformat::kVariableLength},
                                                           {"Mode", qxformat::kVariableLength},
                                                           {"const char*", 3},
                                                           {"std::string", 3}};
    for (const auto& [type, size] : types) {
        std::string text;
        EXPECT_EQ(Read(type, size, {'a', 0, 'b'}, &text), TypedValue(std::string_view())) << type;
        EXPECT_EQ(text, std::string("a\0b", 3)) << type;
    }
    EXPECT_EQ(Read("string", qxformat::kVariableLength, {}), TypedValue(std::string_view()));
}

TEST(TypedValue, KeepsWhatIsNoNumber) {
    const TypedValue value = Read("float", 4, {0, 0, 0xC0, 0x7F});
    ASSERT_TRUE(std::holds_alternative<float>(value));
    EXPECT_TRUE(std::isnan(std::get<float>(value)));
}

}  // namespace
