// Programs without a mark whose calls of libraries are recorded by wrappers: that wrappers change nothing, that what
// they record is what was passed, and the examples with their scenarios.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <regex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Child.h"
#include "ReadFile.h"
#include "Workplace.h"

namespace {

using testing::HasSubstr;

// A traced program under a name that no other process has.
class TracedLibrary : public testing::Test {
protected:
    explicit TracedLibrary(const std::string& program) : m_name(m_place.CopyUnderOwnName(program)) {}

    Child::Setup Setup(const std::vector<std::string>& command = {}) const {
        Child::Setup setup;
        setup.command = command;
        setup.directory = m_place.Path();
        setup.environment = {{"QX_RUNTIME_DIR", m_place.At("recordings")}};
        return setup;
    }

    // The example's scenario, for the program under its name.
    std::string Script(const std::string& file, const std::string& program) const {
        const std::string script = qxlt::ReadFile(QXLT_SOURCE_DIR "/examples/" + file);
        return m_place.Write("script.xml", std::regex_replace(script, std::regex(program), m_name));
    }

    Child::Setup Run(const std::string& script) const {
        return ToolSetup({"run", "-s", script, "--pause", "fast", "--format", "json"}, Setup());
    }

    std::string List() const { return RunTool({"list", "-p", m_name}, Setup()).output; }

    // Waits until calls of the method are listed.
    void WaitForCallsOf(const std::string& method) const {
        for (int i = 0; i < 600; ++i) {
            if (List().find(method) != std::string::npos) return;
        }
        ADD_FAILURE() << method << " is not recorded: " << List();
    }

    const Workplace m_place;
    const std::string m_name;
};

[[maybe_unused]] std::string Fired(const std::string& event, const std::string& value) {
    return "\"event\":\"" + event + "\",\"value\":\"" + value + "\"";
}

}  // namespace

#ifdef QX_WRAPPED

namespace {

class WrappedFunctions : public TracedLibrary {
protected:
    WrappedFunctions() : TracedLibrary(QX_WRAPPED) {}

    ToolResult RunIt() const {
        Child program(Setup({m_place.At(m_name)}));
        const int status = program.Finish();
        return {status, program.Output(), program.Error(), 0};
    }

    // The calls that it recorded, in order: what was passed, what came out, and that it ended.
    std::vector<std::string> Calls() const {
        std::vector<std::string> calls;
        for (const auto& file : std::filesystem::directory_iterator(m_place.At("recordings"))) {
            const std::regex pattern(".* ((?:figures-1|letters|part)\\..*) at [^ ,]+(, took [^,]+)?,.*");
            for (const std::string& line : Lines(RunTool({"decode", file.path()}, Setup()).output)) {
                std::smatch match;
                if (!std::regex_match(line, match, pattern)) continue;
                calls.push_back(match[1].str() + (match[2].matched ? "" : ", which did not end"));
            }
        }
        return calls;
    }
};

}  // namespace

TEST_F(WrappedFunctions, DoWhatTheyDoWithoutWrappers) {
    const ToolResult result = RunIt();
    EXPECT_EQ(result.status, 0) << result.error;
}

TEST_F(WrappedFunctions, HaveTheirArgumentsAndResultsRecorded) {
    ASSERT_EQ(RunIt().status, 0);
    std::vector<std::string> calls = Calls();
    for (std::string& call : calls) {
        // Addresses, which differ from run to run, have many digits.
        call = std::regex_replace(call, std::regex("\\b[0-9]{5,}\\b"), "ADDRESS");
    }
    const std::vector<std::string> expected{
        "figures-1.figure_fail() = 0",
        "figures-1.figure_area(7, 0.5) = 0.75",
        "part.figure_area(0, 3) = 9",
        "figures-1.figure_sum(\"hi\", 2) = 209",
        "figures-1.figure_sum(\"\", -1) = 0",
        "letters.figure_first(ADDRESS) = 97",
        "figures-1.figure_measure(ADDRESS, ADDRESS, 5) out (25, \"box\", \"box\") = 5",
        "figures-1.figure_measure(0, 0, 0) out (0, \"\", \"\") = -1",
        "figures-1.figure_find(\"box\", ADDRESS, ADDRESS) out (3, \"x\") = true",
        "figures-1.figure_find(\"\", 0, 0) out (0, \"\") = false",
        "figures-1.figure_each(ADDRESS, ADDRESS)",
        "figures-1.figure_each(ADDRESS, 0)"};
    EXPECT_EQ(calls, expected);
}

TEST_F(WrappedFunctions, RecordNothingWhileRecordingIsOff) {
    Child::Setup setup = Setup({m_place.At(m_name)});
    setup.environment["QX_RECORDER"] = "off";
    Child program(setup);
    EXPECT_EQ(program.Finish(), 0) << program.Error();
    EXPECT_FALSE(std::filesystem::exists(m_place.At("recordings")));
}

#endif

#ifdef QXLT_ORDER_SERVICE

namespace {

class OrderService : public TracedLibrary {
protected:
    OrderService() : TracedLibrary(QXLT_ORDER_SERVICE), m_service(Setup({m_place.At(m_name), "400"})) {}

    const std::string m_script = Script("traced_library/orders.xml", "order-service");
    Child m_service;
};

}  // namespace

TEST_F(OrderService, FiresTheEventsOfItsScenario) {
    Child tool(Run(m_script));
    for (const std::string& fired :
         {Fired("STATEMENT", "INSERT INTO orders VALUES(?)"), Fired("STATEMENT", "DELETE FROM orders"),
          Fired("STATEMENT_REFUSED", "1"), Fired("ORDER_REFUSED", "19")}) {
        EXPECT_TRUE(tool.WaitForOutput(fired)) << fired << tool.Error();
    }
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    m_service.Signal(SIGTERM);
    EXPECT_EQ(m_service.Finish(), 0) << m_service.Error();
    EXPECT_THAT(m_service.Output(), HasSubstr("orders taken"));
}

TEST_F(OrderService, ItsScenarioFitsWhatItRecords) {
    WaitForCallsOf("sqlite3_finalize");
    EXPECT_THAT(List(), HasSubstr("traced-sqlite3.c"));
    const ToolResult checked = RunTool({"check", m_script}, Setup());
    EXPECT_EQ(checked.status, 0) << checked.output;
    EXPECT_EQ(checked.output, "");
}

#endif

#ifdef QXLT_TRACED_ZPIPE

namespace {

// A fifo that a program reads its input from; it ends with this object, or by Close.
class Input {
public:
    explicit Input(const std::string& path) {
        if (mkfifo(path.c_str(), S_IRWXU) != 0) throw std::runtime_error("no fifo for the test");
        m_fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input() { Close(); }

    void Write(const std::string& text) const {
        ASSERT_EQ(write(m_fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void Close() {
        if (m_fd >= 0) close(m_fd);
        m_fd = -1;
    }

private:
    int m_fd = -1;
};

class TracedZpipe : public TracedLibrary {
protected:
    TracedZpipe() : TracedLibrary(QXLT_TRACED_ZPIPE) {}

    // Runs it with these options, and files for input and output.
    Child::Setup Zpipe(const std::string& rest) const { return Setup({"/bin/sh", "-c", "exec ./" + m_name + rest}); }

    Input m_input{m_place.At("input")};
    const std::string m_script = Script("traced_zpipe/zpipe.xml", "traced-zpipe");
};

// As much as the program reads at once, of what does not get smaller.
std::string Noise() {
    std::mt19937 random(1);
    std::string text(16384, '\0');
    for (char& byte : text) byte = static_cast<char>(random());
    return text;
}

}  // namespace

TEST_F(TracedZpipe, FiresTheEventsOfItsScenario) {
    Child zpipe(Zpipe(" <input >packed"));
    WaitForCallsOf("deflateInit_");
    Child tool(Run(m_script));
    ASSERT_TRUE(tool.WaitForError("ready")) << tool.Error();
    m_input.Write(Noise());
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COMPRESSED\"")) << tool.Error();
    m_input.Close();
    EXPECT_TRUE(tool.WaitForOutput(Fired("COMPRESSION_DONE", "1"))) << tool.Error();
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    EXPECT_EQ(zpipe.Finish(), 0) << zpipe.Error();
}

TEST_F(TracedZpipe, TellsWhatIsWrongWithItsInput) {
    Child zpipe(Zpipe(" -d <input >unpacked"));
    WaitForCallsOf("inflateInit_");
    Child tool(Run(m_script));
    ASSERT_TRUE(tool.WaitForError("ready")) << tool.Error();
    m_input.Write("this was never compressed");
    m_input.Close();
    EXPECT_TRUE(tool.WaitForOutput(Fired("DAMAGED", "-3"))) << tool.Error();
    EXPECT_TRUE(tool.WaitForOutput(Fired("DAMAGE", "incorrect header check"))) << tool.Error();
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    EXPECT_THAT(zpipe.Finish(), testing::Ne(0));
}

TEST_F(TracedZpipe, ItCompressesAsItDoesUntraced) {
    const std::string text = Noise() + "an end";
    m_place.Write("plain", text);
    Child packing(Zpipe(" <plain >packed"));
    ASSERT_EQ(packing.Finish(), 0) << packing.Error();
    Child unpacking(Zpipe(" -d <packed >unpacked"));
    ASSERT_EQ(unpacking.Finish(), 0) << unpacking.Error();
    EXPECT_EQ(m_place.Read("unpacked"), text);
}

#endif
