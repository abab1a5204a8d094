#include "kernel/session/SessionRegistry.h"

#include <map>
#include <mutex>

#include "kernel/session/HandleTable.h"

namespace wdb {

namespace {

struct Entry {
    std::unique_ptr<Session> session;
    bool bound = false;
};

struct Registry {
    std::mutex mutex;
    std::map<uint64_t, Entry> sessions;
    uint64_t last = 0;
};

// Never destroyed: threads may end after the process's statics have gone.
Registry& registry() {
    static auto* const kRegistry = new Registry;
    return *kRegistry;
}

// What the calling thread has bound.
struct Binding {
    Session* session = nullptr;
    uint64_t id = 0;
};
constinit thread_local Binding binding;

// A thread that ends with a session bound gives it back; what was not committed goes, since a write
// transaction cannot change its thread.
struct ThreadEnd {
    bool used = false;
    ~ThreadEnd() {
        if (binding.session == nullptr) return;
        binding.session->writer.drop();
        const std::lock_guard lock(registry().mutex);
        const auto found = registry().sessions.find(binding.id);
        if (found != registry().sessions.end()) found->second.bound = false;
        binding = Binding();
    }
};
thread_local ThreadEnd threadEnd;

constexpr int kIdShift = 4;  // handles look like small addresses that no memory has

uint64_t idOf(const WdbSession* session) {
    return handleOf(session) >> kIdShift;
}
WdbSession* handleOfId(uint64_t id) {
    return handlePointer<WdbSession>(id << kIdShift);
}

void unbind(std::map<uint64_t, Entry>& sessions) {
    const auto found = sessions.find(binding.id);
    if (found != sessions.end()) found->second.bound = false;
    binding = Binding();
}

}  // namespace

Session* boundSession() {
    return binding.session;
}

namespace session_registry {

uint64_t nextId() {
    const std::lock_guard lock(registry().mutex);
    return ++registry().last;
}

WdbSession* add(std::unique_ptr<Session> session, uint64_t id) {
    const std::lock_guard lock(registry().mutex);
    registry().sessions[id].session = std::move(session);
    return handleOfId(id);
}

Status bind(WdbSession* session) {
    const std::lock_guard lock(registry().mutex);
    auto& sessions = registry().sessions;
    const uint64_t id = idOf(session);
    if (binding.session != nullptr && session == handleOfId(binding.id)) return WDB_OK;
    const auto found = sessions.find(id);
    if (session != nullptr) {
        if (found == sessions.end() || handleOfId(id) != session) return WDB_E_HANDLE;
        if (found->second.bound) return WDB_E_SESSION_BUSY;
    }
    if (binding.session != nullptr) {
        if (binding.session->hooks.callbacks > 0 || binding.session->writer.hasWritten())
            return WDB_E_SESSION_BUSY;
        // A unit that took the lock and wrote nothing ends here: its transactions belong to this thread.
        binding.session->writer.drop();
        unbind(sessions);
    }
    if (session == nullptr) return WDB_OK;
    threadEnd.used = true;
    found->second.bound = true;
    binding = {found->second.session.get(), id};
    return WDB_OK;
}

WdbSession* bound() {
    return binding.session == nullptr ? nullptr : handleOfId(binding.id);
}

Status close(WdbSession* session) {
    std::unique_ptr<Session> closed;
    {
        const std::lock_guard lock(registry().mutex);
        auto& sessions = registry().sessions;
        const auto found = sessions.find(idOf(session));
        if (found == sessions.end() || handleOfId(found->first) != session) return WDB_E_HANDLE;
        if (found->second.bound && binding.id != found->first) return WDB_E_SESSION_BUSY;
        if (found->second.session->hooks.callbacks > 0) return WDB_E_SESSION_BUSY;
        if (found->second.bound) unbind(sessions);
        closed = std::move(found->second.session);
        sessions.erase(found);
    }
    return WDB_OK;  // what it held, jobs and open units included, ends outside the lock
}

bool deallocate(void* memory) {
    if (binding.session != nullptr && binding.session->rowBuffers.release(memory)) return true;
    const std::lock_guard lock(registry().mutex);
    for (auto& [id, entry] : registry().sessions) {
        if (!entry.bound && entry.session->rowBuffers.release(memory)) return true;
    }
    return false;
}

void liveCounts(WdbLiveCounts& counts) {
    counts = WdbLiveCounts{};
    const std::lock_guard lock(registry().mutex);
    for (const auto& [id, entry] : registry().sessions) {
        const Session::Counts& own = entry.session->counts();
        ++counts.sessions;
        counts.controls += own.controls;
        counts.cursors += own.cursors;
        counts.rowBuffers += own.rowBuffers;
        counts.ruleLists += own.ruleLists;
        counts.savedStatuses += own.savedStatuses;
        counts.sets += own.sets;
        counts.readers += 3 * own.snapshots;  // one read transaction per file of a base
    }
}

}  // namespace session_registry

}  // namespace wdb
