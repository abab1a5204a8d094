#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "kernel/catalog/BaseDefinition.h"
#include "kernel/catalog/BaseSnapshot.h"
#include "kernel/catalog/IndexFiles.h"
#include "kernel/catalog/VerifiedImages.h"
#include "kernel/common/Status.h"
#include "kernel/index/RankCache.h"
#include "kernel/storage/BaseFile.h"

namespace wdb {

class Delta;
struct UnitBase;

// The two dates of a base, microseconds since 1970 UTC, and its counts.
struct BaseStamps {
    int64_t modified = 0;
    int64_t indexed = 0;
    uint64_t liveCount = 0;
    uint64_t pending = 0;  // records that the index files do not hold yet
};

// A base that the process has open: its three files, the delta and the caches over them, shared by all
// sessions. Its definition is replaced when the catalogue's moved; take it once per call and keep the
// pointer.
class OpenBase : public std::enable_shared_from_this<OpenBase> {
public:
    // Opens the base file. The index files follow with useIndex(), which may have to be preceded by building
    // them anew.
    static Result<std::shared_ptr<OpenBase>> open(std::shared_ptr<const BaseDefinition> definition,
                                                  bool readOnly);
    ~OpenBase();
    // Opens the index files that the definition names. WDB_E_STORAGE, WDB_E_CORRUPT when they are missing,
    // damaged, or do not belong to this state of the base: they are to be built anew.
    Status useIndex();

    // How the base takes over what the catalogue says by now; set before others get to see it.
    void setCatalog(std::function<Status()> makeCurrent) { makeCurrent_ = std::move(makeCurrent); }
    // Does so: cheap when nothing changed. WDB_E_BASE when the base was dropped.
    Status makeCurrent() const;

    BaseId id() const { return id_; }
    std::shared_ptr<const BaseDefinition> definition() const;
    // Takes over what the catalogue says now; opens the files that have new names.
    Status refresh(std::shared_ptr<const BaseDefinition> definition);

    // The state after the last commit; with a unit that wrote to the base, its writes laid over it.
    Result<BaseSnapshot> snapshot(UnitBase* unit = nullptr);

    // The base file; another one when the base was written anew. Take it once per piece of work.
    std::shared_ptr<BaseFile> file() const;
    // Null before useIndex().
    std::shared_ptr<const IndexFiles> indexFiles() const;
    // Folds the changes that a unit committed into the delta, so that nobody has to read them from the queue.
    void unitCommitted(UnitBase& unit);
    // Brings the delta up to date and moves the index date.
    Status catchUp(int64_t now);
    // With a unit: as its own session sees the base.
    Result<BaseStamps> stamps(const UnitBase* unit = nullptr);
    // The same for a committed state that was read just now.
    BaseStamps stamps(const BaseMeta& meta);
    RankCache& ranks() { return ranks_; }
    VerifiedImages& verified() { return verified_; }
    // The base was dropped or its home directory's entry names other files.
    bool gone() const { return gone_.load(std::memory_order_relaxed); }
    void setGone() { gone_.store(true, std::memory_order_relaxed); }

private:
    OpenBase() = default;
    Result<BaseSnapshot> trySnapshot(UnitBase* unit);
    std::shared_ptr<Delta> deltaFor(const IndexFiles* files, Position merged);
    Status feed(const std::shared_ptr<Delta>& delta, const BaseReader& reader, Position position);
    void giveUpDelta(const std::shared_ptr<Delta>& delta) noexcept;
    // The modification date to show for a stored one; the mutex is held.
    int64_t shown(int64_t modified);

    BaseId id_ = 0;
    bool readOnly_ = false;
    RankCache ranks_;
    VerifiedImages verified_;
    std::function<Status()> makeCurrent_;
    mutable std::mutex mutex_;  // guards what follows
    std::shared_ptr<BaseFile> file_;
    std::shared_ptr<const BaseDefinition> definition_;
    std::shared_ptr<const IndexFiles> files_;
    std::shared_ptr<Delta> delta_;  // null before useIndex() and after one was given up
    // Dates that this process shows, in microseconds. A clock that steps back would let the date of a change
    // stand before that of an earlier index job: it is shown as later than that, and later than all shown
    // before.
    int64_t indexed_ = 0;      // of the last index job
    int64_t indexedUpTo_ = 0;  // stored date of the last change that it has taken in
    int64_t shownFor_ = 0;     // stored date of the latest change seen, and what is shown for it
    int64_t shownAs_ = 0;
    std::atomic<bool> gone_{false};
};

}  // namespace wdb
