#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "include/wdb.h"
#include "kernel/catalog/DefinitionEditor.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/rights/Rights.h"
#include "kernel/search/Search.h"
#include "kernel/search/SearchContext.h"
#include "kernel/session/Charset.h"
#include "kernel/session/CommandObject.h"
#include "kernel/session/ControlList.h"
#include "kernel/session/FieldCursor.h"
#include "kernel/session/HandleTable.h"
#include "kernel/session/Hooks.h"
#include "kernel/session/IndexJobs.h"
#include "kernel/session/RecordControl.h"
#include "kernel/session/RowBuffers.h"
#include "kernel/session/SessionClock.h"
#include "kernel/session/SessionWriter.h"
#include "kernel/session/Settings.h"
#include "kernel/session/ShellSymbols.h"
#include "kernel/session/SnapshotCache.h"
#include "kernel/session/StatusStack.h"

namespace wdb {

// What WdbGetIntegrityRules hands out: the caller sees `head`.
struct RuleList {
    WdbIntegrityRules head{};
    std::vector<WdbIntegrityRule> rules;
};

// Whose access record of which base is in hand.
struct AccessTarget {
    std::shared_ptr<const BaseDefinition> base;
    std::string user;
};

// What a session holds beyond its calls, and what it answers to searches. One thread at a time works with it;
// the API (kernel/api) calls it through the thread's bound session. Members are public where the API works on
// the part itself; the functions here are those that concern several parts.
class Session final : public SearchContext {
public:
    // Authenticates the user and opens the home directory. `number`: of this process's sessions, part of the
    // handles that the session gives out. WDB_E_USER, WDB_E_ARGUMENT, WDB_E_STORAGE, WDB_E_CORRUPT.
    static Result<std::unique_ptr<Session>> open(const std::string& home, std::string_view user,
                                                 std::string_view password, uint32_t options,
                                                 uint16_t number);
    Session(std::shared_ptr<SystemDirectory> home, const std::string& who, uint32_t options, uint16_t number);
    ~Session() override;

    // --- the session's parts ---
    const std::shared_ptr<SystemDirectory> directory;
    Rights rights;
    const bool asyncIndex;
    SessionClock clock;
    Settings settings;
    Charset charset;
    DateForm dates;
    ShellSymbols symbols;
    SnapshotCache snapshots;
    SessionWriter writer;
    Search search;
    DefinitionEditor editor;
    CommandObject commandObject;
    ControlList controlList;
    StatusStack statuses;
    HandleTable<RecordControl> controls;
    HandleTable<FieldCursor> cursors;
    RowBuffers rowBuffers;
    std::vector<std::unique_ptr<RuleList>> ruleLists;
    std::shared_ptr<const BaseDefinition> checkedBase;  // null: none
    std::optional<AccessTarget> accessTarget;
    Hooks hooks;
    LastError lastError;
    RowItems row;  // of the latest row fetched; kept for its memory

    // On whose behalf definitions are edited, as of now.
    Actor actor();

    // --- bases and records ---
    Result<uint64_t> recordCount(const std::shared_ptr<OpenBase>& base);
    // Attaches a control; with another base than before its record and its cursors go.
    void attach(RecordControl& control, const std::shared_ptr<OpenBase>& base);
    // Loads a record of a base into a control and attaches it. WDB_FAIL when no record ever had the number,
    // WDB_E_DELETED; the control is unchanged then. `version`: commit number up to which changes by others
    // count as seen, 0: the record's.
    Status loadRecord(RecordControl& control, const std::shared_ptr<OpenBase>& base, RecordNumber number,
                      uint64_t version = 0);
    // Makes a part of the control's record current, 0 the head. WDB_E_NO_RECORD, WDB_E_PART.
    Status selectPart(RecordControl& control, int32_t part);
    // Appends a part to the control's record (a new one when it has none) and makes it current.
    Status addPart(RecordControl& control);
    // Removes a part. Cursors on it die; the others, and the current part, stay with their parts.
    Status removePart(RecordControl& control, int32_t part);
    // Stores the control's record; a new one under the number `wanted` when that is not 0.
    Status putRecord(RecordControl& control, RecordNumber wanted = 0);
    // Loads the first live record of the control's base above a number. WDB_FAIL when there is none.
    Status loadNext(RecordControl& control, RecordNumber after);
    Status deleteRecord(RecordControl& control);

    // For a job of the session: its host's progress function, when there is one, hears of it and may end it.
    // What the function answers then is the job's status.
    Progress progress();
    Status progressed(uint64_t done, uint64_t total);

    // An index job of kind 2 in the background; one that is asked for inside a unit begins when the unit has
    // ended.
    Status submitJob(const std::shared_ptr<OpenBase>& base);

    // --- handles: null unless alive ---
    RecordControl* control(const WdbRecordControl* handle) { return controls.find(handleOf(handle)); }
    FieldCursor* cursor(const WdbCursor* handle) { return cursors.find(handleOf(handle)); }
    void removeControl(uint64_t handle);
    void removeCursor(uint64_t handle);
    void dropListEntry();

    // --- saved statuses ---
    void saveStatus();
    Status loadStatus(bool restore, bool remove);

    // --- what every call ends with ---
    // Notes what a failure is about; the call's end adds the code.
    Status fail(Status status, std::string_view subject, int32_t position = 0);
    void endCall(Status status);

    // Counts for WdbLiveHandles, readable from other threads.
    struct Counts {
        std::atomic<int32_t> controls{0}, cursors{0}, rowBuffers{0}, ruleLists{0}, savedStatuses{0}, sets{0},
            snapshots{0};
    };
    const Counts& counts() const { return counts_; }
    // Called by whatever may have made or dropped sets.
    void searched();

    // --- SearchContext ---
    Result<std::shared_ptr<OpenBase>> findBase(Slice name) override;
    bool mayRead(const BaseDefinition& base, FieldNumber field) override;
    uint64_t rightsState() override { return rights.state(); }
    FieldUse* fieldUse() override { return &fieldUse_; }
    bool mayStillRead(const FieldUse& use) override;
    // Given up and taken anew when it is older than the setting WDB_SNAPSHOT_MAX.
    Result<const BaseSnapshot*> snapshot(const std::shared_ptr<OpenBase>& base) override;
    bool watched() const override { return hooks.step != nullptr; }
    void step(int32_t depth, const std::string& what, uint64_t count, std::chrono::nanoseconds time) override;
    bool snapshotsStay() const override { return !statuses.empty(); }
    const ccl::CommandWords& commandWords() const override { return symbols.words(); }
    DateForm dateForm() const override { return dates; }
    bool textsInline() const override { return settings.find("SQL_SELECTTEXT", 7) == "1"; }
    bool objectsInline() const override { return settings.find("SQL_SELECTBLOB", 7) == "1"; }
    DayNumber today() const override { return clock.today(); }
    Analyzer& analyzer() override { return analyzer_; }

private:
    void submitPutOff() noexcept;
    void takeRecord(RecordControl& control, const std::shared_ptr<OpenBase>& base, RecordNumber number,
                    const RecordView& view, uint64_t version);
    void dropCursors(RecordControl& control);
    Status mayChange(const RecordControl& control);
    void publishCounts();

    Analyzer analyzer_;
    FieldUse fieldUse_;
    IndexJobs jobs_;
    std::vector<std::shared_ptr<OpenBase>> putOff_;  // bases of jobs that wait for the end of the unit
    Counts counts_;
};

}  // namespace wdb
