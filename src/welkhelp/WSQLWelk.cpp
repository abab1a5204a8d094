// Record controls, commands and databases: the calls that every executor makes of the kernel.
#include <cstdarg>
#include <cstring>
#include <vector>

#include "src/StatusScope.h"
#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/welkhelp/CclText.h"
#include "src/welkhelp/CommandWord.h"
#include "src/welkhelp/DatabaseEntry.h"
#include "src/welkhelp/KernelExtras.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr std::int32_t kNameBuffer = 64;
constexpr std::int32_t kLongestObjectCommand = WDB_COMMAND_AREA - 1;
// Fields of an entry of the control list.
constexpr std::int32_t kEntryOwner = 4;
constexpr std::int32_t kEntryName = 44;

/// The text of item 1 of a field; false when it has none.
std::int32_t readEntry(WelkTuple& tuple, WdbRecordControl* control, std::int32_t field, std::string& text) {
    std::int32_t status = tuple.place(control, field, 0, 1);
    if (!WDB_SUCCESS(status)) return status;
    char buffer[256];
    std::int32_t length = sizeof buffer;
    status = WdbGetItem(tuple.get(), buffer, &length);
    if (WDB_SUCCESS(status)) text.assign(buffer, static_cast<std::size_t>(length));
    return status;
}

/// Whether the kernel had nothing to index and has opened the base for searching. A log wants to see the
/// dates.
bool openedAtOnce(const WSQLFilter& filter, const char* name) {
    if (WdbOpenIndexed == nullptr || filter.logs(kLogWarning)) return false;
    std::int32_t behind = 1;
    return WDB_SUCCESS(WdbOpenIndexed(name, &behind)) && behind == 0;
}

}  // namespace

bool WSQLFilter::CreateControl(WdbRecordControl*& control, const char* databaseName, std::int32_t mode) {
    constexpr const char* kContext = "WSQLFilter::CreateControl";
    control = nullptr;
    std::int32_t status = WdbCreateRecordControl(&control);
    if (!WDB_SUCCESS(status)) {
        ReportKernelError(status, kContext, "WdbCreateRecordControl");
        return false;
    }
    char name[kNameBuffer] = {};
    if (databaseName != nullptr) std::strncpy(name, databaseName, kNameBuffer - 1);
    status = WdbSetBase(control, name, mode);
    if (WDB_SUCCESS(status)) return true;
    ReportKernelError(status, kContext, "WdbSetBase");
    WdbDeleteRecordControl(&control);
    control = nullptr;
    return false;
}

bool WSQLFilter::GetRecordInSearch(WdbRecordControl*& control, std::int32_t searchNumber,
                                   std::int32_t recordNumber, std::int32_t mode, std::int32_t* recordId) {
    constexpr const char* kContext = "WSQLFilter::GetRecordInSearch";
    constexpr const char* kSource = "WSQLFilter::CreateControl";
    debug(kContext, "Fetching record #%d from search %d in %s mode.\n", recordNumber, searchNumber,
          mode == WDB_MODE_READ ? "read" : "write");
    control = nullptr;
    WelkRecord record;
    std::int32_t status = WdbCreateRecordControl(&record.slot());
    if (!WDB_SUCCESS(status)) {
        ReportKernelError(status, kSource, "WdbCreateRecordControl");
        return false;
    }
    debug(kContext, "Record control created.\n");
    std::int32_t id = 0;
    char base[WDB_BASE_NAME_SIZE] = {};
    status = WdbGetRecordInSearchRis(record.get(), searchNumber, recordNumber, &id, base);
    if (!WDB_SUCCESS(status)) {
        const bool gone = status == WDB_FAIL || status == WDB_E_DELETED;
        if (!gone) ReportKernelError(status, kSource, "WdbGetRecordInSearchRis");
        setLastStatus(status);
        return false;
    }
    debug(kContext, "Record control initalized to RID #%d\n", id);
    if (mode != WDB_MODE_READ) {
        status = WdbSetBase(record.get(), base, mode);
        if (!WDB_SUCCESS(status)) {
            ReportKernelError(status, kSource, "WdbSetBase");
            return false;
        }
        debug(kContext, "Write access set for database \"%s\"\n", base);
    }
    if (recordId != nullptr) *recordId = id;
    control = record.get();
    record.slot() = nullptr;
    debug(kContext, "Record fetched.\n");
    return true;
}

std::int32_t WSQLFilter::ExecuteCCL(const char* format, ...) {
    std::va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = platform::formatText(nullptr, 0, format, arguments);
    va_end(arguments);
    std::vector<char> command(static_cast<std::size_t>(length < 0 ? 0 : length) + 1);
    platform::formatText(command.data(), command.size(), format, again);
    va_end(again);
    return ExecuteCommand(command.data());
}

std::int32_t WSQLFilter::ExecuteCommand(const char* command) {
    std::int32_t outcome = 0;
    if (newCcl()) return WdbExecuteCcl(command, &outcome);
    // The command area is part of the kernel's ABI. A longer command fails: cut short it could mean something
    // else.
    const std::size_t length = std::strlen(command);
    if (length > kLongestObjectCommand) return WDB_E_CCL_LENGTH;
    WdbCommandObject* object = nullptr;
    std::int32_t status = WdbShellDaoPtr(&object, "%s", command);
    if (!WDB_SUCCESS(status)) return status;
    object->commandLength = WDB_COMMAND_AREA;
    std::memset(object->command, 0, sizeof object->command);
    std::memcpy(object->command, command, length);
    status = WdbShellToDao(object);
    return WDB_SUCCESS(status) ? WdbDaoOrder(&outcome) : status;
}

std::int32_t WSQLFilter::SearchHitCount() {
    std::int32_t count = 0;
    const std::int32_t status = WdbSearchResult(&count, nullptr, nullptr, nullptr, nullptr);
    return WDB_SUCCESS(status) ? count : 0;
}

std::int32_t WSQLFilter::GetShellSymbol(char* symbol) {
    char word[WDB_WORD_SIZE];
    const std::size_t length = strnlen(symbol, WDB_WORD_MAX);
    std::memset(word, ' ', WDB_WORD_MAX);
    word[WDB_WORD_MAX] = '\0';
    std::memcpy(word, symbol, length);
    for (std::size_t i = 0; i < WDB_WORD_MAX; ++i) word[i] = asciiUpper(word[i]);
    std::memcpy(symbol, word, length);
    std::int32_t size = WDB_WORD_SIZE;
    const std::int32_t status = WdbShellSymbol(word, &size);
    if (WDB_SUCCESS(status)) {
        word[size >= 0 && size < WDB_WORD_SIZE ? size : WDB_WORD_MAX] = '\0';
        std::memcpy(symbol, word, WDB_WORD_SIZE);
    }
    return status;
}

bool WSQLFilter::SearchOpenDB(const char* databaseName) {
    const std::string_view name(databaseName);
    const bool list = name.find('=') != std::string_view::npos;  // which the kernel takes apart
    if (!list && openedAtOnce(*this, databaseName)) return true;
    IndexDatabase(databaseName, true, false);
    const CommandWord base(*this, "BAS");
    CStringBuffer command(128);
    command.append(base.text());
    command.append(' ');
    if (list) {
        command.append(name);
    } else {
        appendCclName(command, name);
    }
    const std::int32_t status = ExecuteCommand(command.text());
    if (WDB_SUCCESS(status)) return true;
    ReportKernelError(status, "WSQLFilter::SearchOpenDB", "ExecuteCCL");
    return false;
}

std::int32_t WSQLFilter::ListDatabases(std::vector<DatabaseEntry>& list) {
    list.clear();
    const StatusScope scope(*this, "WSQLFilter::ListDatabases");
    std::int32_t status = WdbShowControl(1, 0, "1", "");
    if (!WDB_SUCCESS(status)) return status;
    WdbRecordControl* control = nullptr;  // the kernel's, gone with the next call
    while (WDB_SUCCESS(WdbNextControl(&control))) {
        WelkTuple tuple;
        DatabaseEntry entry;
        status = readEntry(tuple, control, kEntryName, entry.name);
        if (tuple.get() == nullptr) {
            list.clear();
            return status;
        }
        if (!WDB_SUCCESS(status)) continue;
        readEntry(tuple, control, kEntryOwner, entry.owner);
        list.push_back(std::move(entry));
    }
    return WDB_OK;
}

}  // namespace wsql
