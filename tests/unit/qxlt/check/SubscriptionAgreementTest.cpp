// What the checks say of subscriptions is what the library does, over scripts made at random.
#include "Agreement.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <set>

#include "Checks.h"
#include "Findings.h"
#include "IQxEventObserver.h"
#include "JoinedScripts.h"
#include "Messages.h"
#include "QxData.h"
#include "QxParser.h"
#include "Workplace.h"

namespace {

using namespace qxlt;

using CodeSet = std::set<std::string>;

// Scripts with actions of random elements, names and methods, each with an event of its own.
class Subscriptions final : public IQxEventObserver {
public:
    Subscriptions(Dice& dice, const Workplace& place) {
        static const char* const firstTops[] = {"Scenario", "Scenario", "Scenario", "session"};
        static const char* const furtherTops[] = {"Scenario", "session", "anything"};
        for (unsigned script = dice.Pick(3) + 1; script > 0; --script) {
            const std::string top = m_texts.empty() ? dice.Of(firstTops) : dice.Of(furtherTops);
            if (m_texts.empty()) m_runs = top == "Scenario";
            m_file = std::to_string(script) + ".xml";
            m_text = "<" + top + ">\n";
            m_line = 2;
            for (unsigned action = dice.Pick(5); action > 0; --action) AddAction(dice);
            m_texts.emplace_back(m_file, m_text + "</" + top + ">\n");
            m_files.push_back(place.Write(m_file, m_texts.back().second));
        }
    }

    // Runs the scripts over a call of each method, as `run` and `replay` do.
    void Trace() {
        const auto store = std::make_shared<QxData>();
        LoadScripts(JoinedScripts(m_files), store);
        for (const char* const method : {"M", "N", "O"}) {
            IQxData::_HSCallLocation location;
            location.locId = static_cast<unsigned>(m_methods.size()) + 1;
            location.callerName = method;
            store->AppendCallLocation(location);
            IQxData::HSCall call;
            call.locId = location.locId;
            m_methods[store->AppendBeforeCall(call)] = method;
        }
        QxParser parser(nullptr, nullptr);
        std::pair<int, char*> nothing(0, nullptr);
        parser.Parse(nothing, store);
        parser.SetObserver(this);
        parser.Trace();
    }

    void OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall&, QxOutcome,
                 const std::string&) override {
        m_evaluated.emplace(EventNameOf(event), m_methods.at(key));
    }

    // An event is evaluated for a method when its action lists that method and no check says that this is dropped.
    void ExpectWhatTheChecksSay() const {
        std::set<std::string> dropped;
        for (const Found& found : FindingsIn(m_texts)) {
            if (found.code == "QX018") dropped.insert(found.place);
        }
        std::set<std::pair<std::string, std::string>> expected;
        for (const Listing& listing : m_listings) {
            if (m_runs && dropped.count(listing.place) == 0) expected.emplace(listing.event, listing.method);
        }
        EXPECT_EQ(m_evaluated, expected);
    }

    std::string Text() const {
        std::string all;
        for (const auto& entry : m_texts) all += "\n" + entry.second;
        return all;
    }
    std::size_t Listings() const { return m_listings.size(); }
    std::size_t Evaluations() const { return m_evaluated.size(); }

private:
    // A method of an action, which has that event.
    struct Listing {
        std::string event;
        std::string method;
        std::string place;
    };

    void AddLine(const std::string& line) {
        m_text += line + "\n";
        ++m_line;
    }

    void AddAction(Dice& dice) {
        static const char* const elements[] = {"action", "action", "action", "method", "event"};
        static const char* const names[] = {" name=\"a\"", " name=\"b\"", " name=\"M\"", ""};
        static const char* const methods[] = {"M", "N", "O"};
        const std::string element = dice.Of(elements);
        const std::string event = m_file + std::to_string(m_line);
        AddLine("<" + element + dice.Of(names) + "><event name=\"" + event + "\"/>");
        for (unsigned count = dice.Pick(4); count > 0; --count) {
            const std::string method = dice.Of(methods);
            m_listings.push_back({event, method, Place(m_file, m_line)});
            AddLine("<method name=\"" + method + "\"/>");
        }
        AddLine("</" + element + ">");
    }

    std::vector<std::pair<std::string, std::string>> m_texts;
    std::vector<std::string> m_files;
    bool m_runs = false;
    std::string m_file;  // that is being written, its text so far, and the line that comes next
    std::string m_text;
    std::size_t m_line = 0;
    std::vector<Listing> m_listings;
    std::map<unsigned long long, std::string> m_methods;  // by key of the call
    std::set<std::pair<std::string, std::string>> m_evaluated;
};

TEST_F(Agreement, ChecksSayWhichMethodsAreSubscribed) {
    const Workplace place;
    std::size_t listings = 0;
    std::size_t evaluations = 0;
    for (std::uint32_t seed = 1; seed <= 500; ++seed) {
        Dice dice(seed);
        Subscriptions one(dice, place);
        SCOPED_TRACE("seed " + std::to_string(seed) + one.Text());
        one.Trace();
        one.ExpectWhatTheChecksSay();
        if (HasFailure()) return;
        listings += one.Listings();
        evaluations += one.Evaluations();
    }
    EXPECT_GT(evaluations, 500u);
    EXPECT_GT(listings, evaluations + 500);
}

}  // namespace
