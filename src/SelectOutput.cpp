#include "src/SelectOutput.h"

#include <algorithm>

#include "include/wdb.h"
#include "src/DictionarySelect.h"
#include "src/ElementAt.h"
#include "src/WSQLFilter.h"
#include "src/WSQLResultSetColumn.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CclText.h"

namespace wsql {
namespace {

bool comesByReference(std::int32_t type) {
    return type == WDB_T_TEXT || type == WDB_T_STRING;
}

void describeColumn(OutputColumn& output, const WSQLColumnRef& column) {
    output.type = column.fieldType;
    output.flags = column.fieldFlags;
    output.fieldNumber = column.fieldNumber;
    if (comesByReference(column.fieldType)) {
        output.field = std::make_unique<WELKFieldInfo>(column.table, column.column,
                                                       static_cast<std::uint32_t>(column.fieldNumber),
                                                       column.fieldFlags, column.fieldType);
    }
    if (column.subscript > 0) {
        output.subscript = column.subscript;
        output.range.first = output.range.last = column.subscript;
    }
}

/// Kernel type of an item as rows report it.
std::int32_t rowType(const ConstantValue& value) {
    return value.kind == ConstantValue::Kind::kInteger ? WDB_T_INTEGER
           : value.kind == ConstantValue::Kind::kReal  ? WDB_T_NUMBER
                                                       : WDB_T_PHRASE;
}

}  // namespace

SelectOutput::SelectOutput(WSQLFilter& filter, const WSQLStmtSelect& select, Values values)
    : values_(values),
      isStatic_(select.tables->Count() == 0 && values != Values::kUnion),
      isDictionary_(selectsDictionary(select)) {
    columns_.reserve(static_cast<std::size_t>(select.itemCount()));
    for (std::int32_t i = 0; i < select.itemCount(); ++i)
        addItem(filter, select, elementAt(select.items(), i));
    for (std::int32_t i = 0; i < select.tables->Count() && select.itemCount() == 0; ++i) {
        const WSQLTableRef& table = elementAt(*select.tables, i);
        for (std::int32_t n = 0; table.fields && n < table.fields->Count(); ++n)
            addField(*table.fields->Get(n));
    }
    // The settings are of no interest where no value comes by reference.
    const bool references = std::any_of(columns_.begin(), columns_.end(),
                                        [](const OutputColumn& column) { return column.field != nullptr; });
    if (references || isUnion()) {
        selectText_ = filter.selectText();
        selectBlob_ = filter.selectBlob();
    }
}

SelectOutput::~SelectOutput() = default;

void SelectOutput::setConstant(OutputColumn& output, const WSQLFilter& filter, std::string_view text) const {
    // In a union the rows bring the constants of their members.
    output.origin = OutputColumn::Origin::kConstant;
    output.fromRow = isUnion();
    if (isRaw()) {
        output.constantText = text;
        return;
    }
    CStringBuffer written(64);
    if (output.base64) {
        ValueFilter::binary(text, written);
    } else {
        ValueFilter(filter, {}).xml(text, written);
    }
    output.constantText = written.view();
}

void SelectOutput::describeConstant(OutputColumn& output, const WSQLFilter& filter,
                                    const WSQLScalar& item) const {
    const ConstantValue value = item.constantValue();
    output.type = rowType(value);
    output.constantNull = value.null;
    if (!value.null) output.flags = WDB_F_NULLABLE;
    CStringBuffer text(64);
    item.toText(text);
    setConstant(output, filter, text.view());
}

/// The value of a sub-query is a constant of the type of its item.
void SelectOutput::describeSubselect(OutputColumn& output, const WSQLFilter& filter,
                                     const WSQLLiteralSelect& query) const {
    const WSQLScalar* item = query.select->item(0);
    const WSQLColumnRef* column = item != nullptr ? item->asColumnRef() : nullptr;
    output.type =
        item != nullptr ? WSQLResultSetColumn::ofItem(0, *item, *query.select).typeCode : WDB_T_PHRASE;
    output.constantNull = !query.result || query.result->constantValue().null;
    output.base64 = !isUnion() && !output.constantNull && column != nullptr && output.type == WDB_T_STRING;
    CStringBuffer text(64);
    if (query.result) query.result->toText(text);
    setConstant(output, filter, text.view());
}

void SelectOutput::addItem(const WSQLFilter& filter, const WSQLStmtSelect& select, const WSQLScalar& item) {
    OutputColumn output;
    if (const WSQLColumnRef* column = item.asColumnRef()) {
        output.origin = OutputColumn::Origin::kColumn;
        describeColumn(output, *column);
    } else if (const WSQLFunctionRef* function = item.asFunctionRef()) {
        const WSQLColumnRef* argument = function->argument ? function->argument->asColumnRef() : nullptr;
        output.origin = OutputColumn::Origin::kFunction;
        output.type = WDB_T_INTEGER;
        if (argument != nullptr) describeColumn(output, *argument);
        // What a function computes stands in the row, whatever the type of its argument.
        if (!equalNames(function->name, "VALUELIST")) output.field.reset();
        if (const auto* list = dynamic_cast<const WSQLVListFunctionRef*>(function)) {
            output.list = true;
            output.range.separator = list->separator;
            output.range.first = list->hasFirst ? std::max(list->first, 1) : 1;
            if (list->hasLast) output.range.last = std::max(list->last, 1);
        }
    } else if (const auto* query = dynamic_cast<const WSQLLiteralSelect*>(&item)) {
        describeSubselect(output, filter, *query);
    } else if (item.isConstant()) {
        describeConstant(output, filter, item);
    } else {
        output.type = WSQLResultSetColumn::ofItem(0, item, select).typeCode;
    }
    columns_.push_back(std::move(output));
}

void SelectOutput::addField(const WELKFieldInfo& field) {
    OutputColumn output;
    output.origin = OutputColumn::Origin::kField;
    output.type = field.type;
    output.flags = field.flags;
    output.fieldNumber = static_cast<std::int32_t>(field.number);
    if (comesByReference(field.type)) output.field = std::make_unique<WELKFieldInfo>(field);
    columns_.push_back(std::move(output));
}

bool SelectOutput::isInline(std::int32_t type) const {
    if (type == WDB_T_TEXT) return selectText_;
    return type != WDB_T_STRING || selectBlob_;
}

const WELKFieldInfo* SelectOutput::fieldNamed(WSQLFilter& filter, std::string_view name) {
    const std::size_t point = name.find('.');
    if (point == std::string_view::npos) return nullptr;
    const std::string_view base = name.substr(0, point);
    const WSQLTableRef* table = nullptr;
    for (const auto& known : unionTables_) {
        if (equalNames(known->table, base)) table = known.get();
    }
    if (table == nullptr) {
        unionTables_.push_back(std::make_unique<WSQLTableRef>(std::string(base)));
        filter.LoadFields(unionTables_.back().get());
        table = unionTables_.back().get();
    }
    for (std::int32_t i = 0; i < table->fields->Count(); ++i) {
        if (equalNames(table->fields->Get(i)->name, name.substr(point + 1))) return table->fields->Get(i);
    }
    return nullptr;
}

void appendFetchKey(CStringBuffer& out, std::string_view table, std::int32_t record, std::int32_t part,
                    std::int32_t field) {
    constexpr char kHex[] = "0123456789abcdef";
    for (char c : table) {
        const auto byte = static_cast<unsigned char>(c);
        out.append(kHex[byte >> 4]);
        out.append(kHex[byte & 15]);
    }
    for (std::int32_t number : {record, part, field}) {
        out.append('-');
        appendNumber(out, number);
    }
}

}  // namespace wsql
