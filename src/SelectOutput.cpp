#include "src/SelectOutput.h"

#include <algorithm>

#include "include/wdb.h"
#include "src/ElementAt.h"
#include "src/WSQLFilter.h"
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

void describeConstant(OutputColumn& output, const WSQLFilter& filter, const WSQLScalar& item) {
    const ConstantValue value = item.constantValue();
    output.origin = OutputColumn::Origin::kConstant;
    output.constantNull = value.null;
    output.type = value.kind == ConstantValue::Kind::kInteger ? WDB_T_INTEGER
                  : value.kind == ConstantValue::Kind::kReal  ? WDB_T_NUMBER
                                                              : WDB_T_PHRASE;
    if (!value.null) output.flags = WDB_F_NULLABLE;
    CStringBuffer text(64), xml(64);
    item.toText(text);
    ValueFilter(filter, {}).xml(text.view(), xml);
    output.constantText = xml.view();
}

}  // namespace

SelectOutput::SelectOutput(WSQLFilter& filter, const WSQLStmtSelect& select)
    : selectText_(filter.selectText()),
      selectBlob_(filter.selectBlob()),
      isStatic_(select.tables->Count() == 0) {
    columns_.reserve(static_cast<std::size_t>(select.itemCount()));
    for (std::int32_t i = 0; i < select.itemCount(); ++i) addItem(filter, elementAt(select.items(), i));
    if (select.itemCount() > 0) return;
    for (std::int32_t i = 0; i < select.tables->Count(); ++i) {
        const WSQLTableRef& table = elementAt(*select.tables, i);
        for (std::int32_t n = 0; table.fields && n < table.fields->Count(); ++n)
            addField(*table.fields->Get(n));
    }
}

void SelectOutput::addItem(const WSQLFilter& filter, const WSQLScalar& item) {
    OutputColumn output;
    if (const WSQLColumnRef* column = item.asColumnRef()) {
        output.origin = OutputColumn::Origin::kColumn;
        describeColumn(output, *column);
    } else if (const WSQLFunctionRef* function = item.asFunctionRef()) {
        const WSQLColumnRef* argument = function->argument ? function->argument->asColumnRef() : nullptr;
        output.origin = OutputColumn::Origin::kFunction;
        output.type = WDB_T_INTEGER;
        if (argument != nullptr) describeColumn(output, *argument);
        if (const auto* list = dynamic_cast<const WSQLVListFunctionRef*>(function)) {
            output.list = true;
            output.range.separator = list->separator;
            output.range.first = list->hasFirst ? std::max(list->first, 1) : 1;
            if (list->hasLast) output.range.last = std::max(list->last, 1);
        }
    } else if (item.isConstant()) {
        describeConstant(output, filter, item);
    } else {
        output.type = WDB_T_NUMBER;
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
