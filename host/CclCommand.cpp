#include "host/CclCommand.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>

#include "host/Kernel.h"
#include "host/Shell.h"

namespace host {

namespace {

// Flags of an item of WdbGetRows.
constexpr std::uint32_t kNull = 2, kFirstOfColumn = 8, kZeroBehind = 128;
constexpr std::int32_t kRecordSet = 0;
constexpr std::int32_t kNoRow = 0, kDeletedRow = 2882;

struct Release {
    void operator()(void* memory) const { WdbDeallocate(memory); }
};

// Row `index`, from 0, of a set; its values of one column are joined. Nothing where the row's record is gone.
std::optional<Row> fetchRow(std::int32_t set, std::int32_t index) {
    char* texts = nullptr;
    std::uint32_t* items = nullptr;
    const std::int32_t status = WdbGetRows(set, index, 1, &texts, &items);
    const std::unique_ptr<char, Release> ownedTexts(texts);
    const std::unique_ptr<std::uint32_t, Release> ownedItems(items);
    if (status == kNoRow || status == kDeletedRow) return std::nullopt;
    check(status);
    Row row;
    for (std::uint32_t item = 0; item < items[0]; ++item) {
        const std::uint32_t length = items[2 + 2 * item], flags = items[3 + 2 * item];
        if ((flags & kFirstOfColumn) != 0 || row.empty())
            row.push_back({std::string(texts, length), (flags & kNull) != 0});
        else
            row.back().text += "; " + std::string(texts, length);
        texts += length + ((flags & kZeroBehind) != 0 ? 1 : 0);
    }
    return row;
}

std::string setName(const WdbSetInfoRecord& set) {
    return "set " + std::to_string(set.number) + ": ";
}

void writeRecords(Shell& shell, const WdbSetInfoRecord& set, std::int32_t most) {
    const Control control;
    std::string line = setName(set) + counted(set.records, "record");
    for (std::int32_t ordinal = 1; ordinal <= std::min(set.records, most); ++ordinal) {
        char base[WDB_BASE_NAME_SIZE] = "";
        std::int32_t record = 0;
        check(WdbGetRecordInSearchRis(control.get(), set.number, ordinal, &record, base));
        line += (ordinal == 1 ? ": " : ", ") + std::to_string(record);
    }
    shell.write(line + (set.records > most ? ", ...\n" : "\n"));
}

void writeRows(Shell& shell, const WdbSetInfoRecord& set, std::int32_t most) {
    std::vector<Column> columns;
    for (std::int32_t position = 1; position <= set.columns; ++position)
        columns.push_back({std::to_string(position), "VARCHAR"});
    std::vector<Row> rows;
    for (std::int32_t index = 0; index < std::min(set.rows, most); ++index) {
        if (auto row = fetchRow(set.number, index)) rows.push_back(std::move(*row));
    }
    const Format format = shell.settings().format == Format::xml ? Format::table : shell.settings().format;
    const auto formatter = makeFormatter(format, shell.terminalWidth());
    const auto shown = static_cast<std::int64_t>(rows.size());
    std::string out;
    formatter->begin(columns, out);
    formatter->rows(rows, out);
    formatter->end({1, shown, set.rows, std::nullopt}, out);
    shell.write(setName(set) + counted(set.rows, "row") + "\n" + out);
}

// The command in canonical words, which may be longer than what was typed.
std::string canonicalForm(const std::string& command) {
    std::string canonical(2 * command.size() + 64, '\0');
    while (true) {
        std::int32_t length = static_cast<std::int32_t>(canonical.size()), position = 0;
        const std::int32_t status = WdbCheckCcl(command.c_str(), canonical.data(), &length, &position);
        if (status != WDB_E_BUFFER) {
            check(status);
            return canonical;
        }
        canonical.resize(2 * canonical.size());
    }
}

// BASE and DEFINE make no set.
bool makesSet(const std::string& command) {
    const std::string canonical = canonicalForm(command);
    return canonical.starts_with("FIN") || canonical.starts_with("SEL");
}

void reportRefusal(Shell& shell, const std::string& command, std::int32_t status) {
    std::int32_t code = 0, position = -1;
    char text[512];
    std::int32_t length = sizeof text;
    std::string message = kernelMessage(status);
    const bool known = WDB_SUCCESS(WdbLastError(&code, &position, text, &length)) && code == status;
    if (known && status == WDB_E_CCL_SYNTAX && position >= 0)
        message += "\n  " + command + "\n  " + std::string(static_cast<std::size_t>(position), ' ') + "^";
    shell.reportFault(status, message);
}

}  // namespace

void runCcl(Shell& shell, std::string_view text) {
    const std::string command(text);
    std::int32_t outcome = 0;
    const std::int32_t status = WdbExecuteCcl(command.c_str(), &outcome);
    if (!WDB_SUCCESS(status)) return reportRefusal(shell, command, status);
    if (!makesSet(command)) return;
    WdbSetInfoRecord set{};
    check(WdbSetInfo(0, &set));
    const std::int32_t most = shell.settings().allRows ? INT32_MAX : shell.settings().blockSize.value_or(20);
    set.kind == kRecordSet ? writeRecords(shell, set, most) : writeRows(shell, set, most);
}

}  // namespace host
