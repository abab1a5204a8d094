#include "kernel/session/Routines.h"

#include <map>
#include <mutex>
#include <string>

#include "kernel/record/Schema.h"
#include "kernel/session/HandleTable.h"

namespace wdb::routines {

namespace {

struct Registration {
    uint64_t number = 0;
    Routine routine;
};

struct Registry {
    std::mutex mutex;
    std::map<std::string, Registration, std::less<>> byName;  // by foldName
    std::map<uint64_t, std::string> names;
    uint64_t last = 0;
};

// Never destroyed: threads may end after the process's statics have gone.
Registry& registry() {
    static auto* const kRegistry = new Registry;
    return *kRegistry;
}

constexpr uint64_t kTag = uint64_t{0x4000} << 48;  // no address of a process, and no handle of a session

}  // namespace

Status add(std::string_view name, Routine routine) {
    if (trimName(name).empty()) return WDB_E_NAME;
    if (routine.function == nullptr) return WDB_E_ARGUMENT;
    std::string folded = foldName(name);
    const std::lock_guard lock(registry().mutex);
    if (registry().byName.contains(folded)) return WDB_E_EXISTS;
    const uint64_t number = ++registry().last;
    registry().names.emplace(number, folded);
    registry().byName.emplace(std::move(folded), Registration{number, routine});
    return WDB_OK;
}

Status remove(std::string_view name) {
    const std::string folded = foldName(name);
    const std::lock_guard lock(registry().mutex);
    const auto found = registry().byName.find(folded);
    if (found == registry().byName.end()) return WDB_E_ASE;
    registry().names.erase(found->second.number);
    registry().byName.erase(found);
    return WDB_OK;
}

Result<WdbAse*> load(std::string_view name) {
    const std::string folded = foldName(name);
    const std::lock_guard lock(registry().mutex);
    const auto found = registry().byName.find(folded);
    if (found == registry().byName.end()) return WDB_E_ASE;
    return handlePointer<WdbAse>(kTag | found->second.number);
}

Result<Routine> find(const WdbAse* handle) {
    const std::lock_guard lock(registry().mutex);
    const auto name = registry().names.find(handleOf(handle) ^ kTag);
    if (name == registry().names.end()) return WDB_E_HANDLE;
    const auto found = registry().byName.find(name->second);
    return found == registry().byName.end() ? Result<Routine>(WDB_E_HANDLE) : found->second.routine;
}

}  // namespace wdb::routines
