// A kernel of a few switches, for tests of what the engine does around it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "include/wdb.h"

// State of the calling thread's fake session. Functions that are not modelled answer WDB_E_UNSUPPORTED.
struct FakeKernel {
    std::string version = "4.0-0:embedded";
    std::int32_t versionStatus = WDB_OK;
    std::int32_t charset = 16;  // 0: the session cannot tell
    std::map<std::string, std::string> settings;
    std::map<std::int32_t, std::string> messages;  // a code that is missing has no text
    std::int32_t loadStatus = WDB_OK;              // what WdbLoadStatus answers
    std::int32_t cclStatus = WDB_OK;
    bool outOfMemory = false;  // WdbSaveStatus throws, as an allocation in the engine would
    std::int32_t saves = 0;
    std::int32_t loads = 0;
    std::int32_t sessionInfoCalls = 0;
    std::vector<std::string> commands;  // CCL lines
    // Tables as name -> columns, for look-ups by record controls.
    struct Column {
        std::string name;
        std::int32_t number, type;
        std::uint32_t flags;
    };
    std::map<std::string, std::vector<Column>> tables;
    std::map<std::string, std::string> keys;  // table -> its primary key column
    // Rights: the records by user, of the one base that was checked last.
    std::map<std::string, WdbAccessRecord> access;
    std::string accessUser;
    std::int32_t putAccessStatus = WDB_OK;
    // Rows of the set that every command makes, as WdbGetRows hands them out; a status other than WDB_OK
    // instead of the row.
    struct Item {
        std::string text;
        std::uint32_t flags;
    };
    struct Row {
        std::vector<Item> items;
        std::int32_t record = 0, part = 0;
        std::int32_t status = WDB_OK;
    };
    std::vector<Row> rows;
    std::int32_t lastSet = 2;      // number of the set that the latest selection made
    bool searches = false;         // whether WdbSearchResult and WdbGetRows are modelled
    std::int32_t liveBuffers = 0;  // row buffers not yet released
    // Index jobs. The calls are noted as "form 1 --", "status T", "job 2 T".
    struct IndexJobs {
        bool datesKnown = false;  // whether WdbBaseStatus is modelled
        std::string modified = "2024-11-21 10:00:00.000000", indexed = "2024-11-21 09:00:00.000000";
        std::int32_t asksUntilDone = 1;  // questions behind a job until the index date changes; -1: never
        std::int32_t jobStatus = WDB_OK;
        bool jobRuns = false;
        std::vector<std::string> calls;
        std::vector<std::string> referred;  // tables that the checked one refers to; "" is a source rule
        std::int32_t checkStatus = WDB_E_UNSUPPORTED, rulesStatus = WDB_OK;
        std::int32_t liveLists = 0;
    } index;
    std::int32_t dateForm = 1;
    std::string dateSeparators = "-";
    bool dateFormKnown = true;
};

FakeKernel& fakeKernel();
