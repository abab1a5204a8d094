#include "tests/model/Home.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace model {

void require(int32_t status, const char* what) {
    if (WDB_SUCCESS(status)) return;
    char text[256] = "";
    int32_t length = sizeof text;
    WdbLastError(nullptr, nullptr, text, &length);
    std::fprintf(stderr, "%s answered %d (%s)\n", what, status, text);
    std::abort();
}

Home::Home() {
    // In memory where that can be had: what is on the disk is what other tests are for.
    for (const char* parent : {"/dev/shm", "/tmp"}) {
        std::string name = std::string(parent) + "/welk-model-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) continue;
        path_ = name;
        return;
    }
    std::abort();
}

Home::~Home() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

BoundSession::BoundSession(const std::string& path) {
    require(WdbOpenSession(path.c_str(), "OWNER", "", WDB_OPEN_CREATE, &session_), "WdbOpenSession");
    require(WdbBindSession(session_), "WdbBindSession");
}

BoundSession::~BoundSession() {
    require(WdbCloseSession(&session_), "WdbCloseSession");
}

void createBase(const char* name, const std::vector<FieldPlan>& fields, const char* uniqueKey) {
    WdbBaseDef definition;
    std::memset(&definition, 0, sizeof definition);
    require(WdbGetBaseDef(name, &definition), "WdbGetBaseDef");
    for (const FieldPlan& plan : fields) {
        WdbFieldSpec field;
        std::memset(&field, 0, sizeof field);
        std::snprintf(field.name, sizeof field.name, "%s", plan.name);
        std::snprintf(field.typeName, sizeof field.typeName, "%s", plan.typeName);
        field.indexed = std::string_view(plan.typeName) != "STRING";
        field.mandatory = std::string_view(plan.name) == uniqueKey;
        field.part = plan.part;
        require(WdbPutFieldSpec(&field), "WdbPutFieldSpec");
    }
    std::snprintf(definition.baseFile, sizeof definition.baseFile, "WELKSQL$BASES:%s.BAF", name);
    std::snprintf(definition.indexFile, sizeof definition.indexFile, "WELKSQL$BASES:%s.BIF", name);
    std::snprintf(definition.valueFile, sizeof definition.valueFile, "WELKSQL$BASES:%s.VIF", name);
    std::snprintf(definition.uniqueKey, sizeof definition.uniqueKey, "%s", uniqueKey);
    std::memcpy(definition.charset, "MUL", 4);
    definition.active = 1;
    require(WdbPutBaseDef(&definition), "WdbPutBaseDef");
}

int32_t putItem(WdbRecordControl* control, int32_t field, int32_t item, std::string_view value) {
    WdbCursor* cursor = nullptr;
    int32_t status = WdbSetCursor(&cursor, control, field, 0, item);
    if (WDB_SUCCESS(status)) {
        status = value.empty() ? WdbDeleteItem(cursor)
                               : WdbReplaceItem(cursor, value.data(), static_cast<int32_t>(value.size()));
    }
    WdbDeleteCursor(&cursor);
    return status;
}

std::vector<int32_t> find(const std::string& expression) {
    int32_t status = WDB_OK;
    WdbExecuteCcl(("FIND " + expression).c_str(), &status);
    if (!WDB_SUCCESS(status)) return {-status};
    int32_t set = 0;
    int32_t count = 0;
    status = WdbGetSearch(&set, &count, nullptr);
    if (!WDB_SUCCESS(status)) return {-status};
    std::vector<int32_t> records;
    WdbRecordControl* control = nullptr;
    require(WdbCreateRecordControl(&control), "WdbCreateRecordControl");
    for (int32_t ordinal = 1; ordinal <= count && WDB_SUCCESS(status); ++ordinal) {
        int32_t record = 0;
        char base[WDB_BASE_NAME_SIZE];
        status = WdbGetRecordInSearchRis(control, set, ordinal, &record, base);
        records.push_back(WDB_SUCCESS(status) ? record : -status);
    }
    WdbDeleteRecordControl(&control);
    return records;
}

std::vector<int32_t> select(const std::string& base, const std::string& where, const std::string& sort) {
    std::string command = "SELECT  FROM(" + base + ") FIELD(" + base + ".R) ";
    if (!where.empty()) command += " WHERE(" + where + ")";
    if (!sort.empty()) command += " SORT(" + sort + ")";
    int32_t status = WDB_OK;
    WdbExecuteCcl(command.c_str(), &status);
    if (!WDB_SUCCESS(status)) return {-status};
    int32_t set = 0;
    int32_t count = 0;
    WdbSearchResult(&set, &count, nullptr, nullptr, nullptr);
    std::vector<int32_t> records;
    for (int32_t row = 0; row < count; ++row) {
        char* data = nullptr;
        uint32_t* items = nullptr;
        status = WdbGetRows(set, row, 1, &data, &items);
        records.push_back(WDB_SUCCESS(status) ? static_cast<int32_t>(items[2 + 2 * items[0]]) : -status);
        WdbDeallocate(data);
        WdbDeallocate(items);
    }
    return records;
}

}  // namespace model
