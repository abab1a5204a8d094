#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "kernel/catalog/BaseSnapshot.h"
#include "kernel/catalog/OpenBase.h"
#include "kernel/catalog/SessionUnit.h"
#include "kernel/common/Status.h"

namespace wdb {

// The states of bases that a session sees: with a saved status one per base until the restore of the status
// that was on top when it was taken, else one per base and call.
class SnapshotCache {
public:
    // `saved`: serial number of the saved status on top, 0 for none. `unit`: the session's writes to the
    // base, or null.
    Result<const BaseSnapshot*> get(const std::shared_ptr<OpenBase>& base, UnitBase* unit, uint64_t saved);
    bool keeps(const OpenBase& base) const { return find(base) != nullptr; }
    // Age of the base's kept snapshot; zero when there is none, and when the present call has it in hand.
    std::chrono::seconds age(const OpenBase& base) const;
    // What was handed out is in nobody's hand any more.
    void callEnded() { ++call_; }

    // Called before a snapshot that is kept goes, or shows something else; the snapshots can still be read.
    void onChange(std::function<void()> listener) { listener_ = std::move(listener); }
    // The session is about to write.
    void change() {
        if (listener_ && !kept_.empty()) listener_();
    }

    void drop(const OpenBase& base);
    void dropAll() {
        change();
        kept_.clear();
    }
    // Those taken while this saved status was on top.
    void dropTakenUnder(uint64_t saved);
    // The status went without a restore: its snapshots live as long as another one.
    void passOn(uint64_t from, uint64_t to);
    void dropTemporary() {
        if (!kept_.empty()) dropTakenUnder(0);
    }
    size_t size() const { return kept_.size(); }

private:
    struct Kept {
        std::unique_ptr<BaseSnapshot> snapshot;
        uint64_t saved;
        std::chrono::steady_clock::time_point taken;
        mutable uint64_t usedIn;  // number of the last call that asked for it
    };
    const Kept* find(const OpenBase& base) const;
    std::vector<Kept> kept_;
    std::function<void()> listener_;
    uint64_t call_ = 1;
};

}  // namespace wdb
