#include "tests/unit/frame/FakeKernel.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

struct WdbRecordControl {
    const std::vector<FakeKernel::Column>* columns = nullptr;
};

namespace {
thread_local FakeKernel kernel;

std::int32_t give(const std::string& value, char* text, std::int32_t* length) {
    if (*length < static_cast<std::int32_t>(value.size()) + 1) return WDB_E_BUFFER;
    std::memcpy(text, value.c_str(), value.size() + 1);
    *length = static_cast<std::int32_t>(value.size());
    return WDB_OK;
}
}  // namespace

FakeKernel& fakeKernel() {
    return kernel;
}

extern "C" {

int32_t WdbVersion(char* text, int32_t* length) {
    return kernel.versionStatus == WDB_OK ? give(kernel.version, text, length) : kernel.versionStatus;
}

int32_t WdbSessionInfo(int32_t item, int32_t* number, char* text, int32_t* length) {
    ++kernel.sessionInfoCalls;
    if (item == 10 && kernel.charset == 0) return WDB_FAIL;
    if (item == 2 && !kernel.dateFormKnown) return WDB_E_STORAGE;
    *number = item == 10 ? kernel.charset : kernel.dateForm;
    return item == 2 && text != nullptr ? give(kernel.dateSeparators, text, length) : WDB_OK;
}

int32_t WdbMessage(int32_t code, char* text, int32_t* length) {
    const auto found = kernel.messages.find(code);
    if (found == kernel.messages.end()) return WDB_FAIL;
    const std::string cut = found->second.substr(0, static_cast<std::size_t>(*length - 1));
    return give(cut, text, length);
}

int32_t WdbSaveStatus(void) {
    if (kernel.outOfMemory) throw std::bad_alloc();
    ++kernel.saves;
    return WDB_OK;
}

int32_t WdbLoadStatus(int32_t mode) {
    ++kernel.loads;
    return mode == 3 ? kernel.loadStatus : WDB_E_ARGUMENT;
}

int32_t QueryRCS(const char* name, char* value, int32_t* length, int32_t levels) {
    const auto found = kernel.settings.find(name);
    if (levels != 7 || found == kernel.settings.end()) {
        *value = '\0';
        return WDB_FAIL;
    }
    return give(found->second, value, length);
}

int32_t UpdateRCS(const char* name, const char* value) {
    kernel.settings[name] = value;
    return WDB_OK;
}

int32_t WdbCurrentDate(char* text, int32_t* length) {
    return give("2024-11-21", text, length);
}
int32_t WdbCurrentTime(char* text, int32_t* length) {
    return give("02:27:00", text, length);
}
int32_t WdbShellDefDateform(int32_t form, const char* separators) {
    kernel.dateForm = form;
    kernel.dateSeparators = separators;
    kernel.index.calls.push_back("form " + std::to_string(form) + " " + separators);
    return WDB_OK;
}

int32_t WdbBaseStatus(const char* baseName, char* modified, int32_t* modifiedLength, char* indexed,
                      int32_t* indexedLength, int32_t*, int32_t*) {
    FakeKernel::IndexJobs& index = kernel.index;
    if (!index.datesKnown) return WDB_E_UNSUPPORTED;
    if (!index.jobRuns) index.calls.push_back(std::string("status ") + baseName);
    if (index.jobRuns && index.asksUntilDone > 0 && --index.asksUntilDone == 0) {
        index.indexed = index.modified;
        index.jobRuns = false;
    }
    give(index.modified, modified, modifiedLength);
    return give(index.indexed, indexed, indexedLength);
}

int32_t WdbBatchLoadIndex(int32_t kind, const char* baseName, const char*) {
    kernel.index.calls.push_back("job " + std::to_string(kind) + " " + baseName);
    kernel.index.jobRuns = kernel.index.jobStatus == WDB_OK && kernel.index.datesKnown;
    return kernel.index.datesKnown ? kernel.index.jobStatus : WDB_E_UNSUPPORTED;
}

int32_t WdbCheckBase(const char* baseName, int32_t mode) {
    if (mode == 1) return kernel.index.checkStatus;
    return kernel.tables.count(baseName) != 0 ? WDB_OK : WDB_E_BASE;
}

int32_t WdbGetIntegrityRules(WdbIntegrityRules** rules) {
    const FakeKernel::IndexJobs& index = kernel.index;
    *rules = nullptr;
    if (index.rulesStatus != WDB_OK) return index.rulesStatus;
    const std::size_t size = sizeof(WdbIntegrityRules) + index.referred.size() * sizeof(WdbIntegrityRule);
    *rules = static_cast<WdbIntegrityRules*>(std::calloc(1, size));
    (*rules)->rule = reinterpret_cast<WdbIntegrityRule*>(*rules + 1);
    for (const std::string& table : index.referred) {
        WdbIntegrityRule& rule = (*rules)->rule[(*rules)->count++];
        rule.kind = table.empty() ? 2 : 1;
        std::strcpy(rule.pkTable, table.c_str());
    }
    ++kernel.index.liveLists;
    return WDB_OK;
}

int32_t WdbFreeIntegrityRules(WdbIntegrityRules** rules) {
    if (*rules != nullptr) --kernel.index.liveLists;
    std::free(*rules);
    *rules = nullptr;
    return WDB_OK;
}

int32_t WdbShellSymbol(char* symbol, int32_t* length) {
    std::string name(symbol);
    name.erase(name.find_last_not_of(' ') + 1);
    return name == "CMI" ? WDB_E_SYMBOL : give("w" + name, symbol, length);
}

int32_t WdbExecuteCcl(const char* command, int32_t* statusOut) {
    kernel.commands.emplace_back(command);
    if (kernel.commands.back().rfind("wSEL", 0) == 0) ++kernel.lastSet;
    *statusOut = kernel.cclStatus;
    return kernel.cclStatus;
}

int32_t WdbCreateRecordControl(WdbRecordControl** control) {
    *control = new WdbRecordControl;
    return WDB_OK;
}

int32_t WdbDeleteRecordControl(WdbRecordControl** control) {
    delete *control;
    *control = nullptr;
    return WDB_OK;
}

int32_t WdbSetBase(WdbRecordControl* control, const char* baseName, int32_t) {
    const auto found = kernel.tables.find(baseName);
    if (found == kernel.tables.end()) return WDB_E_BASE;
    control->columns = &found->second;
    return WDB_OK;
}

int32_t WdbCheckField(WdbRecordControl* control, char* name, int32_t* number, int32_t* type,
                      uint32_t* flags) {
    for (const FakeKernel::Column& column : *control->columns) {
        if (*name != '\0' ? column.name != name : column.number != *number) continue;
        std::strcpy(name, column.name.c_str());
        *number = column.number;
        *type = column.type;
        *flags = column.flags;
        return WDB_OK;
    }
    return WDB_E_FIELD;
}

int32_t WdbSearchResult(int32_t* setNumber, int32_t* hitCount, int32_t*, int32_t*, int32_t*) {
    if (!kernel.searches) return WDB_E_UNSUPPORTED;
    if (setNumber != nullptr) *setNumber = kernel.lastSet;
    if (hitCount != nullptr) *hitCount = static_cast<std::int32_t>(kernel.rows.size());
    return WDB_OK;
}

int32_t WdbGetRows(int32_t, int32_t rowIndex, int32_t, char** items, uint32_t** itemCount) {
    *items = nullptr;
    *itemCount = nullptr;
    if (!kernel.searches) return WDB_E_UNSUPPORTED;
    if (rowIndex < 0 || static_cast<std::size_t>(rowIndex) >= kernel.rows.size()) return WDB_FAIL;
    const FakeKernel::Row& row = kernel.rows[static_cast<std::size_t>(rowIndex)];
    if (row.status != WDB_OK) return row.status;
    std::string data;
    std::vector<std::uint32_t> words{static_cast<std::uint32_t>(row.items.size()),
                                     static_cast<std::uint32_t>(4 + 2 * row.items.size())};
    for (const FakeKernel::Item& item : row.items) {
        words.push_back(static_cast<std::uint32_t>(item.text.size()));
        words.push_back(item.flags);
        data += item.text;
        if ((item.flags & 128) != 0) data += '\0';
    }
    words.push_back(static_cast<std::uint32_t>(row.record));
    words.push_back(static_cast<std::uint32_t>(row.part));
    *items = new char[data.size() + 1];
    std::memcpy(*items, data.c_str(), data.size() + 1);
    *itemCount = reinterpret_cast<std::uint32_t*>(new char[words.size() * sizeof(std::uint32_t)]);
    std::memcpy(*itemCount, words.data(), words.size() * sizeof(std::uint32_t));
    kernel.liveBuffers += 2;
    return WDB_OK;
}

int32_t WdbDeallocate(void* memory) {
    if (memory != nullptr) --kernel.liveBuffers;
    delete[] static_cast<char*>(memory);
    return WDB_OK;
}

int32_t WdbBaseInfo(const char* baseName, int32_t item, void* info, int32_t* length) {
    const auto found = kernel.tables.find(baseName);
    if (found == kernel.tables.end()) return WDB_E_BASE;
    if (item == 3 && kernel.keys.count(baseName) != 0)
        return give(kernel.keys[baseName], static_cast<char*>(info), length);
    if (item != 4 || *length < 4) return WDB_FAIL;
    std::int32_t highest = 0;
    for (const FakeKernel::Column& column : found->second) highest = std::max(highest, column.number);
    std::memcpy(info, &highest, sizeof highest);
    return WDB_OK;
}

int32_t WdbGetDbAccess(const char* userName, WdbAccessRecord* record) {
    if (*userName == '\0') return WDB_E_NAME;
    kernel.accessUser = userName;
    *record = kernel.access[userName];
    return WDB_OK;
}

int32_t WdbPutDbAccess(const WdbAccessRecord* record) {
    if (kernel.putAccessStatus == WDB_OK) kernel.access[kernel.accessUser] = *record;
    return kernel.putAccessStatus;
}

// ---- not modelled ----
#define NOT_MODELLED(name, ...)   \
    int32_t name(__VA_ARGS__) {   \
        return WDB_E_UNSUPPORTED; \
    }
NOT_MODELLED(WdbShellDaoPtr, WdbCommandObject**, const char*, ...)
NOT_MODELLED(WdbShellToDao, WdbCommandObject*)
NOT_MODELLED(WdbDaoOrder, int32_t*)
NOT_MODELLED(WdbGetSearch, int32_t*, int32_t*, int32_t*)
NOT_MODELLED(WdbStrNormalize, const char*, char*, int32_t)
NOT_MODELLED(WdbGetRecordInSearchRis, WdbRecordControl*, int32_t, int32_t, int32_t*, char*)
NOT_MODELLED(WdbGetRecordInBase, WdbRecordControl*, int32_t)
NOT_MODELLED(WdbPutRecord, WdbRecordControl*, int32_t*)
NOT_MODELLED(WdbDeleteRecordInBase, WdbRecordControl*)
NOT_MODELLED(WdbHitParts, WdbRecordControl*, int32_t, int32_t*, int32_t*, int32_t*)
NOT_MODELLED(WdbPartCount, WdbRecordControl*, int32_t*)
NOT_MODELLED(WdbSetRecordPart, WdbCursor*, WdbRecordControl*, int32_t)
NOT_MODELLED(WdbShowControl, int32_t, int32_t, const char*, const char*)
NOT_MODELLED(WdbNextControl, WdbRecordControl**)
NOT_MODELLED(WdbSetCursor, WdbCursor**, WdbRecordControl*, int32_t, int32_t, int32_t)
NOT_MODELLED(WdbDeleteCursor, WdbCursor**)
NOT_MODELLED(WdbItemCount, WdbCursor*, int32_t*)
NOT_MODELLED(WdbParaCount, WdbCursor*, int32_t*)
NOT_MODELLED(WdbGetItem, WdbCursor*, char*, int32_t*)
NOT_MODELLED(WdbReplaceItem, WdbCursor*, const char*, int32_t)
NOT_MODELLED(WdbDeleteItem, WdbCursor*)
NOT_MODELLED(WdbGetLine, WdbCursor*, char*, int32_t*)
NOT_MODELLED(WdbPutLine, WdbCursor*, const char*, int32_t)
NOT_MODELLED(WdbGetBlobSize, WdbCursor*, int32_t*)
NOT_MODELLED(WdbGetBlobBlock, WdbCursor*, int32_t, int32_t, void*, int32_t*)
NOT_MODELLED(WdbPutBlobBlock, WdbCursor*, int32_t, const void*)
NOT_MODELLED(WdbGetBaseDef, const char*, WdbBaseDef*)
NOT_MODELLED(WdbPutBaseDef, const WdbBaseDef*)
NOT_MODELLED(WdbDeleteBaseDef, void)
NOT_MODELLED(WdbGetFieldSpec, WdbFieldSpec*)
NOT_MODELLED(WdbPutFieldSpec, const WdbFieldSpec*)
NOT_MODELLED(WdbPutDefaultValue, const WdbFieldSpec*, const char*)
NOT_MODELLED(WdbSetForeignKey, const char*, const char*, const char*, int32_t, int32_t)
NOT_MODELLED(WdbCallAse, WdbAse*, const char*, char*, int32_t*)
#undef NOT_MODELLED

int32_t WdbLoadAse(const char*, WdbAse**) {
    return WDB_E_ASE;
}

}  // extern "C"
