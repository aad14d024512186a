#include "QxFileName.h"

#include <gtest/gtest.h>

#include <set>

using qxhost::QxFileName;

namespace {

TEST(QxFileName, EscapesWhatIsNoPlainCharacter) {
    const struct {
        const char* name;
        const char* file;
    } rows[] = {
        {"media-server", "media-server.12.34.qxrec"},
        {"a.b_c", "a.b_c.12.34.qxrec"},
        {".hidden", "%2Ehidden.12.34.qxrec"},
        {"a/b", "a%2Fb.12.34.qxrec"},
        {"100%", "100%25.12.34.qxrec"},
        {"\xC3\xA9", "%C3%A9.12.34.qxrec"},
        {"", ".12.34.qxrec"},
        {"..", "%2E..12.34.qxrec"},
    };
    for (const auto& row : rows) {
        const std::string file = QxFileName{row.name, 12, 34, QxFileName::kRecording}.ToString();
        EXPECT_EQ(file, row.file);
        QxFileName back;
        EXPECT_TRUE(QxFileName::Parse(file, back));
        EXPECT_EQ(back.name, row.name);
        EXPECT_EQ(back.pid, 12);
        EXPECT_EQ(back.startTime, 34u);
        EXPECT_EQ(back.suffix, QxFileName::kRecording);
    }
}

TEST(QxFileName, RefusesOtherShapes) {
    for (const char* file : {"", "a", "a.1.qxrec", "a.x.1.qxrec", "a.1.x.qxrec", "a%2.1.1.qxrec", "a%zz.1.1.qxrec",
                             "a.1..qxrec", "a.99999999999.1.qxrec", "a.1.99999999999999999999.qxrec"}) {
        QxFileName name;
        EXPECT_FALSE(QxFileName::Parse(file, name)) << file;
    }
}

TEST(QxFileName, LongNamesStayApartAndFitAFileSystem) {
    std::set<std::string> files;
    for (char c = 'a'; c < 'e'; ++c) {
        files.insert(QxFileName{std::string(5000, '/') + c, 1, 2, QxFileName::kDump}.ToString());
    }
    EXPECT_EQ(files.size(), 4u);
    for (const std::string& file : files) {
        EXPECT_LT(file.size(), 255u);
        QxFileName back;
        ASSERT_TRUE(QxFileName::Parse(file, back)) << "a character was cut: " << file;
        EXPECT_EQ(back.name.substr(0, 54), std::string(53, '/') + "~");
    }
}

TEST(QxFileName, NamesOfUpTo180BytesStayWhole) {
    const std::string longest(180, 'x');
    QxFileName back;
    ASSERT_TRUE(QxFileName::Parse(QxFileName{longest, 1, 2, QxFileName::kDump}.ToString(), back));
    EXPECT_EQ(back.name, longest);
    ASSERT_TRUE(QxFileName::Parse(QxFileName{longest + "x", 1, 2, QxFileName::kDump}.ToString(), back));
    // FNV-1a: other versions find the file as well.
    EXPECT_EQ(back.name, std::string(160, 'x') + "~B618253B31169C17");
}

TEST(QxFileName, NumbersHaveTheirLargestValues) {
    QxFileName name;
    ASSERT_TRUE(QxFileName::Parse("a.2147483647.9999999999999999999.qxrec", name));
    EXPECT_EQ(name.pid, 2147483647);
    EXPECT_EQ(name.startTime, 9999999999999999999u);
    EXPECT_FALSE(QxFileName::Parse("a.2147483648.1.qxrec", name));
}

}  // namespace
