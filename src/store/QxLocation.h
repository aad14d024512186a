// A call location as the store keeps it: the record, and for each moment of recording the arguments that are read then,
// worked out once. The work for a call thereby follows its values, not the number of arguments that its location
// declares.
#pragma once

#include <cstdint>
#include <vector>

#include "IQxData.h"
#include "QxDescriptionBudget.h"

// The arguments that one kind of item carries, in order. Arguments of size 0 carry nothing but are reported: they are
// counted between the others.
struct QxArgPlan {
    struct Step {
        std::uint32_t argument;       // index into the location's lists
        std::uint32_t size;           // its size word
        std::uint32_t emptiesBefore;  // recorded arguments of size 0 between the step before and this one
    };
    std::vector<Step> steps;
    std::uint32_t emptiesAfter = 0;
};

struct QxLocation {
    QxLocation() = default;
    explicit QxLocation(IQxData::_HSCallLocation location);

    IQxData::_HSCallLocation site;
    QxDescriptionBudget::Share share;  // what it counts for, worked out once as well
    QxArgPlan atEntry;
    QxArgPlan atExit;
    QxArgPlan always;  // for log items, which carry all arguments whatever their flags
};
