// The engine's few switches. They live in the kernel's setting store, so that what one call sets holds for
// the following calls of the session.
#include <algorithm>
#include <iterator>

#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/tree/WSQLScalar.h"
#include "src/tree/WSQLStmtProperty.h"
#include "src/welkhelp/CommandWord.h"
#include "src/welkhelp/KernelExtras.h"

namespace wsql {

namespace {

constexpr const char* kSelectText = "SQL_SELECTTEXT";
constexpr const char* kSelectBlob = "SQL_SELECTBLOB";
constexpr const char* kBatchIndex = "SQL_BATCHINDEX";
constexpr const char* kLazyIndex = "SQL_LAZYINDEX";
constexpr const char* kLogLevel = "WELKSQL_LOG";

struct Switch {
    const char* property;
    const char* setting;
};
constexpr Switch kSwitches[] = {
    {"selectblob", kSelectBlob},
    {"selecttext", kSelectText},
    {"batchindex", kBatchIndex},
    {"lazyindex", kLazyIndex},
};

// The setting behind a property, or null.
const char* settingOf(std::string_view property) {
    for (const Switch& entry : kSwitches) {
        if (property == entry.property) return entry.setting;
    }
    return nullptr;
}

const char* truth(bool on) {
    return on ? "true" : "false";
}

}  // namespace

bool WSQLFilter::settingOn(const char* name) const {
    CStringBuffer value(64);
    kernelSetting(name, value);
    return value.view() == "1";
}

bool WSQLFilter::selectText() const {
    return rawValues_ || settingOn(kSelectText);
}
bool WSQLFilter::selectBlob() const {
    return rawValues_ || settingOn(kSelectBlob);
}
bool WSQLFilter::batchIndex() const {
    return settingOn(kBatchIndex);
}
bool WSQLFilter::lazyIndex() const {
    return settingOn(kLazyIndex);
}

void WSQLFilter::setSelectText(bool on) {
    UpdateRCS(kSelectText, on ? "1" : "0");
}
void WSQLFilter::setSelectBlob(bool on) {
    UpdateRCS(kSelectBlob, on ? "1" : "0");
}

bool WSQLFilter::ExecuteProperty(WSQLStmtProperty* statement) {
    CStringBuffer lowered(64);
    lowered.set(statement->name);
    lowered.toLower(caseTable());
    const std::string name(lowered.view());
    std::string answer;
    bool known = false;
    if (const auto* set = dynamic_cast<const WSQLStmtSet*>(statement)) {
        CStringBuffer value(64);
        if (set->value != nullptr) set->value->toText(value);
        known = setProperty(name, value.view(), answer);
    } else {
        known = getProperty(name, answer);
    }
    if (known) {
        writeProperty(name, answer);
        return true;
    }
    const std::string fault = "Unknown property \"" + name + "\".";
    WriteFaultDocument(0, fault.data(), static_cast<std::int32_t>(fault.size()),
                       "WSQLFilter::ExecuteProperty", "execution");
    return false;
}

// Everything but the text false switches on.
bool WSQLFilter::setProperty(const std::string& name, std::string_view value, std::string& answer) {
    const bool on = value != "false";
    if (name == "logging") {
        setLogging(on);
        answer = truth(logging());
        return true;
    }
    if (name == "loglevel") {
        const std::int32_t wanted = decimalPrefix(value);
        const std::int32_t level = std::clamp<std::int32_t>(wanted, kLogNone, kLogDebug);
        setLogLevel(level);
        UpdateRCS(kLogLevel, std::to_string(level).c_str());
        answer = std::to_string(wanted);
        return true;
    }
    const char* setting = settingOf(name);
    if (setting == nullptr) return false;
    UpdateRCS(setting, on ? "1" : "0");
    answer = truth(on);
    return true;
}

bool WSQLFilter::getProperty(const std::string& name, std::string& answer) const {
    if (name == "logging") {
        answer = truth(logging());
        return true;
    }
    if (name == "loglevel") {
        answer = std::to_string(logLevel());
        return true;
    }
    const char* setting = settingOf(name);
    if (setting == nullptr) return false;
    answer = truth(settingOn(setting));
    return true;
}

void WSQLFilter::writeProperty(const std::string& name, const std::string& value) {
    CStringBuffer document(512);
    document.append("<?xml version=\"1.0\" encoding=\"");
    document.append(kOutputEncoding);
    document.append("\" ?>\r\n<property name=\"");
    document.append(name);
    document.append("\">");
    document.append(value);
    document.append("</property>\r\n");
    SetAnswer(document);
}

bool WSQLFilter::UseZeroSearchSets() {
    constexpr const char* kDone = "Enabled empty search results feature.\n";
    if (WdbAllowNoHits != nullptr && WDB_SUCCESS(WdbAllowNoHits())) {
        info("WSQLFilter::UseZeroSearchSets", kDone);
        return true;
    }
    const CommandWord define(*this, "DEF");
    const CommandWord minimum(*this, "MIN");
    const CommandWord find(*this, "FIN");
    CStringBuffer command(64);
    command.append(define.text());
    command.append(' ');
    command.append(find.text());
    command.append(' ');
    command.append(minimum.text());
    command.append("=0");
    const std::int32_t status = ExecuteCommand(command.text());
    if (!WDB_SUCCESS(status)) {
        ReportKernelError(status, "WSQLFilter", "UseZeroSearchSets");
        return false;
    }
    info("WSQLFilter::UseZeroSearchSets", kDone);
    return true;
}

}  // namespace wsql
