#include "kernel/search/KeepValues.h"

#include <algorithm>
#include <new>

#include "kernel/common/StatusError.h"
#include "kernel/search/KeptRecords.h"

namespace wdb {

namespace {

bool computed(const SearchSet& set) {
    return set.block && !set.block->plain;
}

Result<std::vector<const BaseSnapshot*>> snapshotsOf(const SearchSet& set, SearchContext& context) {
    std::vector<const BaseSnapshot*> snapshots;
    for (const SetBase& base : set.bases) {
        const Result<const BaseSnapshot*> snapshot = context.snapshot(base.base);
        if (!snapshot) return snapshot.status();
        snapshots.push_back(*snapshot);
    }
    return snapshots;
}

// Row `row` of a set that is no union.
Status keepRow(SearchSet& set, uint64_t row, const std::vector<const BaseSnapshot*>& snapshots,
               SearchContext& context, KeptRecords& kept) {
    if (!set.block) {
        const Result<RecordNumber> number =
            set.recordInRow(set.bases.front(), row, *snapshots.front(), context);
        return number ? kept.add(0, *number, *snapshots.front()) : number.status();
    }
    const size_t place = set.block->rowAt(row);
    for (uint32_t table = 0; table < snapshots.size(); ++table)
        WDB_TRY(kept.add(table, set.block->rows.record(table, place), *snapshots[table]));
    return WDB_OK;
}

Status keepBlock(SearchSet& set, SearchContext& context, KeptRecords& kept) {
    const auto snapshots = snapshotsOf(set, context);
    if (!snapshots) return snapshots.status();
    kept.need(set.columns, set.bases.size());
    for (uint64_t row = 0; row < set.block->size(); ++row)
        WDB_TRY(keepRow(set, row, *snapshots, context, kept));
    return WDB_OK;
}

// The rows of a member that are left in the union.
Status keepMember(const UnionRows& joined, const UnionRows::Member& member, SearchContext& context,
                  KeptRecords& kept) {
    SearchSet& set = *member.set;
    const auto snapshots = snapshotsOf(set, context);
    if (!snapshots) return snapshots.status();
    kept.need(set.columns, set.bases.size());
    if (set.bases.empty()) return WDB_OK;
    for (uint64_t place = 0; place < joined.size(); ++place) {
        const uint64_t row = joined.placeOf(place) - member.begin;
        if (row < set.rows()) WDB_TRY(keepRow(set, row, *snapshots, context, kept));
    }
    return WDB_OK;
}

template <typename Make>
void keep(KeptRecords& kept, Make&& make) noexcept {
    if (kept.made()) return;
    try {
        kept.finish(make());
    } catch (const std::bad_alloc&) {
        kept.finish(WDB_E_MEMORY);
    } catch (const StatusError& error) {
        kept.finish(error.status());
    }
}

// What a set has borrowed from snapshots that are about to go.
void keepRecords(SearchSet& set) noexcept {
    try {
        for (SetBase& base : set.bases) base.records.own();
    } catch (const std::bad_alloc&) {
        set.lost = true;
        for (SetBase& base : set.bases) base.records.clear();
    }
    set.borrows = false;
}

}  // namespace

bool fixesValues(const SearchSet& set) {
    return computed(set) || (set.joined && std::ranges::any_of(set.joined->members(),
                                                               [](const auto& one) { return one.fixed; }));
}

void prepareValues(SearchSet& set) {
    if (computed(set)) set.block->kept = std::make_shared<KeptRecords>();
    if (!set.joined) return;
    for (UnionRows::Member& member : set.joined->members()) {
        if (member.fixed && !computed(*member.set) && !member.kept)
            member.kept = std::make_shared<KeptRecords>();
    }
}

void keepValues(SearchSet& set, SearchContext& context) noexcept {
    if (set.borrows) keepRecords(set);
    const bool gone = std::ranges::any_of(set.bases, [](const SetBase& base) { return base.base->gone(); });
    if (gone) return;  // such a set answers nothing any more
    if (computed(set)) keep(*set.block->kept, [&] { return keepBlock(set, context, *set.block->kept); });
    if (!set.joined) return;
    for (const UnionRows::Member& member : set.joined->members()) {
        if (member.kept)
            keep(*member.kept, [&] { return keepMember(*set.joined, member, context, *member.kept); });
    }
}

}  // namespace wdb
