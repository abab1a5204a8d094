// The checks of a SELECT, and the completion of its tree: expanded "*", labels, bound columns, ORDER BY
// positions.
#include <vector>

#include "src/DictionaryTables.h"
#include "src/ElementAt.h"
#include "src/JoinConditions.h"
#include "src/JoinSteps.h"
#include "src/SelectJoins.h"
#include "src/ValidationFault.h"
#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ValidateSelect";
constexpr const char* kNoColumn = "Could not find column \"%s\" in any specified table.";

std::string positionLabel(const char* word, std::int32_t position) {
    char label[32];
    std::snprintf(label, sizeof label, "%s%03d", word, position);
    return label;
}

bool sameColumn(const WSQLColumnRef& a, const WSQLColumnRef& b) {
    return equalNames(a.column, b.column) && equalNames(a.table, b.table);
}

/// 1-based position of the item that goes by the column's name or label; 0 when there is none.
std::int32_t namedPosition(const WSQLStmtSelect& select, const WSQLColumnRef& column) {
    for (std::int32_t i = 0; i < select.itemCount(); ++i) {
        const WSQLScalar& item = elementAt(select.items(), i);
        const WSQLColumnRef* other = item.asColumnRef();
        const bool byName = other != nullptr && equalNames(other->column, column.column) &&
                            (column.table.empty() || equalNames(other->qualifier(), column.table) ||
                             equalNames(other->table, column.table));
        if (byName || (column.table.empty() && equalNames(item.label, column.column))) return i + 1;
    }
    return 0;
}

/// 1-based position of the item with that label; 0 when there is none.
std::int32_t labelPosition(const WSQLStmtSelect& select, const std::string& label) {
    for (std::int32_t i = 0; i < select.itemCount(); ++i) {
        if (equalNames(elementAt(select.items(), i).label, label)) return i + 1;
    }
    return 0;
}

/// The checks of one SELECT, in the order in which they report.
class SelectValidator {
public:
    SelectValidator(WSQLFilter& filter, WSQLStmtSelect& select, bool inUnion)
        : filter_(filter), select_(select), inUnion_(inUnion) {}

    bool run() {
        filter_.debug(kContext, "Validating SELECT statement.\n");
        takeJoinTables(select_);
        if (!tables()) return false;
        makeJoinEntries(select_);
        if (!expandAll() || !items() || !orderBy() || !functions() || !groupBy() || !dependencies())
            return false;
        return isDictionary() || (where() && validateJoins(filter_, select_));
    }

private:
    bool isDictionary() const { return kind_ != DictionaryKind::kNone; }

    bool tables() {
        for (std::int32_t i = 0; i < select_.tables->Count(); ++i) {
            WSQLTableRef& table = elementAt(*select_.tables, i);
            filter_.LoadFields(&table);
            if (!(isDictionaryTable(table) ? dictionaryTable(table) : tableExists(table))) return false;
        }
        filter_.debug(kContext, "-> Table list ok.\n");
        return true;
    }

    bool dictionaryTable(const WSQLTableRef& table) {
        const DictionaryKind kind = dictionaryKind(table.table);
        if (kind != DictionaryKind::kNone) {
            kind_ = kind;
            return true;
        }
        filter_.ReportValidationFault(1333, kContext, "Table \"WDBS.%s\" does not exist.",
                                      table.table.c_str());
        return false;
    }

    bool tableExists(const WSQLTableRef& table) {
        // A field list that was filled shows that the table is there.
        if (table.fields->Count() > 0 || filter_.DBTableExists(table.table.c_str())) return true;
        filter_.ReportValidationFault(1341, kContext, "Table \"%s\" does not exist.", table.table.c_str());
        return false;
    }

    bool expandAll() {
        for (std::int32_t i = select_.itemCount() - 1; i >= 0; --i) {
            WSQLScalar& item = elementAt(select_.items(), i);
            if (item.asColumnRef() != nullptr || dynamic_cast<WSQLAllColumns*>(&item) == nullptr ||
                select_.expandItem(i)) {
                continue;
            }
            filter_.ReportValidationFault(1364, kContext, "Failed to expand column #%d.", i + 1);
            return false;
        }
        if (select_.itemCount() == 0 && select_.distinct && !select_.expandItem(0)) {
            filter_.ReportValidationFault(1378, kContext, "%s",
                                          "Failed to expand column projection for DISTINCT operation.");
            return false;
        }
        return true;
    }

    bool items() {
        for (std::int32_t i = 0; i < select_.itemCount(); ++i) {
            WSQLScalar* item = &elementAt(select_.items(), i);
            if (WSQLColumnRef* column = item->asColumnRef()) {
                if (!columnItem(*column, i)) return false;
            } else if (WSQLFunctionRef* function = item->asFunctionRef()) {
                functions_.push_back(function);
            } else if (const auto* query = dynamic_cast<const WSQLLiteralSelect*>(item)) {
                if (!filter_.ValidateLiteralSelect(query->select.get())) return false;
            } else if (item->isConstant()) {
                if (item->label.empty()) item->label = positionLabel("COLUMN", i + 1);
            } else if (!bindOperands(item)) {
                return false;
            }
        }
        filter_.debug(kContext, "-> Regular columns ok.\n");
        return true;
    }

    bool columnItem(WSQLColumnRef& column, std::int32_t index) {
        // The columns that "*" was expanded into come bound from the table's field list.
        const bool bound = column.fieldNumber >= 1 || isDictionary();
        if (!bound && !filter_.DBColumnExists(&column, select_.tables.get())) {
            if (!column.maybeConstant()) {
                filter_.ReportValidationFault(1450, kContext, kNoColumn, column.column.c_str());
                return false;
            }
            auto text = std::make_unique<WSQLChar>(column.column, column.constantQuote);
            text->label = column.label;
            if (text->label.empty()) {
                text->label = positionLabel(column.constantQuote == '\'' ? "COLUMN" : "Column", index + 1);
            }
            select_.replaceItem(index, std::move(text));
            return true;
        }
        if (bound) filter_.setLastStatus(WDB_OK);  // as a look-up of it would
        if (column.subscript > 0 && (column.fieldType == WDB_T_TEXT || column.fieldType == WDB_T_STRING)) {
            filter_.ReportValidationFault(
                1460, kContext,
                "Invalid column reference \"%s\": Can not refer to LONG VARCHAR/VARBINARY "
                "columns with an index.",
                column.column.c_str());
            return false;
        }
        notePartField(column);
        columns_.push_back(&column);
        return true;
    }

    /// Columns inside arithmetic, arguments of its functions included, are bound like items of their own, but
    /// are none.
    bool bindOperands(WSQLScalar* item) {
        if (isDictionary()) return true;
        for (;;) {
            if (WSQLFunctionRef* function = item->asFunctionRef()) {
                if (!function->argument) return true;
                item = function->argument.get();
            }
            if (WSQLColumnRef* column = item->asColumnRef()) {
                if (filter_.DBColumnExists(column, select_.tables.get())) {
                    notePartField(*column);
                    return true;
                }
                filter_.ReportValidationFault(1450, kContext, kNoColumn, column->column.c_str());
                return false;
            }
            auto* operation = dynamic_cast<WSQLOperation*>(item);
            if (operation == nullptr) return true;
            if (!bindOperands(operation->right())) return false;
            item = operation->left();
        }
    }

    bool orderBy() {
        if (count(select_.orderBy) == 0) return true;
        if (isDictionary()) {
            filter_.ReportValidationFault(1495, kContext, "%s",
                                          "Cannot use ORDER BY with dictionary selection.");
            return false;
        }
        for (std::int32_t i = 0; i < select_.orderBy->Count(); ++i) {
            if (!orderByItem(elementAt(*select_.orderBy, i))) return false;
        }
        filter_.debug(kContext, "-> Order by columns ok.\n");
        for (std::int32_t i = 0; i < select_.tables->Count(); ++i) {
            const WSQLTableRef& table = elementAt(*select_.tables, i);
            if (!table.hasPartRecords) continue;
            filter_.setLastStatus(0);
            filter_.ReportValidationFault(1563, kContext,
                                          "The part record structure of \"%s\" disallows usage of ORDER BY.",
                                          table.table.c_str());
            return false;
        }
        return true;
    }

    bool orderByItem(WSQLOrderByItem& order) {
        if (!order.column && order.position < 1) {
            filter_.ReportValidationFault(1507, kContext, "%s", "Invalid order-by expression.");
            return false;
        }
        if (inUnion_) {
            // The rows of a union have no tables, only positions.
            if (order.column) order.position = namedPosition(select_, *order.column);
            return true;
        }
        if (!order.column) {
            const WSQLScalar* item = select_.item(order.position - 1);
            const WSQLColumnRef* column = item != nullptr ? item->asColumnRef() : nullptr;
            // One value of a field is sorted by its position: as a column the whole field would sort.
            if (column != nullptr && column->subscript == 0) order.column = column->cloneColumn();
            // A copy of a bound column is bound, as if it had been looked up.
            if (order.column) filter_.setLastStatus(WDB_OK);
            return true;
        }
        const std::string typed = order.column->column;
        const bool qualified = !order.column->table.empty();
        if (!filter_.DBColumnExists(order.column.get(), select_.tables.get())) {
            // What is no column of a table may be the label of an item: a column by another name, or a value.
            const std::int32_t labelled = qualified ? 0 : labelPosition(select_, typed);
            if (labelled > 0) {
                order.column.reset();
                order.position = labelled;
                filter_.setLastStatus(WDB_OK);
                return orderByItem(order);
            }
            if (order.column->maybeConstant()) {
                filter_.ReportValidationFault(1532, kContext, "%s",
                                              "String constants not valid in order-by expression.");
            } else {
                filter_.ReportValidationFault(1543, kContext, "Order-by column \"%s\" does not exist.",
                                              typed.c_str());
            }
            return false;
        }
        order.position = positionOf(*order.column, typed);
        return true;
    }

    /// 1-based position of the select item with that column or label; 0 when there is none.
    std::int32_t positionOf(const WSQLColumnRef& column, const std::string& typed) const {
        for (std::int32_t i = 0; i < select_.itemCount(); ++i) {
            const WSQLScalar& item = elementAt(select_.items(), i);
            const WSQLColumnRef* other = item.asColumnRef();
            if ((other != nullptr && sameColumn(*other, column)) || equalNames(item.label, typed))
                return i + 1;
        }
        return 0;
    }

    bool functions() {
        for (WSQLFunctionRef* function : functions_) {
            if (function == nullptr) {
                filter_.ReportValidationFault(1576, kContext, "%s",
                                              "Internal error - NULL pointer in function reference list.");
                return false;
            }
            if (function->name[0] != '\0' && !functionItem(*function)) return false;
        }
        filter_.debug(kContext, "-> Aggregate functions ok.\n");
        return true;
    }

    bool functionItem(WSQLFunctionRef& function) {
        const bool isCount = equalNames(function.name, "COUNT");
        const bool isValueList = equalNames(function.name, "VALUELIST");
        WSQLColumnRef* column = function.argument ? function.argument->asColumnRef() : nullptr;
        if (!isValueList) aggregates_ = true;
        if (column == nullptr) {
            if (isCount && (!function.argument || isValue(*function.argument))) return true;
            if (function.argument && !bindOperands(function.argument.get())) return false;
            filter_.ReportValidationFault(1592, kContext, "Column reference is required for function %s\n.",
                                          function.name);
            return false;
        }
        if (column->subscript > 0) {
            filter_.ReportValidationFault(1602, kContext,
                                          "WELK subfield index is not permitted in aggregate function %s\n.",
                                          function.name);
            return false;
        }
        if (!isDictionary() && !filter_.DBColumnExists(column, select_.tables.get())) {
            filter_.ReportValidationFault(1612, kContext, kNoColumn, column->column.c_str());
            return false;
        }
        notePartField(*column);
        if (isValueList) return true;
        if (!isCount && !isAggregable(column->fieldType)) {
            filter_.ReportValidationFault(
                268, kContext, "%s", "Type of aggregate function argument must be numeric or date/time.");
            return false;
        }
        for (const WSQLColumnRef* regular : columns_) {
            if (!sameColumn(*regular, *column)) continue;
            filter_.ReportValidationFault(
                1639, kContext,
                "Aggregate function %s argument \"%s.%s\" cannot be specified in non-aggregate "
                "column.",
                function.name, column->table.c_str(), column->column.c_str());
            return false;
        }
        return true;
    }

    /// Whether rows can be counted by it: every row has it.
    static bool isValue(const WSQLScalar& scalar) {
        return scalar.isConstant() && !scalar.constantValue().null;
    }

    bool groupBy() {
        for (std::int32_t i = 0; i < count(select_.groupBy) && !isDictionary(); ++i) {
            WSQLColumnRef& column = elementAt(*select_.groupBy, i);
            if (!filter_.DBColumnExists(&column, select_.tables.get())) {
                filter_.ReportValidationFault(1665, kContext,
                                              "Could not find group-by column \"%s\" in any specified table.",
                                              column.column.c_str());
                return false;
            }
            filter_.debug(kContext, "-> Group-by list ok.\n");
        }
        return true;
    }

    bool dependencies() {
        if (aggregates_ && !columns_.empty() && !functions_.empty()) {
            for (const WSQLColumnRef* column : columns_) {
                if ((column->fieldNumber < 1 && !isDictionary()) || isGroupColumn(*column)) continue;
                const char* separator = column->table.empty() ? "" : ".";
                filter_.ReportValidationFault(1702, kContext, "Column \"%s%s%s\" must be in group-by list.",
                                              column->table.c_str(), separator, column->column.c_str());
                return false;
            }
            filter_.debug(kContext, "-> Aggregate dependencies verified.\n");
        }
        filter_.debug(kContext, "-> SELECT validation complete.\n");
        return true;
    }

    bool isGroupColumn(const WSQLColumnRef& column) const {
        for (std::int32_t i = 0; i < count(select_.groupBy); ++i) {
            if (sameColumn(elementAt(*select_.groupBy, i), column)) return true;
        }
        return false;
    }

    bool where() {
        if (!filter_.ValidateCondition(&select_, select_.where.get()) ||
            rewriteSubselects(filter_, select_) < 0 || extractJoins(filter_, select_) < 0) {
            return false;
        }
        if (!filter_.logs(kLogDebug)) return true;
        CStringBuffer text(256);
        if (select_.where) select_.where->toText(text);
        filter_.debug(kContext, "CONDITION: %s\n", select_.where ? text.text() : "(null)");
        return true;
    }

    void notePartField(const WSQLColumnRef& column) {
        if ((column.fieldFlags & WSQLColumnRef::kPartField) != 0) select_.needsPartRecords = true;
    }

    WSQLFilter& filter_;
    WSQLStmtSelect& select_;
    bool inUnion_;
    DictionaryKind kind_ = DictionaryKind::kNone;
    std::vector<WSQLColumnRef*> columns_;
    std::vector<WSQLFunctionRef*> functions_;
    bool aggregates_ = false;
};

/// Finds among the items of the first member what the items of the last one did not name.
bool bindUnionOrder(WSQLFilter& filter, const WSQLStmtSelect& first, WSQLStmtSelect& last) {
    for (std::int32_t i = 0; i < count(last.orderBy); ++i) {
        WSQLOrderByItem& order = elementAt(*last.orderBy, i);
        if (order.column && order.position == 0) order.position = namedPosition(first, *order.column);
        if (order.position > 0) continue;
        filter.ReportValidationFault(1507, kContext, "%s", "Invalid order-by expression.");
        return false;
    }
    return true;
}

}  // namespace

// The last member of a union reports first.
bool WSQLFilter::ValidateSelect(WSQLStmtSelect* select) {
    if (select->nextUnion == nullptr) return SelectValidator(*this, *select, false).run();
    std::vector<WSQLStmtSelect*> members;
    for (WSQLStmtSelect* member = select; member != nullptr; member = member->nextUnion.get())
        members.push_back(member);
    for (auto member = members.rbegin(); member != members.rend(); ++member) {
        if (!SelectValidator(*this, **member, true).run()) return false;
    }
    return bindUnionOrder(*this, *select, *members.back());
}

}  // namespace wsql
