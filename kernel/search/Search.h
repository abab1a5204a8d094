#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kernel/ccl/Tree.h"
#include "kernel/common/Status.h"
#include "kernel/search/SearchContext.h"

namespace wdb {

struct SearchSet;
struct SetBase;

// What a failing command tells beside its code.
struct CommandError {
    Status code = WDB_OK;
    int32_t position = 0;  // byte offset in the command, from 0
    std::string subject;   // the base, field or value; may be empty
};

// The current result and its size.
struct SearchCounts {
    int32_t set = 0;
    int32_t rows = 0;     // that fetchRow delivers
    int32_t records = 0;  // of the first base
    int32_t parts = 0;    // hit parts
    int32_t kind = 0;     // 0 record set, 1 row set, 2 value set, 3 union
};

// A record of a set, and the state in which the search saw it.
struct FoundRecord {
    std::shared_ptr<OpenBase> base;
    RecordNumber record = 0;
    uint64_t commit =
        0;  // number of the last commit that the search saw: a record with a higher one was changed since
    uint64_t set = 0;  // serial number of the set: unlike its number it is never given again
};

// Rows in the form of WdbGetRows: the words of the descriptors (host byte order) and the data, each row's
// with its last zero byte. Kept by the caller from row to row.
struct RowItems {
    std::vector<uint32_t> words;
    std::string data;
};

// Rows: the numbers of records and parts, which a join has to collect first, are not wanted.
enum class Counted : uint8_t { Rows, All };

// Where the current result stands: bases made current but not searched yet, or a set.
struct CurrentResult {
    bool wholeBases = false;
    int32_t set = 0;  // 0: none
};

// What a saved status keeps of searches.
struct SearchState {
    std::vector<std::shared_ptr<OpenBase>> bases;
    int32_t counter = 0;  // number of the newest set
    CurrentResult current;
};

// The searches of one session: search bases, numbered sets, current result, find minimum. One thread at a
// time.
class Search {
public:
    explicit Search(SearchContext& context);
    ~Search();

    // Reads and runs one command line. A command that fails changes nothing; error() then explains it.
    Status execute(Slice command);
    // Reads a command without running it: its canonical form. WDB_E_CCL_SYNTAX, WDB_E_CCL_LENGTH with error()
    // set.
    Result<std::string> check(Slice command);
    const CommandError& error() const { return error_; }

    // The current result. After a BAS without a search the set of all records of the search bases is made.
    // WDB_FAIL without one.
    Status currentResult(SearchCounts& counts, Counted counted = Counted::All);
    // A set by its number, 0 the current result. WDB_E_CCL_SET.
    Status counts(int32_t set, SearchCounts& counts, Counted counted = Counted::All);
    // Row `index` from 0. WDB_FAIL behind the last row, WDB_E_DELETED for a record deleted since,
    // WDB_E_CCL_SET, WDB_E_CHANGED when the order cannot be completed any more.
    Status fetchRow(int32_t set, int32_t index, RowItems& row);
    // The rows from `index` on, at most `count`; on return as many as there are in `rows`. It ends before a
    // row that cannot be given, unless that is the first (fetchRow's status), and when the data grow large.
    Status fetchRows(int32_t set, int32_t index, int32_t& count, RowItems& rows);
    // Record `ordinal` from 1 of the set's first base. WDB_FAIL outside, WDB_E_CCL_SET, WDB_E_BASE when the
    // base is gone. Whether the record still exists is for the caller to see.
    Status recordAt(int32_t set, int32_t ordinal, FoundRecord& found);
    // Frees a set's contents; the number stays taken. WDB_E_CCL_SET.
    Status drop(int32_t set);

    SearchState save() const;
    // Sets newer than the state are dropped, bases that are gone are left out.
    void restore(const SearchState& state);

    int32_t findMinimum() const { return minimum_; }
    void setFindMinimum(int32_t minimum) { minimum_ = minimum; }
    const std::vector<std::shared_ptr<OpenBase>>& bases() const { return bases_; }
    int32_t liveSets() const;

    // Null for numbers that no set has, and for sets that were made of what the user may not read any more; 0
    // is the current result.
    SearchSet* find(int32_t set);
    std::shared_ptr<SearchSet> share(int32_t set);
    // The hit parts of a record of a record set, ascending, and whether its head satisfied the search by
    // itself. The set by its serial number. WDB_FAIL for a set without hit parts, WDB_E_CCL_SET when it is
    // gone.
    Status hitParts(uint64_t set, const OpenBase& base, RecordNumber record, std::vector<PartNumber>& parts,
                    bool& headHit);

    // A kept snapshot of the base became too old and is given up: sets over it whose order is not complete
    // can only answer WDB_E_CHANGED for the rows that are missing.
    void snapshotGivenUp(const OpenBase& base);
    // The session's view of its bases is about to change: values that belong to the time when a set was made
    // are copied.
    void keepValues() noexcept;
    bool keepsValues() const { return keeping_; }

private:
    Status fail(Status code, size_t position, std::string subject = {});
    Status run(const ccl::BaseCommand& command);
    Status run(const ccl::FindCommand& command);
    Status run(const ccl::DefineCommand& command);
    Status run(const ccl::SelectCommand& command);
    Status run(const ccl::UnionCommand& command);
    Status makeWholeSet();
    template <typename Reader>
    Status writeRows(Reader& reader, uint64_t first, uint64_t end, int32_t& count, RowItems& rows);
    void adopt(std::shared_ptr<SearchSet> set, std::string command);
    // May the user still see what the set shows?
    bool allowed(SearchSet& set);
    void forgetUse();

    SearchContext& context_;
    std::vector<std::shared_ptr<OpenBase>> bases_;
    std::vector<std::shared_ptr<SearchSet>>
        sets_;  // by number - 1; null: dropped; unions share their members
    std::vector<std::weak_ptr<SearchSet>> unkept_;  // of which keepValues() has to copy something; by age
    uint64_t made_ = 0;                             // sets so far
    CurrentResult current_;
    int32_t minimum_ = 1;
    CommandError error_;
    bool keeping_ = false;        // keepValues() is at work
    bool running_ = false;        // a command, whose use of fields is being noted
    uint64_t commandRights_ = 0;  // rightsState() when it began
    std::string command_;         // the present one, for the set that it makes
};

}  // namespace wdb
