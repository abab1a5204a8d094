#include "tests/crash/Sql.h"

#include <cstdlib>

#include "include/sqlengine.h"

namespace crash {

int32_t runSql(const std::string& sql) {
    std::string text = sql;
    FilterData data{};
    data.text = text.data();
    data.textLength = static_cast<std::int32_t>(text.size());
    data.wdb_options = 36;
    const int32_t status = execsql(&data, nullptr);
    const bool answered = data.output != nullptr && data.outputLength > 0;
    std::free(data.output);
    return WDB_SUCCESS(status) && !answered ? WDB_FAIL : status;
}

std::vector<Statement> sqlStatements() {
    return {
        {"INSERT",
         [] { return runSql("INSERT INTO ROWS (NAME, NOTE, SIZE) VALUES ('byteq', 'word3 in SQL', 77)"); },
         [](Contents& contents) {
             contents.bases[0]["byteq"] = {"word3 in SQL", 77, ""};
         }},
    };
}

}  // namespace crash
