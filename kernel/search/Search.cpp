#include "kernel/search/Search.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "kernel/ccl/Printer.h"
#include "kernel/ccl/Reader.h"
#include "kernel/common/StatusError.h"
#include "kernel/search/CommandFault.h"
#include "kernel/search/FindPlan.h"
#include "kernel/search/KeepValues.h"
#include "kernel/search/RecordRowReader.h"
#include "kernel/search/RowWriter.h"
#include "kernel/search/SearchSet.h"
#include "kernel/search/SelectPlan.h"
#include "kernel/search/SetRowReader.h"
#include "kernel/search/UnionPlan.h"

namespace wdb {

namespace {

int32_t clamp(uint64_t count) {
    constexpr uint64_t kMax = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::min(count, kMax));
}

class Running {
public:
    explicit Running(bool& flag) : flag_(flag) { flag_ = true; }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { flag_ = false; }

private:
    bool& flag_;
};

}  // namespace

Search::Search(SearchContext& context) : context_(context) {}
Search::~Search() = default;

Status Search::fail(Status code, size_t position, std::string subject) {
    return fault(error_, code, position, std::move(subject));
}

Status Search::execute(Slice command) {
    error_ = {};
    size_t position = 0;
    Result<ccl::Command> read = ccl::readCommand(command, context_.commandWords(), &position);
    if (!read) return fail(read.status(), position);
    command_ = command;
    forgetUse();
    const size_t setsBefore = sets_.size();
    const CurrentResult currentBefore = current_;
    const Running running(running_);
    const Status status = std::visit([this](const auto& one) { return run(one); }, *read);
    if (status == WDB_OK) return status;
    if (error_.code != status) error_ = {status, 0, {}};
    // The set of all records may have been made on the way.
    sets_.resize(setsBefore);
    current_ = currentBefore;
    return status;
}

Result<std::string> Search::check(Slice command) {
    error_ = {};
    size_t position = 0;
    const Result<ccl::Command> read = ccl::readCommand(command, context_.commandWords(), &position);
    if (!read) return fail(read.status(), position);
    return ccl::printCommand(*read);
}

Status Search::run(const ccl::BaseCommand& command) {
    std::vector<std::shared_ptr<OpenBase>> bases;
    for (const ccl::TableRef& table : command.bases) {
        Result<std::shared_ptr<OpenBase>> base = context_.findBase(table.base);
        if (!base) return fail(base.status(), table.position, table.base);
        bases.push_back(std::move(*base));
    }
    bases_ = std::move(bases);
    current_ = {true, 0};
    return WDB_OK;
}

Status Search::run(const ccl::DefineCommand& command) {
    minimum_ = command.minimum;
    return WDB_OK;
}

Status Search::run(const ccl::FindCommand& command) {
    std::erase_if(bases_, [](const auto& base) { return base->gone(); });
    Result<std::shared_ptr<SearchSet>> set = FindPlan(command.expression, context_, *this, error_).makeSet();
    if (!set) return set.status();
    if (minimum_ > 0 && (*set)->rows() < static_cast<uint64_t>(minimum_)) return fail(WDB_E_CCL_NO_HITS, 0);
    adopt(std::move(*set), std::move(command_));
    return WDB_OK;
}

Status Search::run(const ccl::SelectCommand& command) {
    Result<std::shared_ptr<SearchSet>> set = SelectPlan(command, context_, *this, error_).makeSet();
    if (!set) return set.status();
    adopt(std::move(*set), std::move(command_));
    return WDB_OK;
}

Status Search::run(const ccl::UnionCommand& command) {
    Result<std::shared_ptr<SearchSet>> set = UnionPlan(command, context_, *this, error_).makeSet();
    if (!set) return set.status();
    adopt(std::move(*set), std::move(command_));
    return WDB_OK;
}

// A new command, or a set that no command makes.
void Search::forgetUse() {
    if (running_) return;
    if (FieldUse* use = context_.fieldUse()) use->clear();
    commandRights_ = context_.rightsState();
}

bool Search::allowed(SearchSet& set) {
    const uint64_t state = context_.rightsState();
    if (set.rightsState != state) {
        if (!context_.mayStillRead(set.use)) return false;
        set.rightsState = state;
        if (set.kind == SetKind::Records) set.columns.clear();  // other fields may be readable by now
    }
    if (FieldUse* use = context_.fieldUse(); use != nullptr && running_) use->note(set.use);
    return true;
}

void Search::adopt(std::shared_ptr<SearchSet> set, std::string command) {
    if (const FieldUse* use = context_.fieldUse()) set->use = *use;
    set->rightsState = commandRights_;
    set->command = std::move(command);
    set->serial = ++made_;
    set->number = static_cast<int32_t>(sets_.size()) + 1;
    set->borrows =
        !std::ranges::all_of(set->bases, [](const SetBase& base) { return base.records.ownsAll(); });
    const bool fixed = fixesValues(*set);
    if (fixed) prepareValues(*set);
    if (fixed || set->borrows) {
        if (unkept_.size() == unkept_.capacity()) {
            std::erase_if(unkept_, [](const auto& one) { return one.expired(); });
            unkept_.reserve(2 * unkept_.size() + 1);  // so that the next look is as far away
        }
        unkept_.push_back(set);
    }
    sets_.push_back(std::move(set));
    current_ = {false, sets_.back()->number};
}

Status Search::makeWholeSet() {
    forgetUse();
    auto set = std::make_shared<SearchSet>();
    for (const std::shared_ptr<OpenBase>& base : bases_) {
        if (base->gone()) continue;
        const Result<const BaseSnapshot*> snapshot = context_.snapshot(base);
        if (!snapshot) return snapshot.status();
        BaseState state(context_, **snapshot);
        WDB_TRY(searchBase(nullptr, state, *this, set->bases.emplace_back(), error_));
    }
    if (set->bases.empty()) return WDB_FAIL;
    adopt(std::move(set), "FIN RXX = FRL 1");
    return WDB_OK;
}

std::shared_ptr<SearchSet> Search::share(int32_t number) {
    const SearchSet* set = find(number);
    return set == nullptr ? nullptr : sets_[static_cast<size_t>(set->number) - 1];
}

SearchSet* Search::find(int32_t number) {
    if (number == 0 && current_.wholeBases && makeWholeSet() != WDB_OK) return nullptr;
    const int32_t wanted = number == 0 ? current_.set : number;
    if (wanted < 1 || static_cast<size_t>(wanted) > sets_.size()) return nullptr;
    SearchSet* const set = sets_[static_cast<size_t>(wanted) - 1].get();
    if (set == nullptr || set->lost) return nullptr;
    for (const SetBase& base : set->bases) {
        if (base.base->gone()) return nullptr;
    }
    return allowed(*set) ? set : nullptr;
}

Status Search::currentResult(SearchCounts& result, Counted counted) {
    if (current_.wholeBases) WDB_TRY(makeWholeSet());
    if (current_.set == 0) return WDB_FAIL;
    return counts(current_.set, result, counted) == WDB_OK ? WDB_OK : WDB_FAIL;
}

Status Search::counts(int32_t number, SearchCounts& result, Counted counted) {
    SearchSet* set = find(number);
    if (set == nullptr) return fail(WDB_E_CCL_SET, 0, std::to_string(number));
    result.set = set->number;
    result.rows = clamp(set->rows());
    result.kind = static_cast<int32_t>(set->kind);
    if (counted == Counted::Rows) return WDB_OK;
    result.records = clamp(set->firstRecords());
    uint64_t parts = 0;
    for (const SetBase& base : set->bases) {
        parts += static_cast<uint64_t>(std::count_if(base.hits.begin(), base.hits.end(),
                                                     [](const PartRow& hit) { return hit.part != 0; }));
    }
    result.parts = clamp(parts);
    return WDB_OK;
}

Status Search::fetchRow(int32_t number, int32_t index, RowItems& row) {
    int32_t count = 1;
    return fetchRows(number, index, count, row);
}

Status Search::fetchRows(int32_t number, int32_t index, int32_t& count, RowItems& rows) {
    const auto wanted = static_cast<uint64_t>(std::exchange(count, 0));
    rows.words.clear();
    rows.data.clear();
    SearchSet* set = find(number);
    if (set == nullptr) return fail(WDB_E_CCL_SET, 0, std::to_string(number));
    const uint64_t size = set->rows();
    if (index < 0 || static_cast<uint64_t>(index) >= size) return WDB_FAIL;
    const auto first = static_cast<uint64_t>(index);
    const uint64_t end = std::min(first + wanted, size);
    if (!set->block && !set->joined && !set->bases.empty()) {
        RecordRowReader reader(*set, context_, end);
        return writeRows(reader, first, end, count, rows);
    }
    SetRowReader reader(*set, context_);
    return writeRows(reader, first, end, count, rows);
}

template <typename Reader>
Status Search::writeRows(Reader& reader, uint64_t first, uint64_t end, int32_t& count, RowItems& rows) {
    constexpr size_t kLarge = size_t{256} << 10;
    const DateForm form = context_.dateForm();
    RowWriter writer(rows, form);
    for (uint64_t row = first; row < end && rows.data.size() < kLarge; ++row) {
        const Status status = reader.read(row);
        if (status != WDB_OK) return count > 0 ? Status{WDB_OK} : fail(status, 0);
        const size_t words = rows.words.size(), bytes = rows.data.size();
        try {
            writer.write(reader.columns(), reader.view(), reader.plain());
        } catch (const StatusError&) {  // a long value that cannot be unpacked
            if (count == 0) throw;
            rows.words.resize(words);
            rows.data.resize(bytes);
            return WDB_OK;
        }
        ++count;
    }
    return WDB_OK;
}

Status Search::recordAt(int32_t number, int32_t ordinal, FoundRecord& found) {
    SearchSet* set = find(number);
    if (set == nullptr) return fail(WDB_E_CCL_SET, 0, std::to_string(number));
    if (ordinal < 1 || static_cast<uint64_t>(ordinal) > set->firstRecords()) return WDB_FAIL;
    uint64_t place = static_cast<uint64_t>(ordinal) - 1;
    const size_t bases = set->kind == SetKind::Records ? set->bases.size() : 1;
    for (size_t i = 0; i < bases; ++i) {
        SetBase& base = set->bases[i];
        if (place < base.count) {
            found = {base.base, set->byNumber(base, place), base.commit, set->serial};
            return WDB_OK;
        }
        place -= base.count;
    }
    return WDB_FAIL;
}

Status Search::hitParts(uint64_t serial, const OpenBase& base, RecordNumber record,
                        std::vector<PartNumber>& parts, bool& headHit) {
    parts.clear();
    headHit = false;
    const auto found = std::find_if(sets_.begin(), sets_.end(), [serial](const auto& one) {
        return one != nullptr && one->serial == serial;
    });
    if (found == sets_.end()) return WDB_E_CCL_SET;
    const SearchSet* set = found->get();
    if (set->kind != SetKind::Records) return WDB_FAIL;
    const auto at = std::find_if(set->bases.begin(), set->bases.end(),
                                 [&](const SetBase& one) { return one.base->id() == base.id(); });
    if (at == set->bases.end()) return WDB_FAIL;
    headHit = at->headHits.contains(record);
    for (auto hit = std::lower_bound(at->hits.begin(), at->hits.end(), PartRow{record, 1});
         hit != at->hits.end() && hit->record == record; ++hit) {
        parts.push_back(hit->part);
    }
    return parts.empty() ? WDB_FAIL : WDB_OK;
}

Status Search::drop(int32_t number) {
    SearchSet* set = find(number);
    if (set == nullptr) return fail(WDB_E_CCL_SET, 0, std::to_string(number));
    const size_t place = static_cast<size_t>(set->number) - 1;
    if (current_.set == set->number) current_ = {};
    sets_[place].reset();
    return WDB_OK;
}

SearchState Search::save() const {
    return {bases_, static_cast<int32_t>(sets_.size()), current_};
}

void Search::restore(const SearchState& state) {
    bases_ = state.bases;
    std::erase_if(bases_, [](const auto& base) { return base->gone(); });
    if (sets_.size() > static_cast<size_t>(state.counter)) sets_.resize(static_cast<size_t>(state.counter));
    current_ = state.current;
    if (current_.wholeBases && bases_.empty()) current_ = {};
}

int32_t Search::liveSets() const {
    return static_cast<int32_t>(
        std::count_if(sets_.begin(), sets_.end(), [](const auto& set) { return set != nullptr; }));
}

void Search::keepValues() noexcept {
    if (unkept_.empty() || keeping_) return;
    const Running keeping(keeping_);
    for (const std::weak_ptr<SearchSet>& one : unkept_) {
        if (const std::shared_ptr<SearchSet> set = one.lock()) wdb::keepValues(*set, context_);
    }
    unkept_.clear();
}

void Search::snapshotGivenUp(const OpenBase& base) {
    for (const std::shared_ptr<SearchSet>& set : sets_) {
        if (set == nullptr || set->order == nullptr) continue;
        for (const SetBase& one : set->bases) {
            if (one.base->id() == base.id()) set->order->giveUp();
        }
    }
}

}  // namespace wdb
