#include "kernel/search/SourceTables.h"

#include <algorithm>

#include "kernel/common/Ascii.h"
#include "kernel/search/CommandFault.h"

namespace wdb {

Status SourceTables::add(const ccl::TableRef& name) {
    Result<std::shared_ptr<OpenBase>> base = context_.findBase(name.base);
    if (!base) return fault(error_, base.status(), name.position, name.base);
    const Result<const BaseSnapshot*> snapshot = context_.snapshot(*base);
    if (!snapshot) return snapshot.status();
    tables_.push_back({name, std::move(*base), std::make_unique<BaseState>(context_, **snapshot)});
    return WDB_OK;
}

std::optional<uint32_t> SourceTables::find(Slice qualifier) const {
    for (uint32_t i = 0; i < size(); ++i) {
        if (!tables_[i].name.alias.empty() && equalsIgnoreCase(qualifier, tables_[i].name.alias)) return i;
    }
    for (uint32_t i = 0; i < size(); ++i) {
        if (equalsIgnoreCase(qualifier, tables_[i].name.base)) return i;
    }
    return std::nullopt;
}

Result<BoundColumn> SourceTables::bind(const ccl::Column& column) {
    BoundColumn bound;
    bound.first = static_cast<uint32_t>(column.first);
    bound.last = static_cast<uint32_t>(column.last);
    uint32_t begin = 0, end = size();
    if (!column.qualifier.empty()) {
        const std::optional<uint32_t> table = find(column.qualifier);
        if (!table) return fault(error_, WDB_E_CCL_FIELD, column.position, column.qualifier);
        begin = *table;
        end = begin + 1;
    }
    for (bound.table = begin; bound.table < end; ++bound.table) {
        if (column.record) return bound;
        bound.field = tables_[bound.table].state->readable(column.field);
        if (bound.field != nullptr) return bound;
    }
    return fault(error_, WDB_E_CCL_FIELD, column.position, column.field);
}

bool SourceTables::hasPartFields(uint32_t table) const {
    const auto& fields = tables_[table].state->snapshot.schema().fields();
    return std::any_of(fields.begin(), fields.end(), [](const FieldDefinition& field) { return field.part; });
}

}  // namespace wdb
