// sqlgettabledesc: a selection over the dictionary, run through the export for SQL.
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "src/WSQLFilter.h"

namespace wsql {

namespace {

constexpr const char* kContext = "WSQLFilter::getTableDesc";
constexpr std::uint32_t kAllocateInMemory = 36;

// The name between quotes that it does not contain; nothing when it cannot be quoted. A backslash in front of
// the closing quote would join it to the text.
std::optional<std::string> quoted(std::string_view name) {
    if (!name.empty() && name.back() == '\\') return std::nullopt;
    for (const char quote : {'"', '\'', '`'}) {
        if (name.find(quote) == std::string_view::npos) return quote + std::string(name) + quote;
    }
    return std::nullopt;
}

// An inner record whose answer is released unless it is taken.
struct InnerCall {
    FilterData data{};
    explicit InnerCall(std::string& statement) {
        std::strcpy(data.filterName, "execsql");
        data.text = statement.data();
        data.textLength = static_cast<std::int32_t>(statement.size() + 1);
        data.wdb_options = kAllocateInMemory;
    }
    InnerCall(const InnerCall&) = delete;
    InnerCall& operator=(const InnerCall&) = delete;
    ~InnerCall() { platform::heapFree(data.output); }
};

}  // namespace

std::int32_t WSQLFilter::getTableDesc() {
    FilterData* data = filterData();
    if (data == nullptr) return WDB_E_INVOCATION;
    begin();
    setMessage("");
    parseArguments();
    CStringBuffer name(64);
    if (!argument("TABLENAME", name)) {
        badArgument("Missing filter argument: \"TABLENAME\".", __LINE__, kContext);
        return status();
    }
    data->wdb_options = kAllocateInMemory;
    const std::optional<std::string> literal = quoted(name.view());
    if (!literal) {
        setStatus(WDB_FAIL);
        return status();
    }
    std::string statement = "SELECT * FROM WDBS.COLUMNS WHERE TABLENAME=" + *literal;
    InnerCall inner(statement);
    setStatus(execsql(&inner.data, nullptr));
    if (!WDB_SUCCESS(status()) || inner.data.output == nullptr || inner.data.outputLength < 1)
        return status();
    const std::int32_t length = inner.data.outputLength;
    SetAnswer(platform::HeapText(std::exchange(inner.data.output, nullptr)), length);
    writeContentType();
    return status();
}

}  // namespace wsql
