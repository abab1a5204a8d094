#include "src/SelectJoins.h"

#include <map>
#include <vector>

#include "include/wdb.h"
#include "src/ElementAt.h"
#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ValidateSelect";
constexpr std::int32_t kBaseInfoKeyField = 3;

/// The entries of one SELECT.
class JoinValidator {
public:
    JoinValidator(WSQLFilter& filter, WSQLStmtSelect& select) : filter_(filter), select_(select) {}

    bool run() {
        for (std::int32_t i = 0; i < select_.joins->Count(); ++i) {
            WSQLWelkJoin& join = elementAt(*select_.joins, i);
            if (!tableExists(*join.leftTable, 1748) || !tableExists(*join.rightTable, 1757)) return false;
            if (join.kind == JoinKind::kCross) continue;
            const bool natural = JoinKind::isNatural(join.kind) && !join.leftColumn && !join.rightColumn;
            if (natural && !equalNames(join.leftTable->table, join.rightTable->table)) {
                if (!expandNatural(i)) return false;
                --i;  // the entries that took its place are checked next
            } else if (natural ? !selfJoin(join) : !bindColumns(join)) {
                return false;
            }
        }
        return true;
    }

private:
    bool tableExists(const WSQLTableRef& table, std::int32_t line) {
        // FROM tables have been checked before.
        if (select_.findTable(table.qualifier()) != nullptr || filter_.DBTableExists(table.table.c_str()))
            return true;
        filter_.ReportValidationFault(line, kContext, "Table \"%s\" does not exist.", table.table.c_str());
        return false;
    }

    bool bindColumns(WSQLWelkJoin& join) {
        return bindSide(join.rightColumn.get(), *join.rightTable, 1873) &&
               bindSide(join.leftColumn.get(), *join.leftTable, 1881);
    }

    bool bindSide(WSQLColumnRef* column, const WSQLTableRef& table, std::int32_t line) {
        const bool bound = column != nullptr && meansTable(*column, table) && bindTo(*column, table);
        if (bound) return true;
        filter_.ReportValidationFault(line, kContext, "Column \"%s\" does not exist in table \"%s\".",
                                      column != nullptr ? column->column.c_str() : "(null)",
                                      table.table.c_str());
        return false;
    }

    /// Whether the column's qualifier, if it has one, names the table of its side.
    bool meansTable(const WSQLColumnRef& column, const WSQLTableRef& table) const {
        if (column.qualifier().empty()) return true;
        const WSQLTableRef* named = select_.findTable(column.qualifier());
        return named != nullptr && equalNames(named->qualifier(), table.qualifier());
    }

    /// Binds in the FROM table itself, whose field list is loaded.
    bool bindTo(WSQLColumnRef& column, const WSQLTableRef& table) {
        const WSQLTableRef* from = select_.findTable(table.qualifier());
        return filter_.BindInTable(&column, from != nullptr ? *from : table);
    }

    /// The FROM table itself, whose field list is loaded.
    const WSQLTableRef& withFields(WSQLTableRef& copy) {
        const WSQLTableRef* table = select_.findTable(copy.qualifier());
        if (table != nullptr && table->fields) return *table;
        filter_.LoadFields(&copy);
        return copy;
    }

    bool expandNatural(std::int32_t index) {
        const std::unique_ptr<WSQLWelkJoin> natural = select_.joins->take(index);
        const WSQLTableRef& left = withFields(*natural->leftTable);
        const WSQLTableRef& right = withFields(*natural->rightTable);
        const std::int32_t first = index;
        for (std::int32_t l = 0; l < left.fields->Count(); ++l) {
            for (std::int32_t r = 0; r < right.fields->Count(); ++r) {
                const WELKFieldInfo& a = *left.fields->Get(l);
                const WELKFieldInfo& b = *right.fields->Get(r);
                if (a.type == b.type && a.type != WDB_T_TEXT && a.type != WDB_T_STRING &&
                    equalNames(a.name, b.name)) {
                    select_.joins->insert(index++, pairEntry(*natural, a, b));
                }
            }
        }
        if (index > first) return true;
        filter_.setLastStatus(0);
        filter_.ReportValidationFault(1862, kContext, "NATURAL join between %s and %s is not possible.",
                                      natural->leftTable->table.c_str(), natural->rightTable->table.c_str());
        return false;
    }

    std::unique_ptr<WSQLWelkJoin> pairEntry(const WSQLWelkJoin& natural, const WELKFieldInfo& left,
                                            const WELKFieldInfo& right) {
        auto entry = std::make_unique<WSQLWelkJoin>();
        entry->kind = natural.kind - 1;
        entry->leftTable = natural.leftTable->clone();
        entry->rightTable = natural.rightTable->clone();
        entry->leftColumn = std::make_unique<WSQLColumnRef>(left.name);
        entry->rightColumn = std::make_unique<WSQLColumnRef>(right.name);
        filter_.debug(kContext, "Creating JOIN: %s.%s=%s.%s\n", entry->leftTable->table.c_str(),
                      left.name.c_str(), entry->rightTable->table.c_str(), right.name.c_str());
        return entry;
    }

    bool selfJoin(WSQLWelkJoin& join) {
        const char* table = join.leftTable->table.c_str();
        char key[256] = {};
        std::int32_t length = sizeof key;
        const std::int32_t status = WdbBaseInfo(table, kBaseInfoKeyField, key, &length);
        if (!WDB_SUCCESS(status) || key[0] == '\0') {
            filter_.ReportValidationFault(1796, kContext,
                                          "Cannot do a self join on %s - no primary key column.", table);
            return false;
        }
        join.leftColumn = std::make_unique<WSQLColumnRef>(key);
        join.rightColumn = std::make_unique<WSQLColumnRef>(key);
        return bindColumns(join);
    }

    WSQLFilter& filter_;
    WSQLStmtSelect& select_;
};

/// Which names of FROM tables the entries connect with the first one. (Tables of one name count as one: the
/// kernel refuses them.)
class Reach {
public:
    explicit Reach(const WSQLStmtSelect& select) {
        for (std::int32_t i = 0; i < select.tables->Count(); ++i) {
            numbers_.emplace(upper(elementAt(*select.tables, i).qualifier()),
                             static_cast<std::int32_t>(numbers_.size()));
        }
        reached_.assign(numbers_.size(), false);
        reached_[0] = true;
    }
    bool has(const WSQLTableRef& table) const {
        const auto found = numbers_.find(upper(table.qualifier()));
        return found != numbers_.end() && reached_[static_cast<std::size_t>(found->second)];
    }
    void add(const WSQLTableRef& table) {
        const auto found = numbers_.find(upper(table.qualifier()));
        if (found != numbers_.end()) reached_[static_cast<std::size_t>(found->second)] = true;
    }
    bool all() const {
        for (const bool reached : reached_) {
            if (!reached) return false;
        }
        return true;
    }

private:
    static std::string upper(std::string name) {
        for (char& c : name) c = asciiUpper(c);
        return name;
    }
    std::map<std::string, std::int32_t> numbers_;
    std::vector<bool> reached_;
};

}  // namespace

bool validateJoins(WSQLFilter& filter, WSQLStmtSelect& select) {
    return JoinValidator(filter, select).run();
}

bool connectJoins(WSQLStmtSelect& select) {
    Reach reach(select);
    NodeList<WSQLWelkJoin>& joins = *select.joins;
    for (std::int32_t done = 0; done < joins.Count(); ++done) {
        std::int32_t next = done;
        while (next < joins.Count() && !reach.has(*elementAt(joins, next).leftTable) &&
               !reach.has(*elementAt(joins, next).rightTable)) {
            ++next;
        }
        if (next == joins.Count()) return false;
        if (next != done) joins.insert(done, joins.take(next));
        reach.add(*elementAt(joins, done).leftTable);
        reach.add(*elementAt(joins, done).rightTable);
    }
    return reach.all();
}

}  // namespace wsql
