// What the parser asks the filter: the statement's instant and the session's way of writing dates.
#include <string>

#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/tree/WSQLTimestamp.h"

namespace wsql {

namespace {

constexpr std::int32_t kDateFormItem = 2;
constexpr std::size_t kTextSize = 256;

// A text that the kernel gives; empty when it cannot.
std::string kernelText(std::int32_t (*function)(char*, std::int32_t*)) {
    char text[kTextSize] = "";
    std::int32_t length = sizeof text;
    return WDB_SUCCESS(function(text, &length)) ? std::string(text) : std::string();
}

// The session's symbol, else the setting of that name; empty when neither exists.
std::string centuryText() {
    char symbol[kTextSize] = "CMI       ";
    std::int32_t length = sizeof symbol;
    if (WDB_SUCCESS(WdbShellSymbol(symbol, &length))) return symbol;
    CStringBuffer setting(64);
    kernelSetting("CMI", setting);
    return std::string(setting.view());
}

}  // namespace

const WSQLTimestamp* WSQLFilter::statementInstant() {
    if (statementTime_ == nullptr) {
        const std::string date = kernelText(WdbCurrentDate);
        statementTime_ = std::make_unique<WSQLTimestamp>(date, kernelText(WdbCurrentTime));
    }
    return statementTime_.get();
}

DateSettings WSQLFilter::dateSettings() {
    DateSettings settings;
    std::int32_t form = 1;
    if (WDB_SUCCESS(WdbSessionInfo(kDateFormItem, &form, nullptr, nullptr))) settings.form = form;
    settings.today = kernelText(WdbCurrentDate);
    settings.century = decimalPrefix(centuryText());
    settings.currentYear = platform::localTime().year;
    return settings;
}

}  // namespace wsql
