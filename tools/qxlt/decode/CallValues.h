// The values of a call, one by one, each with what its call site tells of its type.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "CallView.h"
#include "ValueTypes.h"

namespace qxlt {

// One argument or the result.
struct CallValue {
    enum class Moment { In, Out, Ret };

    Moment moment;
    std::size_t index;  // among the values of that moment
    const IQxData::HSICallArg* pairs;
    const ArgumentType* type;  // null: not told

    // As conditions call it: "in.0", "out.1", "ret".
    std::string Name() const;

    // Whether it is one value without members.
    bool IsPlain() const { return pairs->size() == 1 && pairs->front().first.empty(); }

    // How the pair at that place is read.
    ValueType TypeOf(std::size_t pair) const { return type == nullptr ? ValueType() : type->Of(*pairs, pair); }
};

// All that was recorded of the call, in order. Valid as long as the view.
std::vector<CallValue> ValuesOf(const CallView& view);

// The bytes of a pair, as the process had them.
std::string BytesOf(const std::pair<std::string, std::string>& pair);

// The value as a person reads it, the members of a composite in braces. What no type tells is shown by its bytes.
std::string ValueText(const CallValue& value);

// The same of an argument whose type nothing tells.
std::string ArgumentText(const IQxData::HSICallArg& argument);

// "audio.SetVolume(85) = 1": the method, its arguments and its result.
std::string CallText(const CallView& view);

// "audio.GetLevel(7)": the method with what was passed to it.
std::string EntryText(const CallView& view);

// "1", or "no result" of a call that returned none; empty where nothing is returned.
std::string ResultText(const CallView& view);

// "out (9) = 1", " = no result", or nothing: what came back.
std::string ExitText(const CallView& view);

// "audio.SetVolume", or the number of its location.
std::string MethodName(const CallView& view);

}  // namespace qxlt
