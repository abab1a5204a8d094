#include "tests/crash/Sql.h"

#include <cstdio>
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
    const std::string answer(data.output == nullptr ? "" : data.output,
                             static_cast<size_t>(data.output == nullptr ? 0 : data.outputLength));
    std::free(data.output);
    // A statement that fails says so in a fault of its own.
    const bool fault = answer.find("<Fault faultCode=\"") != std::string::npos;
    if (!answer.empty() && fault != WDB_SUCCESS(status)) return status;
    std::fprintf(stderr, "%s: status %d with the answer %s\n", sql.c_str(), status, answer.c_str());
    std::abort();
}

namespace {

bool hasWord(const Row& row, const char* word) {
    return row.note.starts_with(word);
}

std::vector<Statement> sqlStatements() {
    return {
        {"INSERT",
         [] { return runSql("INSERT INTO ROWS (NAME, NOTE, SIZE) VALUES ('byteq', 'word3 in SQL', 77)"); },
         [](Contents& contents) {
             contents.bases[0]["byteq"] = {"word3 in SQL", 77, ""};
         }},
        {"INSERT from SELECT",
         [] {
             return runSql(
                 "INSERT IGNORE INTO PAIRS (NAME, NOTE, SIZE) SELECT NAME, NOTE, SIZE FROM ROWS "
                 "WHERE SIZE < 500");
         },
         [](Contents& contents) {
             for (const auto& [name, row] : contents.bases[0]) {
                 if (row.size < 500) contents.bases[1].emplace(name, Row{row.note, row.size, ""});
             }
         }},
        {"UPDATE", [] { return runSql("UPDATE ROWS SET SIZE = 12, NOTE = 'word6 by SQL' WHERE SIZE < 600"); },
         [](Contents& contents) {
             for (auto& [name, row] : contents.bases[0]) {
                 if (row.size < 600) row = {"word6 by SQL", 12, row.object};
             }
         }},
        {"DELETE", [] { return runSql("DELETE FROM ROWS WHERE NOTE LIKE 'word3' OR SIZE > 700"); },
         [](Contents& contents) {
             std::erase_if(contents.bases[0], [](const auto& row) {
                 return hasWord(row.second, "word3") || row.second.size > 700;
             });
         }},
    };
}

}  // namespace

std::vector<Statement> everyKind() {
    std::vector<Statement> kinds = kernelStatements();
    for (Statement& statement : sqlStatements()) kinds.push_back(std::move(statement));
    return kinds;
}

}  // namespace crash
