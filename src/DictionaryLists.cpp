#include "src/DictionaryLists.h"

#include <algorithm>
#include <string>

#include "include/wdb.h"
#include "src/DictionaryCondition.h"
#include "src/WSQLFilter.h"
#include "src/WSQLResultSetColumn.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr const char* kColumnsContext = "DICT_GetColumnsList";
constexpr const char* kReferencesContext = "DICT_GetReferencesList";
constexpr std::int32_t kReferentialRule = 1;

/// The databases that an index stands for.
struct Walk {
    std::size_t begin, end;
    Walk(const std::vector<DatabaseEntry>& databases, std::int32_t index)
        : begin(index < 0 ? 0 : static_cast<std::size_t>(index)),
          end(index < 0 ? databases.size() : std::min(begin + 1, databases.size())) {}
};

const char* actionWord(std::int32_t action) {
    switch (action) {
        case WDB_ACT_CASCADE:
            return "CASCADE";
        case WDB_ACT_NO_ACTION:
            return "NO_ACTION";
        case WDB_ACT_SET_NULL:
            return "SET_NULL";
        case WDB_ACT_SET_DEFAULT:
            return "SET_DEFAULT";
        default:
            return "RESTRICT";
    }
}

std::string typeName(std::int32_t type) {
    WSQLResultSetColumn column;
    column.setType(type);
    return column.typeName;
}

/// The kernel's list of one database's rules.
class RuleList {
public:
    RuleList() = default;
    RuleList(const RuleList&) = delete;
    RuleList& operator=(const RuleList&) = delete;
    ~RuleList() { WdbFreeIntegrityRules(&list_); }
    std::int32_t read() { return WdbGetIntegrityRules(&list_); }
    std::int32_t count() const { return list_ != nullptr ? list_->count : 0; }
    const WdbIntegrityRule& at(std::int32_t index) const { return list_->rule[index]; }

private:
    WdbIntegrityRules* list_ = nullptr;
};

std::unique_ptr<WDBSReference> reference(const WdbIntegrityRule& rule, std::int32_t number) {
    auto row = std::make_unique<WDBSReference>(number);
    row->fkTable = rule.fkTable;
    row->fkColumn = rule.fkColumn;
    row->pkTable = rule.pkTable;
    row->pkColumn = rule.pkColumn;
    row->deleteRule = actionWord(rule.deleteAction);
    row->updateRule = actionWord(rule.updateAction);
    return row;
}

/// Adds the row when the condition keeps it; false after a fault.
bool offer(const DictionaryCondition& condition, std::unique_ptr<WDBSRow> row, WDBSList& rows, bool& kept) {
    if (!condition.judge(*row, kept)) return false;
    if (kept) rows.push_back(std::move(row));
    return true;
}

bool referencesOf(WSQLFilter& filter, const std::string& database, const DictionaryCondition& condition,
                  WDBSList& rows) {
    std::int32_t status = WdbCheckBase(database.c_str(), 1);
    if (status == WDB_E_BASE) return true;
    if (!WDB_SUCCESS(status)) {
        filter.ReportKernelError(status, "WdbGetBaseDef", "");
        return false;
    }
    RuleList rules;
    status = rules.read();
    if (!WDB_SUCCESS(status)) {
        filter.ReportKernelError(status, "WdbGetIntegrityRules", "");
        return false;
    }
    filter.debug(kReferencesContext, "There are %d referential relations for %s.\n", rules.count(),
                 database.c_str());
    for (std::int32_t i = 0; i < rules.count(); ++i) {
        filter.debug(kReferencesContext, "Processing integrity rule #%d for database \"%s\"\n", i + 1,
                     database.c_str());
        bool kept = false;
        if (rules.at(i).kind == kReferentialRule &&
            !offer(condition, reference(rules.at(i), i + 1), rows, kept)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool DICT_GetTablesList(WSQLFilter& /*filter*/, const std::vector<DatabaseEntry>& databases,
                        const DictionaryCondition& condition, std::int32_t index, WDBSList& rows) {
    const Walk walk(databases, index);
    for (std::size_t i = walk.begin; i < walk.end; ++i) {
        bool kept = false;
        auto row = std::make_unique<WDBSTables>(static_cast<std::int32_t>(i) + 1, databases[i].name,
                                                databases[i].owner);
        if (!offer(condition, std::move(row), rows, kept)) return false;
    }
    return true;
}

bool DICT_GetColumnsList(WSQLFilter& filter, const std::vector<DatabaseEntry>& databases,
                         const DictionaryCondition& condition, std::int32_t index, WDBSList& rows) {
    filter.debug(kColumnsContext, "Column meta data generation started.\n");
    filter.debug(kColumnsContext, "There are %d databases to process.\n",
                 static_cast<std::int32_t>(databases.size()));
    const Walk walk(databases, index);
    for (std::size_t i = walk.begin; i < walk.end; ++i) {
        WSQLTableRef table(databases[i].name);
        filter.LoadFields(&table);
        for (std::int32_t n = 0; n < table.fields->Count(); ++n) {
            filter.debug(kColumnsContext, "Processing column #%d\n", n + 1);
            const WELKFieldInfo& field = *table.fields->Get(n);
            auto row = std::make_unique<WDBSColumns>(static_cast<std::int32_t>(i) + 1);
            row->tableName = databases[i].name;
            row->columnName = field.name;
            row->sqlType = typeName(field.type);
            row->nullable = field.nullable ? 0 : 1;
            row->ordinal = static_cast<std::int32_t>(field.number);
            row->primaryKey = field.primaryKey ? 1 : 0;
            if (!condition.exists()) filter.debug(kColumnsContext, "No condition - row ok.");
            bool kept = false;
            if (!offer(condition, std::move(row), rows, kept)) return false;
            if (kept) {
                filter.debug(kColumnsContext, "Adding row %d to result list.\n",
                             static_cast<std::int32_t>(rows.size()));
            }
        }
    }
    filter.debug(kColumnsContext, "Column list generated.\n");
    return true;
}

bool DICT_GetReferencesList(WSQLFilter& filter, const std::vector<DatabaseEntry>& databases,
                            const DictionaryCondition& condition, std::int32_t index, WDBSList& rows) {
    filter.debug(kReferencesContext, "References meta data generation started.\n");
    filter.debug(kReferencesContext, "There are %d databases to process.\n",
                 static_cast<std::int32_t>(databases.size()));
    const Walk walk(databases, index);
    for (std::size_t i = walk.begin; i < walk.end; ++i) {
        if (!referencesOf(filter, databases[i].name, condition, rows)) return false;
    }
    filter.debug(kReferencesContext, "Added %d rows to dictionary selection list.\n",
                 static_cast<std::int32_t>(rows.size()));
    return true;
}

}  // namespace wsql
