#include "QxOptions.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

using qx::recorder::Mode;
using qx::recorder::Options;
using qxhost::QxOptions;

class QxOptionsTest : public testing::Test {
protected:
    ~QxOptionsTest() override {
        for (const char* name : {"QX_RING_PAGE_SIZE", "QX_RING_PAGES", "QX_RING_MODE"}) ::unsetenv(name);
    }

    QxOptions WithEnvironment(const Options& options = {}) {
        m_error.clear();
        return QxOptions(options).WithEnvironment(m_error);
    }

    std::string m_error;
};

TEST_F(QxOptionsTest, WithoutEnvironmentTheyStayAsTheyAre) {
    const QxOptions options = WithEnvironment({512, 8, 1024, Mode::Discard});
    EXPECT_EQ(options.Geometry().pageSize, 512u);
    EXPECT_EQ(options.Geometry().pageCount, 8u);
    EXPECT_EQ(options.Geometry().metaSize, 1024u);
    EXPECT_TRUE(options.RefusesWhenFull());
    EXPECT_EQ(m_error, "");
}

TEST_F(QxOptionsTest, TheEnvironmentHasTheLastWord) {
    ::setenv("QX_RING_PAGE_SIZE", "1024", 1);
    ::setenv("QX_RING_PAGES", "3", 1);
    ::setenv("QX_RING_MODE", "overwrite", 1);
    const QxOptions options = WithEnvironment({512, 8, 2048, Mode::Discard});
    EXPECT_EQ(options.Geometry().pageSize, 1024u);
    EXPECT_EQ(options.Geometry().pageCount, 3u);
    EXPECT_EQ(options.Geometry().metaSize, 2048u);
    EXPECT_FALSE(options.RefusesWhenFull());
    EXPECT_EQ(m_error, "");
}

TEST_F(QxOptionsTest, WhereOneMakesNoSenseAllThreeAreIgnored) {
    const struct {
        const char* name;
        const char* value;
    } rows[] = {{"QX_RING_PAGE_SIZE", "many"}, {"QX_RING_PAGE_SIZE", "257"}, {"QX_RING_PAGE_SIZE", "4096 "},
                {"QX_RING_PAGES", "1"},        {"QX_RING_PAGES", ""},        {"QX_RING_PAGES", "99999999999999999999"},
                {"QX_RING_PAGES", "16777217"}, {"QX_RING_MODE", "Discard"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + "=" + row.value);
        ::setenv("QX_RING_PAGE_SIZE", "1024", 1);
        ::setenv("QX_RING_PAGES", "3", 1);
        ::setenv("QX_RING_MODE", "discard", 1);
        ::setenv(row.name, row.value, 1);
        const QxOptions options = WithEnvironment();
        EXPECT_EQ(options.Geometry().pageSize, Options().pageSize);
        EXPECT_EQ(options.Geometry().pageCount, Options().pageCount);
        EXPECT_FALSE(options.RefusesWhenFull());
        EXPECT_NE(m_error, "");
    }
}

TEST_F(QxOptionsTest, AreCheckedTogether) {
    EXPECT_TRUE(QxOptions(Options()).IsValid());
    EXPECT_TRUE(QxOptions(Options{1 << 20, 16, 256, Mode::Overwrite}).IsValid());
    EXPECT_FALSE(QxOptions(Options{1 << 20, 17, 256, Mode::Overwrite}).IsValid()) << "a ring has at most 16 MiB";
    EXPECT_FALSE(QxOptions(Options{4096, 64, 255, Mode::Overwrite}).IsValid());
}

}  // namespace
