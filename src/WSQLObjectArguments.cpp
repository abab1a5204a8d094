// sqlgetobject and sqlsetobject: their arguments become the statements that the SQL forms would give.
#include "src/StatusScope.h"
#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {

namespace {

constexpr const char* kUnit = "src/WSQLFilter";
constexpr const char* kGetContext = "WSQLFilter::getObject";
constexpr const char* kSetContext = "WSQLFilter::setObject";
constexpr std::uint32_t kInMemory = 4;

}  // namespace

void WSQLFilter::badArgument(const char* text, std::int32_t line, const char* context) {
    ReportFault(0, text, -1, kUnit, line, context);
    setStatus(WDB_FAIL);
}

std::int32_t WSQLFilter::getObject() {
    info(kGetContext, "WELKsql v2.1 object retrieval filter entered.\n");
    begin();
    parseArguments();
    if (filterData() == nullptr) return nullRecord(kGetContext);
    if ((filterData()->wdb_options & kInMemory) == 0) return badMask(kGetContext);
    debug(kGetContext, "Execution style arguments verified.\n");
    CStringBuffer key(128);
    if (!argument("FETCHKEY", key)) {
        badArgument("Missing filter argument: \"FETCHKEY\".", __LINE__, kGetContext);
        return status();
    }
    debug(kGetContext, "Fetch key is \"%s\"\n", key.text());
    {
        WSQLStmtGetObject statement;
        statement.key = key.view();
        info(kGetContext, "Executing object extraction routine.\n");
        finish(ExecuteGetObject(&statement), "WSQLFilter::ExecuteGetObject");
    }
    info(kGetContext, "WELKsql v2.1 object retrieval filter done.\n");
    return status();
}

// Takes any option mask, unlike the others.
std::int32_t WSQLFilter::setObject() {
    info(kSetContext, "WELKsql v2.1 object assignment filter entered.\n");
    begin();
    parseArguments();
    if (filterData() == nullptr) return nullRecord(kSetContext);
    WSQLStmtSetObject statement;
    statement.column = std::make_unique<WSQLColumnRef>();
    if (!setObjectTable(statement) || !setObjectColumn(statement) || !setObjectRecord(statement))
        return status();
    {
        StatusScope searchState(*this, kSetContext);
        info(kSetContext, "Executing object assigment routine.\n");
        finish(ExecuteSetObject(&statement), "WSQLFilter::ExecuteSetObject");
    }
    info(kSetContext, "WELKsql v2.1 object assignment filter done.\n");
    return status();
}

// The text about a missing table keeps its placeholder: hosts know it in that form.
bool WSQLFilter::setObjectTable(WSQLStmtSetObject& statement) {
    CStringBuffer table(64);
    if (!argument("TABLE", table) || table.empty()) {
        badArgument("Missing or invalid filter argument: \"TABLE\".", __LINE__, kSetContext);
        return false;
    }
    if (!DBTableExists(table.text())) {
        ReportFault(static_cast<std::uint32_t>(lastStatus_), "Table \"%s\" does not exist.", -1, kUnit,
                    __LINE__, kSetContext);
        return false;
    }
    statement.databaseName = table.view();
    return true;
}

bool WSQLFilter::setObjectColumn(WSQLStmtSetObject& statement) {
    WSQLColumnRef& column = *statement.column;
    CStringBuffer text(64);
    if (argument("COLUMNNAME", text)) {
        column.column = text.view();
        column.table = statement.databaseName;
    } else if (argument("COLUMNID", text)) {
        column.fieldNumber = decimalPrefix(text.view());
    } else {
        badArgument("Missing filter argument: \"COLUMNNAME\" or \"COLUMNID\".", __LINE__, kSetContext);
        return false;
    }
    if (!DBColumnExists(&column, statement.databaseName.c_str())) {
        ReportKernelError(lastStatus_, "validation", kSetContext);
        return false;
    }
    if (column.fieldType == WDB_T_TEXT || column.fieldType == WDB_T_STRING) return true;
    const std::string fault = "Column \"" + column.column + "\" in table \"" + statement.databaseName +
                              "\" is of an incompatible type. Must be LONG VARCHAR or LONG VARBINARY.";
    badArgument(fault.c_str(), __LINE__, kSetContext);
    return false;
}

bool WSQLFilter::setObjectRecord(WSQLStmtSetObject& statement) {
    CStringBuffer text(32);
    const bool named = argument("COLUMNNAME", text);
    argument("RID", text);
    const std::int32_t record = decimalPrefix(text.view());
    if (record < 1) {
        badArgument("Missing or invalid filter argument: \"RID\".", __LINE__, kSetContext);
        return false;
    }
    argument("PART", text);
    const std::int32_t part = decimalPrefix(text.view());
    const WSQLColumnRef& column = *statement.column;
    if (part < 1 && (column.fieldFlags & WSQLColumnRef::kPartField) != 0) {
        badArgument("Missing or invalid filter argument: \"PART\".", __LINE__, kSetContext);
        return false;
    }
    if (named) {
        debug(kSetContext, "Large object assignment key is \"%s\".\"%s\".%d.%d\n",
              statement.databaseName.c_str(), column.column.c_str(), record, part);
    } else {
        debug(kSetContext, "Large object assignment key is \"%s\".%d.%d.%d\n", statement.databaseName.c_str(),
              column.fieldNumber, record, part);
    }
    statement.recordId = static_cast<std::uint32_t>(record);
    statement.part = static_cast<std::uint32_t>(part < 0 ? 0 : part);
    return true;
}

}  // namespace wsql
