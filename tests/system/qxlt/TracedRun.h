// A traced program under a name that no other process has, a scenario for it, and the tool that runs that.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "Child.h"
#include "Workplace.h"

class TracedRun : public testing::Test {
protected:
    TracedRun() { m_script = m_place.Write("v.xml", VolumeScript(kEveryVolume, m_name)); }

    Child::Setup Server() const {
        Child::Setup setup;
        setup.command = {m_place.At(m_name), "--rate", "100"};
        setup.environment = Environment();
        return setup;
    }

    // `environment` is set besides.
    Child::Setup Tool(std::vector<std::string> arguments,
                      const std::map<std::string, std::string>& environment = {}) const {
        arguments.insert(arguments.begin(), {"run", "-s", m_script, "--pause", "fast"});
        Child::Setup setup;
        setup.environment = Environment();
        setup.environment.insert(environment.begin(), environment.end());
        return ToolSetup(arguments, setup);
    }

    // Recordings and dumps of a test's own, which go with it.
    std::map<std::string, std::string> Environment() const { return {{"QX_RUNTIME_DIR", m_place.At("recordings")}}; }

    const Workplace m_place;
    const std::string m_name = m_place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
    std::string m_script;
};
