// The words of the scenario language and what they mean, and the numbers in it. The evaluation reads events with them;
// tools that check and explain scenarios ask them, so that both understand a script alike.
//
// To add an operator of conditions: one entry, in `Condition` and with its word in kConditions; one function, which
// QxEventEvaluation::Compare calls for it, and for the tool its distance in ConditionDistance.cpp (the compiler names
// both switches as long as they lack it); and its rows, which tests ask for: in tools/qxlt/scenario.rng,
// docs/scenarios.md and fuzz/script.dict, and in the tables of the evaluation's own tests. Words of other attributes
// are added in the same way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qxscript {

// Top elements: the kinds of scripts.
inline constexpr char kScenario[] = "Scenario";
inline constexpr char kSession[] = "session";

// What is read inside an action.
inline constexpr char kMethod[] = "method";
inline constexpr char kEvent[] = "event";

// What an action's element is usually called; any other name will do.
inline constexpr char kUsualAction[] = "action";

// The attribute of an action that its methods are subscribed under, and the one that names the process to watch.
inline constexpr char kActionName[] = "name";
inline constexpr char kActionProcess[] = "process";

// The attribute of a method that is its name, whatever it is called, and what it usually is.
inline constexpr std::size_t kMethodName = 0;
inline constexpr char kUsualMethodName[] = "name";

// What an event's attributes say, each with a meaning for all other words, the empty one included.
enum class Tag { In, Out, Ret, None, Other };
enum class Type { String, Int, Other };
enum class Watch { Always, Changed, Conditional, Rising, Other };
enum class Condition { Equal, NotEqual, Greater, Less, Range, Other };

// How the operands' results make one: all of them, any of them, or (Other) the last one alone.
enum class Combination { All, Any, Other };

template <typename Meaning>
struct Word {
    std::string_view text;
    Meaning meaning;
};

inline constexpr Word<Tag> kTags[] = {{"IN", Tag::In}, {"OUT", Tag::Out}, {"RET", Tag::Ret}, {"NONE", Tag::None}};
inline constexpr Word<Type> kTypes[] = {{"STRING", Type::String}, {"INT", Type::Int}};
inline constexpr Word<Watch> kWatches[] = {{"ALWAYS", Watch::Always},
                                           {"CHANGED", Watch::Changed},
                                           {"CONDITIONAL", Watch::Conditional},
                                           {"D-CONDITIONAL", Watch::Rising}};
inline constexpr Word<Condition> kConditions[] = {{"==", Condition::Equal},
                                                  {"!=", Condition::NotEqual},
                                                  {">", Condition::Greater},
                                                  {"<", Condition::Less},
                                                  {"range", Condition::Range}};
inline constexpr Word<Combination> kConditionTypes[] = {{"AND", Combination::All}, {"OR", Combination::Any}};

template <typename Meaning, std::size_t count>
Meaning MeaningOf(const std::string& text, const Word<Meaning> (&words)[count]) {
    for (const Word<Meaning>& word : words) {
        if (text == word.text) return word.meaning;
    }
    return Meaning::Other;
}

// The word that stands for the meaning; empty for the meaning of all other words.
template <typename Meaning, std::size_t count>
constexpr std::string_view WordFor(Meaning meaning, const Word<Meaning> (&words)[count]) {
    for (const Word<Meaning>& word : words) {
        if (word.meaning == meaning) return word.text;
    }
    return {};
}

// The value of an event that takes none out of the call, or cannot read it.
inline constexpr char kNoValue[] = "NONE";

// An argument's index; none for a negative one, which no list holds. Throws std::invalid_argument or std::out_of_range
// ("stoul") as std::stoul does where `unsigned long` has 32 bits, on every system. `end`, when given, gets the place
// where the number ends; what follows is ignored.
std::optional<std::uint32_t> ReadIndex(const std::string& text, std::size_t* end = nullptr);

// A number of a comparison, likewise. Throws std::invalid_argument or std::out_of_range ("stoi").
int ReadNumber(const std::string& text, std::size_t* end = nullptr);

}  // namespace qxscript
