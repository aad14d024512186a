#include "Inventory.h"

#include <algorithm>
#include <filesystem>

#include "CaptureReader.h"
#include "DumpHeader.h"
#include "DumpInput.h"
#include "DumpStarts.h"
#include "InventoryStore.h"
#include "Platform.h"
#include "ProcessNames.h"
#include "QxCycle.h"
#include "QxFormat.h"
#include "RecordingFiles.h"
#include "TypedValue.h"

namespace qxlt {

// Decodes as tracking does, and puts together what came.
class Inventory::Reader final {
public:
    Reader(const FaultSink& faults, const CountChoice& choice) : m_faults(faults), m_choice(choice) {}

    void ReadCapture(const std::string& directory, Progress& progress) {
        CaptureReader capture(directory);
        m_names = capture.Processes();
        m_start = capture.Start();
        m_names.Register(*m_store);
        while (capture.Next()) {
            progress.Show("cycle " + std::to_string(capture.Cycle()));
            QxCycle cycle(nullptr, nullptr, m_store);
            for (const auto& process : m_names.Pids()) {
                const std::string file = capture.DumpOf(process.first);
                if (!file.empty()) Decode(cycle, process.first, file, ReadDump(file));
            }
            // The first cycle's calls stay, so that one that was still open then can return.
            if (capture.Cycle() != 1) CountCalls();
        }
    }

    void ReadDumps(const std::vector<std::string>& files, Progress& progress) {
        RequireReadable(files);
        DumpStarts starts;
        const std::string process = Identify(files.front());
        for (const std::string& file : files) {
            progress.Show(file);
            DecodeFile(process, file);
            m_start = m_choice ? starts.Of(file) : RunStart();
            CountCalls();
        }
    }

    void Take(const std::vector<std::string>& processes) {
        std::map<std::string, CurrentDump> dumps;
        for (const std::string& process : processes) {
            CurrentDump& dump = dumps[process] = TakeCurrentDump(process);
            m_names.Add(process, static_cast<unsigned short>(dump.pid));
            m_ended[process] = dump.ended;
        }
        m_names.Register(*m_store);
        m_start.clock = WallClockOffset();
        for (auto& [process, dump] : dumps) {
            QxCycle cycle(nullptr, nullptr, m_store);
            Decode(cycle, process, process + ", dump", std::move(dump.bytes));
            CountCalls();
        }
    }

    Inventory Finish() {
        CountCalls();
        Inventory inventory;
        for (const auto& [name, pid] : m_names.Pids()) {
            inventory.m_processes.push_back({name, pid, m_store->ProcessIds(pid), m_ended[name]});
        }
        inventory.m_threads = m_store->Threads();
        inventory.m_methods = m_store->Methods(inventory.m_processes);
        inventory.m_whole = m_whole;
        return inventory;
    }

private:
    void CountCalls() {
        if (!m_choice) return m_store->CountCalls();
        m_store->CountCalls([this](const IQxData::HSCall& call) { return m_choice(call, m_start); });
    }

    std::string Identify(const std::string& file) {
        std::vector<char> dump = ReadDump(file);
        const DumpHeader header = HeaderOf(dump).value_or(DumpHeader());
        m_names.Add(header.process, header.pid);
        m_names.Register(*m_store);
        return header.process;
    }

    void Decode(QxCycle& cycle, const std::string& process, const std::string& place, std::vector<char> dump) {
        const QxCycle::Decoded decoded = cycle.Decode(process, dump);
        if (!decoded.Whole()) Tell(FaultOf(place, decoded));
    }

    // What gives not a single record is no dump, also when its bytes look like packets, or it has none.
    void DecodeFile(const std::string& process, const std::string& file) {
        std::vector<char> dump = ReadDump(file);
        const std::uint64_t before = m_store->Records();
        const QxCycle::Decoded decoded = QxCycle(nullptr, nullptr, m_store).Decode(process, dump);
        const bool isDump = m_store->Records() != before;
        if (isDump && decoded.Whole()) return;
        Fault fault = FaultOf(file, decoded);
        if (!isDump) fault.text = file + ": no dump, not one record is in it; name a capture, or a dump out of one";
        Tell(fault);
    }

    static Fault FaultOf(const std::string& place, const QxCycle::Decoded& decoded) {
        return DamageFault(place, std::filesystem::path(place).filename().string(), decoded);
    }

    void Tell(const Fault& fault) {
        m_whole = false;
        m_faults(fault);
    }

    const FaultSink& m_faults;
    const CountChoice& m_choice;
    RunStart m_start;  // of the calls that the store holds
    const std::shared_ptr<InventoryStore> m_store = std::make_shared<InventoryStore>();
    ProcessNames m_names;
    std::map<std::string, std::string> m_ended;  // by name, as CurrentDump has it
    bool m_whole = true;
};

namespace {

bool IsDirectory(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

// What a script reads as a number.
bool IsNumber(const RecordedValue& value) {
    const bool hasSize = value.coreSize == 1 || value.coreSize == 2 || value.coreSize == 4;
    return hasSize && !IsTextType(value.coreType) && !IsFraction(value.coreType);
}

// What a script reads as a text: also the fixed room for one.
bool IsLetters(const RecordedValue& value) {
    if (value.coreSize == qxformat::kVariableLength || IsTextType(value.coreType)) return true;
    return !IsNumber(value) && !IsFraction(value.coreType) && value.coreSize != sizeof(std::uint64_t);
}

}  // namespace

Inventory Inventory::Read(const std::vector<std::string>& paths, const FaultSink& faults, Progress& progress,
                          const CountChoice& choice) {
    Reader reader(faults, choice);
    if (paths.size() == 1 && IsDirectory(paths.front())) {
        reader.ReadCapture(paths.front(), progress);
    } else {
        reader.ReadDumps(paths, progress);
    }
    return reader.Finish();
}

Inventory Inventory::Take(const std::vector<std::string>& processes, const FaultSink& faults,
                          const CountChoice& choice) {
    Reader reader(faults, choice);
    reader.Take(processes);
    return reader.Finish();
}

const std::vector<RecordedValue>& RecordedMethod::Values(qxscript::Tag tag) const {
    if (tag == qxscript::Tag::In) return in;
    return tag == qxscript::Tag::Out ? out : ret;
}

const IQxData::HSICallArg* RecordedMethod::Example(qxscript::Tag tag, std::size_t index) const {
    if (!example) return nullptr;
    const IQxData::HSCall::Args& args = example->args;
    const std::vector<IQxData::HSICallArg>& values = tag == qxscript::Tag::In    ? args.in
                                                     : tag == qxscript::Tag::Out ? args.out
                                                                                 : args.ret;
    return index < values.size() ? &values[index] : nullptr;
}

bool Fits(qxscript::Type type, const RecordedValue& value) {
    if (value.coreSize == qxformat::kComposite) return true;
    if (type == qxscript::Type::Int) return IsNumber(value);
    return IsLetters(value) || (value.coreSize == 1 && value.coreType.find("char") != std::string::npos);
}

qxscript::Type FittingType(const RecordedValue& value) {
    if (value.coreSize == qxformat::kComposite) return qxscript::Type::Other;
    if (IsNumber(value)) return qxscript::Type::Int;
    return IsLetters(value) ? qxscript::Type::String : qxscript::Type::Other;
}

}  // namespace qxlt
