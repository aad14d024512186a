// Dumps of calls that others recorded. What describes them goes the way of a recording's own metadata, so that it is
// checked, limited and named by the same code.
#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "QxBytes.h"
#include "QxCatalog.h"
#include "QxDumpBuilder.h"
#include "QxDumpFormat.h"
#include "QxLayout.h"
#include "QxMetadata.h"
#include "qx/dumps.h"

namespace qx {
namespace host {

using namespace qxhost;

namespace {

constexpr std::size_t kMaxText = 8192;
constexpr std::size_t kMaxPayload = qxlayout::kMaxPayload;
constexpr std::size_t kLengthSize = 4;

// A record of metadata as a recorder would write it.
std::string Record(qxlayout::MetaKind kind, const std::string& content) {
    std::string record;
    AppendInteger(record, content.size() + 1, kLengthSize);
    record += static_cast<char>(kind);
    return record + content;
}

bool IsPlain(const ValueType& type) {
    return !type.isList && type.members.size() == 1 && type.members.front().name.empty() &&
           type.members.front().size != ValueType::kCounted;
}

std::string DescriptorOf(const ValueType& type, const std::string& name) {
    std::string record;
    qxhost::AppendText(record, name);
    AppendVarint(record, type.isList ? 1 : 0);
    AppendVarint(record, type.members.size());
    for (const ValueType::Plain& member : type.members) {
        AppendVarint(record, member.size);
        qxhost::AppendText(record, member.type);
        qxhost::AppendText(record, member.name);
    }
    return record;
}

}  // namespace

void AppendNumber(std::string& bytes, std::uint64_t number, std::size_t size) {
    AppendInteger(bytes, number, size);
}

void AppendText(std::string& bytes, const std::string& text) {
    qxhost::AppendText(bytes, text.substr(0, kMaxText));
}

void AppendCount(std::string& bytes, std::size_t count) {
    AppendVarint(bytes, count);
}

class DumpMaker::Impl {
public:
    explicit Impl(std::string process) : m_process(std::move(process)) {}

    std::uint32_t Site(const CallSite& site) {
        try {
            const std::string location = LocationOf(site);
            const auto known = m_sites.find(location);
            return known != m_sites.end() ? known->second : (m_sites[location] = Number(location));
        } catch (const QxDamage&) {
            return 0;  // past a limit
        }
    }

    bool Add(const CallThread& thread, const CallRecord& call) {
        const std::size_t atExit = call.exit ? call.exit->out.size() + call.exit->result.size() : 0;
        if (call.in.size() > kMaxPayload || atExit > kMaxPayload) return false;
        m_threads[thread.process][thread.number] = thread.name;
        m_size += call.in.size() + atExit;
        QxThreadStream& stream = m_builder.Thread(thread.number);
        const std::uint32_t site = m_view.numbers[call.site - 1];
        if (call.exit)
            stream.AddCall(site, call.time, call.in, call.exit->time, ExitValues(call));
        else
            stream.AddOpenCall(site, call.time, call.in);
        return true;
    }

    std::size_t Size() const { return m_size; }

    std::string Take() {
        for (const auto& [process, threads] : m_threads) {
            m_builder.AddProcess(QxDumpBuilder::HeaderItem(m_process, process));
            for (const auto& [number, name] : threads) m_builder.NameThread(number, name);
        }
        std::string items = m_catalog.Items();
        if (items != m_items || m_description.empty()) m_description = QxDumpBuilder::Describe(items);
        m_items = std::move(items);
        std::string dump = m_builder.Finish(m_description);
        m_builder = QxDumpBuilder();
        m_threads.clear();
        m_size = 0;
        return dump;
    }

private:
    std::string LocationOf(const CallSite& site) {
        std::string record;
        AppendVarint(record, site.line);
        qxhost::AppendText(record, site.file);
        AppendVarint(record, site.in.size() + site.out.size());
        AppendArguments(record, site.in, QxArgument::kAtEntry);
        AppendArguments(record, site.out, QxArgument::kAtExit);
        if (site.result)
            AppendType(record, *site.result);
        else
            record.append(2, '\0');
        qxhost::AppendText(record, site.method);
        qxhost::AppendText(record, site.package);
        return record;
    }

    void AppendArguments(std::string& record, const std::vector<ValueType>& types, unsigned flags) {
        for (const ValueType& type : types) {
            AppendVarint(record, flags);
            AppendType(record, type);
        }
    }

    void AppendType(std::string& record, const ValueType& type) {
        const bool isPlain = IsPlain(type);
        AppendVarint(record, isPlain ? type.members.front().size : QxType::kComposite);
        qxhost::AppendText(record, isPlain ? type.members.front().type : LayoutName(type));
    }

    // A layout is found by its type's name: one that has the name of another but not its members goes by a name of its
    // own.
    const std::string& LayoutName(const ValueType& type) {
        const std::string layout = DescriptorOf(type, type.name);
        const auto known = m_layouts.find(layout);
        if (known != m_layouts.end()) return known->second;
        std::string name = type.name;
        while (!m_layoutNames.insert(name).second) name = type.name + "#" + std::to_string(++m_namesakes[type.name]);
        m_metadata.Append(Record(qxlayout::kMetaDescriptor, DescriptorOf(type, name)));
        return m_layouts[layout] = std::move(name);
    }

    std::uint32_t Number(const std::string& location) {
        m_metadata.Append(Record(qxlayout::kMetaLocation, location));
        m_catalog.Take(m_metadata, m_view);
        return m_view.numbers.back() == 0 ? 0 : static_cast<std::uint32_t>(m_view.numbers.size());
    }

    std::string ExitValues(const CallRecord& call) const {
        return QxCatalog::ExitValues(m_metadata.Locations()[call.site - 1], call.exit->out + call.exit->result,
                                     call.exit->out.size());
    }

    const std::string m_process;
    QxMetadata m_metadata;
    QxCatalog m_catalog;
    QxCatalog::View m_view;
    std::map<std::string, std::string> m_layouts;  // names, by what is told of them
    std::set<std::string> m_layoutNames;
    std::map<std::string, unsigned> m_namesakes;   // the last number that was tried with a name
    std::map<std::string, std::uint32_t> m_sites;  // by what is told of them
    QxDumpBuilder m_builder;                       // the next dump, and whose threads it has
    std::map<std::uint32_t, std::map<std::uint16_t, std::string>> m_threads;
    std::size_t m_size = 0;
    std::string m_items;  // that the description is of
    std::string m_description;
};

DumpMaker::DumpMaker(const std::string& process) : m_impl(std::make_unique<Impl>(process)) {}
DumpMaker::~DumpMaker() = default;

std::uint32_t DumpMaker::Site(const CallSite& site) {
    return m_impl->Site(site);
}

bool DumpMaker::Add(const CallThread& thread, const CallRecord& call) {
    return m_impl->Add(thread, call);
}

std::size_t DumpMaker::Size() const {
    return m_impl->Size();
}

std::string DumpMaker::Take() {
    return m_impl->Take();
}

}  // namespace host
}  // namespace qx
