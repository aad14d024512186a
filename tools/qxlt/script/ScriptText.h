// The text of one script file as it stands: its elements and attributes with their places, the comments that silence
// checks, and where it stops being well-formed. The library's own script tree keeps names and values only.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace qxlt {

// Counted from 1; columns in characters. 0: not known.
struct TextPlace {
    std::size_t line = 0;
    std::size_t column = 0;
};

struct ScriptAttribute {
    std::string name;
    std::string value;
    TextPlace place;       // of the name
    TextPlace valuePlace;  // of the value's first character, behind the quote
};

class ScriptText;

struct ScriptElement {
    const ScriptText* script = nullptr;  // that it stands in
    std::string name;
    TextPlace place;  // of the "<"
    std::vector<ScriptAttribute> attributes;
    const ScriptElement* parent = nullptr;
    std::size_t depth = 0;  // of the top element; 1 is an action
    std::vector<const ScriptElement*> children;

    // Null when the element has no attribute of that name.
    const ScriptAttribute* Find(const std::string& attribute) const;

    // The value of that attribute; empty when it has none.
    const std::string& Value(const std::string& attribute) const;
};

// Why a text is not well-formed.
struct ScriptDefect {
    TextPlace place;
    std::string text;
    std::string instead;  // the attribute as it must be written, when it holds a raw & or <
};

// A comment "qxlt:ignore ID...": silences the checks that it names in the element that begins on the line after it.
struct IgnoreComment {
    TextPlace place;
    std::size_t lastLine = 0;
    std::set<std::string> ids;
};

// The order of such comments by their last line.
bool EndsBefore(const IgnoreComment& left, const IgnoreComment& right);

class ScriptText final {
public:
    // Reads the file. Throws a Failure (cannot start) when it cannot be read.
    explicit ScriptText(const std::string& file);

    // Takes the text itself; `file` is the name under which it is told of.
    ScriptText(std::string file, const std::string& text);

    ScriptText(const ScriptText&) = delete;
    ScriptText& operator=(const ScriptText&) = delete;

    const std::string& File() const { return m_file; }

    // The top element; null when the text ends before one. What a text that is not well-formed holds before the defect
    // is there.
    const ScriptElement* Top() const { return m_elements.empty() ? nullptr : &m_elements.front(); }

    // All elements, in the order in which they begin. They live as long as this object.
    const std::deque<ScriptElement>& Elements() const { return m_elements; }

    const std::optional<ScriptDefect>& Defect() const { return m_defect; }

    // In the order of EndsBefore.
    const std::vector<IgnoreComment>& Ignores() const { return m_ignores; }

private:
    class Reader;

    const std::string m_file;
    std::deque<ScriptElement> m_elements;
    std::optional<ScriptDefect> m_defect;
    std::vector<IgnoreComment> m_ignores;
};

}  // namespace qxlt
