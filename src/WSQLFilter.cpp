// The life of one call: construction, the request cycle of SQL text, destruction.
#include "src/WSQLFilter.h"

#include <algorithm>
#include <cstring>

#include "src/DictionarySelect.h"
#include "src/StatusScope.h"
#include "src/WSQLResultSet.h"
#include "src/parser/Keywords.h"
#include "src/parser/WSQLSymbolTable.h"
#include "src/parser/parse.h"
#include "src/support/text.h"
#include "src/tree/ExactType.h"
#include "src/tree/Tree.h"

namespace wsql {

namespace {

constexpr const char* kContext = "WSQLFilter::execSql";
constexpr std::uint32_t kAnyStyle = 1 | 2 | 4;
constexpr std::int32_t kDirectCclVersion = 340;
constexpr std::int32_t kLoggedStatement = 1024;

// The digits in front of the first ".", between it and the first "-", and from there to the first ":", as one
// number.
std::int32_t versionNumber(std::string_view version) {
    std::string digits;
    for (const char separator : {'.', '-', ':'}) {
        const std::size_t end = version.find(separator);
        digits.append(version.substr(0, end));
        version.remove_prefix(end == std::string_view::npos ? version.size() : end + 1);
    }
    return decimalPrefix(digits);
}

}  // namespace

// Logging is configured by the settings read in front of it, so the order of the steps matters.
WSQLFilter::WSQLFilter(FilterData* data) : CFilterBase(data, false) {
    chooseCharacterSets();
    setLevelSettingName("WELKSQL_LOG");
    const auto level = facts_.text(SessionFacts::kLogLevel);
    level ? setExplicitLevel(*level) : setExplicitLevel(true);
    startLogging("sqlfilter", true, true, false);
    symbols_ = std::make_unique<WSQLSymbolTable>();
    readVersion();
}

WSQLFilter::~WSQLFilter() {
    symbols_.reset();
    statementTime_.reset();
    statement_.reset();
    resultSet_.reset();
    if (!temporaryFileName_.empty()) platform::deleteFile(temporaryFileName_.c_str());
    if (trimAtEnd_) platform::heapTrim();
}

// The session's set is that of conversions, too. Who watches the session's calls sees each of the two asked
// for.
void WSQLFilter::chooseCharacterSets() {
    const auto own = facts_.text(SessionFacts::kVersion) ? sessionCharacterSet() : std::nullopt;
    conversionSetKnown_ = own.has_value();
    if (own) conversionSet_ = *own;
    characterSet_ = own ? *own : selectCharacterSet();
}

void WSQLFilter::readVersion() {
    if (const auto known = facts_.text(SessionFacts::kVersion)) {
        newCcl_ = versionNumber(*known) >= kDirectCclVersion;
        return;
    }
    char version[256] = "";
    std::int32_t length = sizeof version;
    newCcl_ = WDB_SUCCESS(WdbVersion(version, &length)) && versionNumber(version) >= kDirectCclVersion;
}

void WSQLFilter::setResultSet(std::unique_ptr<WSQLResultSet> resultSet) {
    resultSet_ = std::move(resultSet);
}

void WSQLFilter::begin() {
    lastStatus_ = WDB_OK;
    setStatus(WDB_OK);
}

std::int32_t WSQLFilter::nullRecord(const char* context) {
    error(context, 0, "NULL FilterData argument.");
    return WDB_E_INVOCATION;
}

std::int32_t WSQLFilter::badMask(const char* context) {
    constexpr const char* kText = "Invalid filter invocation - bad wdb_options mask.";
    setMessage(kText);
    setStatus(WDB_E_INVOCATION);
    error(context, WDB_E_INVOCATION, "%s", kText);
    return WDB_E_INVOCATION;
}

// ---- execsql ----

std::int32_t WSQLFilter::execSql() {
    begin();
    setMessage("");
    info(kContext, "WELKsql v2. SQL processing filter entered.\n");
    loadParserSymbols();
    FilterData* data = filterData();
    if (data == nullptr) return nullRecord(kContext);
    if ((data->wdb_options & kAnyStyle) == 0) return badMask(kContext);
    debug(kContext, "Execution style arguments verified.\n");

    const bool empty = data->text == nullptr || data->textLength < 1;
    const std::size_t length = empty ? 0 : strnlen(data->text, static_cast<std::size_t>(data->textLength));
    const platform::HeapText copy = platform::heapCopy(empty ? "" : data->text, length);
    if (!parse(copy.get())) return status();

    StatusScope searchState(*this, kContext);
    info(kContext, "Executing SQL statement.\n");
    dispatch();
    if (answered_ && data->outputLength > 0) writeContentType();
    searchState.restore();
    info(kContext, "SQL processing complete.\n");
    return status();
}

void WSQLFilter::loadParserSymbols() {
    loadKeywords(*symbols_);
    debug(kContext, "Settings and parser symbols loaded.\n");
}

bool WSQLFilter::parse(const char* text) {
    debug(kContext, "Setting up SQL parser.\n");
    statementTime_.reset();
    parserMessage_.clear();
    info(kContext, "Parsing SQL statement \"%.*s\"\n", kLoggedStatement, text);
    const int result = parseStatement(*this, text, statement_);
    if (result == ParseResult::kSuccess) return true;
    ReportFault(result % 2 == 0 ? static_cast<std::uint32_t>(result) : 0U, parserMessage_.text(),
                parserMessage_.length(), "src/WSQLFilter", 585, "SQLFilter::execSql");
    return false;
}

// First match wins. A validator that answers false has raised its fault already.
void WSQLFilter::dispatch() {
    WSQLStatement* root = statement_.get();
    if (auto* select = exactly<WSQLStmtSelect>(root)) {
        if (!ValidateSelect(select)) return finish(false, "WSQLFilter::ValidateSelect");
        if (select->hasUnion()) return finish(ExecuteUnion(select), "WSQLFilter::ExecuteUnion");
        return finish(ExecuteSelect(select), "WSQLFilter::ExecuteSelect");
    }
    if (dynamic_cast<WSQLStmtCommit*>(root) != nullptr || dynamic_cast<WSQLStmtRollback*>(root) != nullptr) {
        return ReportSuccess(nullptr);
    }
    if (auto* insert = dynamic_cast<WSQLStmtInsert*>(root)) {
        if (!ValidateInsert(insert)) return finish(false, "WSQLFilter::ValidateInsert");
        return finish(ExecuteInsert(insert), "WSQLFilter::ExecuteInsert");
    }
    if (auto* create = dynamic_cast<WSQLStmtCreateTable*>(root)) {
        return finish(ExecuteCreateTable(create), "WSQLFilter::ExecuteCreateTable");
    }
    if (auto* drop = dynamic_cast<WSQLStmtDropTable*>(root)) {
        return finish(ExecuteDropTable(drop), "WSQLFilter::ExecuteDropTable");
    }
    if (auto* privileges = dynamic_cast<WSQLStmtPrivileges*>(root)) {
        return finish(ExecuteModifyAccess(privileges), "WSQLFilter::ExecuteModifyAccess");
    }
    if (auto* update = dynamic_cast<WSQLStmtUpdate*>(root)) {
        if (!ValidateUpdate(update)) return finish(false, "WSQLFilter::ValidateUpdate");
        return finish(ExecuteUpdate(update), "WSQLFilter::ExecuteUpdate");
    }
    if (auto* statement = dynamic_cast<WSQLStmtDelete*>(root)) {
        if (!ValidateDelete(statement)) return finish(false, "WSQLFilter::ValidateDelete");
        return finish(ExecuteDelete(statement), "WSQLFilter::ExecuteDelete");
    }
    if (auto* property = dynamic_cast<WSQLStmtProperty*>(root)) {
        return finish(ExecuteProperty(property), "WSQLFilter::ExecuteProperty");
    }
    if (auto* get = dynamic_cast<WSQLStmtGetObject*>(root)) {
        return finish(ExecuteGetObject(get), "WSQLFilter::ExecuteGetObject");
    }
    if (auto* set = dynamic_cast<WSQLStmtSetObject*>(root)) {
        return finish(ExecuteSetObject(set), "WSQLFilter::ExecuteSetObject");
    }
    ReportUnsupported();
}

// No failure leaves without a fault of its own, whatever the method that failed forgot.
void WSQLFilter::finish(bool done, const char* method) {
    if (done || (answered_ && !WDB_SUCCESS(status()))) return;
    if (!WDB_SUCCESS(lastStatus_) && lastStatus_ != WDB_FAIL) {
        ReportKernelError(lastStatus_, "execution", method);
    } else {
        WriteFaultDocument(0, "Fault in SQL processing.", -1, "execution", method);
    }
}

// Tells the host the answer's encoding in its own request buffer, when that has room.
void WSQLFilter::writeContentType() {
    writeTypeLine(std::string("TEXT\n") + kOutputEncoding);
}

void WSQLFilter::writeTypeLine(const std::string& line) {
    FilterData* data = filterData();
    if (data->text == nullptr || data->textLength <= static_cast<std::int32_t>(line.size())) return;
    std::memcpy(data->text, line.c_str(), line.size() + 1);
    data->textLength = static_cast<std::int32_t>(line.size());
}

}  // namespace wsql
