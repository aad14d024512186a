#include "BrokerAccess.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "Failure.h"
#include "Workplace.h"

namespace qxlt {
namespace {

using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

class BrokerAccessTest : public testing::Test {
protected:
    std::string Secret(const std::string& content, fs::perms others = fs::perms::none) const {
        const std::string file = m_place.Write("secret", content);
        fs::permissions(file, fs::perms::owner_read | others);
        return file;
    }

    static std::string ProblemOf(const BrokerOptions& options) {
        try {
            ReadBrokerAccess(options);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Status(), kCannotStart);
            return failure.what();
        }
        return "none";
    }

    const Workplace m_place;
};

TEST_F(BrokerAccessTest, ReadsUserAndPassword) {
    BrokerOptions options;
    options.address = "mqtt://broker/plant";
    options.credentials = Secret("ann\nsecret word\n");
    BrokerAccess access = ReadBrokerAccess(options);
    EXPECT_EQ(access.user, "ann");
    EXPECT_EQ(access.password, "secret word");
    fs::remove(options.credentials);
    options.address = "mqtt://bob@broker/plant";
    options.credentials = Secret("pass\r\n");
    access = ReadBrokerAccess(options);
    EXPECT_EQ(access.user, "bob");
    EXPECT_EQ(access.password, "pass");
}

TEST_F(BrokerAccessTest, RefusesCredentialsThatOthersCanRead) {
    for (const fs::perms others : {fs::perms::group_read, fs::perms::others_read, fs::perms::group_write}) {
        BrokerOptions options;
        options.address = "mqtt://broker/plant";
        options.credentials = Secret("ann\nsecret\n", others);
        EXPECT_EQ(ProblemOf(options), options.credentials + ": others can read the password; run chmod 600 on it");
        fs::remove(options.credentials);
    }
}

TEST_F(BrokerAccessTest, SaysWhatIsWrongWithCredentials) {
    const std::pair<std::string, std::string> rows[] = {{"", "two lines"},
                                                        {"ann", "two lines"},
                                                        {"\nsecret\n", "two lines"},
                                                        {"a\nb\nc\n", "two lines"},
                                                        {std::string(4097, 'a'), "more than a user and a password"}};
    for (const auto& [content, problem] : rows) {
        BrokerOptions options;
        options.address = "mqtt://broker/plant";
        options.credentials = Secret(content);
        EXPECT_THAT(ProblemOf(options), HasSubstr(problem)) << content;
        fs::remove(options.credentials);
    }
    BrokerOptions options;
    options.address = "mqtt://broker/plant";
    options.credentials = m_place.Path();
    EXPECT_NE(ProblemOf(options), "none");
    options.credentials = m_place.At("none");
    EXPECT_THAT(ProblemOf(options), HasSubstr("none: No such file"));
    options.address = "mqtt://bob@broker/plant";
    options.credentials = Secret("ann\nsecret\n");
    EXPECT_THAT(ProblemOf(options), HasSubstr("one line"));
    EXPECT_THAT(ProblemOf(options), Not(HasSubstr("ann")));
}

TEST_F(BrokerAccessTest, WantsCertificatesThatAreThereAndOnlyForTls) {
    BrokerOptions options;
    options.address = "mqtts://broker/plant";
    options.ca = m_place.At("ca.crt");
    EXPECT_THAT(ProblemOf(options), HasSubstr("ca.crt: No such file"));
    m_place.Write("ca.crt", "");
    EXPECT_EQ(ProblemOf(options), "none");
    options.address = "mqtt://broker/plant";
    EXPECT_THAT(ProblemOf(options), HasSubstr("are for mqtts://"));
}

}  // namespace
}  // namespace qxlt
