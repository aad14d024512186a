// The options of a process's recording: what the program asks for, and the environment's word on it.
#pragma once

#include <string>

#include "QxLayout.h"
#include "qx/recorder.h"

namespace qxhost {

class QxOptions {
public:
    QxOptions() = default;
    explicit QxOptions(const qx::recorder::Options& options) : m_options(options) {}

    // What QX_RECORDER says of how recording begins. Allocates nothing.
    enum class Switch { On, Off, Unknown };
    static Switch ReadSwitch();

    // Whether a recording can be made so.
    bool IsValid() const { return Geometry().IsValid(); }

    // What QX_RING_PAGE_SIZE, QX_RING_PAGES and QX_RING_MODE make of them. Where one of the three makes no sense, all
    // are ignored, and `error` says so.
    QxOptions WithEnvironment(std::string& error) const;

    qxlayout::Geometry Geometry() const { return {m_options.pageSize, m_options.pageCount, m_options.metadataSize}; }
    bool RefusesWhenFull() const { return m_options.mode == qx::recorder::Mode::Discard; }

private:
    bool ReadMode();

    qx::recorder::Options m_options;
};

}  // namespace qxhost
