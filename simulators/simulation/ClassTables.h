#pragma once

#include "modules/module_class.h"
#include "simulators/simulation/Simulation.h"

#include <cstring>
#include <list>
#include <mutex>

namespace trigora::simulators {

/// Takes an operation out of a table when the settings list it as missing.
template <typename Function> void leaveOutIfMissing(Function*& entry, const char* operation) {
    if (isMissing(operation)) {
        entry = nullptr;
    }
}

/// The tables that a class has been handed out with. They stay as long as the module does, so that the
/// settings can change while one is in use.
template <typename Table> class ClassTables {
public:
    /// The version is the settings' "classVersion", where there is one.
    const TrigoraClassHeader* keep(Table table, std::uint32_t version) {
        const json settings = readObject("settings.json");
        table.header.size = sizeof table;
        table.header.version = static_cast<std::uint32_t>(integerAt(settings, "classVersion", version));
        const std::lock_guard lock(mutex_);
        for (const Table& known : tables_) {
            if (std::memcmp(&known, &table, sizeof table) == 0) {
                return &known.header;
            }
        }
        if (tables_.size() >= mostTables) {
            return nullptr;
        }
        return &tables_.emplace_back(table).header;
    }

private:
    static constexpr std::size_t mostTables = 1000;

    std::mutex mutex_;
    std::list<Table> tables_;
};

} // namespace trigora::simulators
