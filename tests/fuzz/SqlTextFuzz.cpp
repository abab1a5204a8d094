// Any bytes as statement text: parsed, printed, copied, thrown away.
#include <cstddef>
#include <cstdint>
#include <string>

#include "src/support/CStringBuffer.h"
#include "src/tree/Tree.h"
#include "tests/tables/TestContext.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace wsql;
    const std::string sql(reinterpret_cast<const char*>(data), size);
    TestContext context;
    context.dates.form = size != 0 ? 1 + data[size - 1] % 18 : 1;
    std::unique_ptr<WSQLStatement> statement;
    const int result = parseStatement(context, sql.c_str(), statement);
    if ((result == ParseResult::kSuccess) != (statement != nullptr)) __builtin_trap();
    if (!statement) {
        if (context.message.empty()) __builtin_trap();
        return 0;
    }
    const std::string dump = dumpTree(*statement);
    const auto* select = dynamic_cast<const WSQLStmtSelect*>(statement.get());
    if (select == nullptr) return 0;
    if (dumpTree(*select->clone()) != dump) __builtin_trap();
    CStringBuffer text(64);
    if (select->where) select->where->toText(text);
    for (int32_t i = 0; i < select->itemCount(); ++i) select->itemAt(i).toText(text);
    return 0;
}
