#include "tests/differential/Engine.h"

#include <cstdlib>

namespace differential {
namespace {

std::string unescaped(std::string_view text) {
    constexpr std::pair<std::string_view, char> kEntities[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
    std::string result;
    while (!text.empty()) {
        std::size_t taken = 1;
        char c = text.front();
        for (const auto& [entity, character] : kEntities) {
            if (text.substr(0, entity.size()) != entity) continue;
            taken = entity.size();
            c = character;
        }
        result += c;
        text.remove_prefix(taken);
    }
    return result;
}

/// What stands between two marks behind the position, which moves behind it.
std::string_view between(std::string_view text, std::string_view open, std::string_view close,
                         std::size_t& at) {
    const std::size_t start = text.find(open, at);
    if (start == std::string_view::npos) return {};
    const std::size_t end = text.find(close, start + open.size());
    at = end;
    return text.substr(start + open.size(), end - start - open.size());
}

Value columnValue(std::string_view element) {
    if (element.find(" null=\"true\"") != std::string_view::npos) return std::nullopt;
    const std::size_t start = element.find('>');
    if (start == std::string_view::npos) return "";
    const std::string_view inner = element.substr(start + 1);
    if (inner.substr(0, 3) == "<P>") return std::string(inner);
    return unescaped(inner);
}

std::vector<std::vector<Value>> rowsOf(std::string_view document) {
    std::vector<std::vector<Value>> rows;
    std::size_t at = document.find("<ResultSetData>");
    while (at != std::string_view::npos && (at = document.find("<Row ", at)) != std::string_view::npos) {
        const std::size_t end = document.find("</Row>", at);
        std::vector<Value> row;
        for (at = document.find("<Column ", at); at < end; at = document.find("<Column ", at)) {
            const std::size_t line = document.find("\r\n", at);
            std::string_view element = document.substr(at, line - at);
            if (element.size() > 9 && element.substr(element.size() - 9) == "</Column>")
                element.remove_suffix(9);
            row.push_back(columnValue(element));
            at = line;
        }
        rows.push_back(std::move(row));
        at = end;
    }
    return rows;
}

/// One item of a record in the making; the kernel takes numbers and dates as texts.
std::int32_t storeItem(WdbRecordControl* control, std::size_t column, Kind kind, std::size_t item,
                       const std::string& value) {
    const std::string text =
        kind == Kind::kNumeric ? decimals(std::strtoll(value.c_str(), nullptr, 10)) : value;
    const auto position = static_cast<std::int32_t>(kind == Kind::kItems ? item + 1 : 0);
    WdbCursor* cursor = nullptr;
    std::int32_t status = WdbSetCursor(&cursor, control, static_cast<std::int32_t>(column + 1), 0, position);
    if (WDB_SUCCESS(status))
        status = WdbReplaceItem(cursor, text.data(), static_cast<std::int32_t>(text.size()));
    WdbDeleteCursor(&cursor);
    return status;
}

std::int32_t storeRow(WdbRecordControl* control, const Table& table, const Row& row) {
    std::int32_t status = WdbNewRecord(control);
    for (std::size_t i = 0; i < row.size(); ++i) {
        for (std::size_t n = 0; n < row[i].size() && WDB_SUCCESS(status); ++n) {
            if (!row[i][n].empty()) status = storeItem(control, i, table.columns[i].kind, n, row[i][n]);
        }
    }
    std::int32_t record = 0;
    return WDB_SUCCESS(status) ? WdbPutRecord(control, &record) : status;
}

}  // namespace

bool Engine::load(const Table& table, std::size_t first, std::size_t end, std::string& message) {
    const char* name = table.name.c_str();
    WdbRecordControl* control = nullptr;
    std::int32_t status = WdbCreateRecordControl(&control);
    if (WDB_SUCCESS(status)) status = WdbSetBase(control, name, WDB_MODE_WRITE);
    if (WDB_SUCCESS(status)) status = WdbBeginLoad(name, 0);
    for (std::size_t i = first; i < end && WDB_SUCCESS(status); ++i)
        status = storeRow(control, table, table.rows[i]);
    const std::int32_t ended = WdbEndLoad(name, WDB_SUCCESS(status) ? 1 : 0);
    WdbDeleteRecordControl(&control);
    if (WDB_SUCCESS(status)) status = ended;
    message = "load: status " + std::to_string(status);
    return WDB_SUCCESS(status);
}

bool Engine::change(const std::string& sql, std::string& message) {
    const Answer answer = database_.run(sql);
    if (answer.status != 1) message = answer.document;
    return answer.status == 1;
}

void Engine::setBlock(int blockSize, int block) {
    if (blockSize_ < -1) UpdateRCS("SQL_SELECTTEXT", "1");
    if (blockSize != blockSize_)
        UpdateRCS("SQL_BLOCKSIZE", blockSize == 0 ? "-1" : std::to_string(blockSize).c_str());
    if (block != block_) UpdateRCS("SQL_BLOCKNUMBER", std::to_string(block).c_str());
    blockSize_ = blockSize;
    block_ = block;
}

Rows Engine::select(const std::string& sql, int blockSize, int block) {
    setBlock(blockSize, block);
    const Answer answer = database_.run(sql);
    Rows rows;
    std::size_t at = 0;
    if (answer.status != 1) {
        rows.fault = std::to_string(answer.status) + " " +
                     std::string(between(answer.document, "\">", "</Fault>", at));
        return rows;
    }
    rows.total =
        std::strtoll(std::string(between(answer.document, " rowCount=\"", "\"", at)).c_str(), nullptr, 10);
    rows.rows = rowsOf(answer.document);
    return rows;
}

}  // namespace differential
