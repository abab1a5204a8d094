// The two small documents that answer everything but rows and objects, and the record's fields beside them.
// None of their texts is escaped: hosts decide by status and message.
#include <cstdarg>
#include <cstring>
#include <string_view>

#include "src/WSQLFilter.h"

namespace wsql {

namespace {

constexpr std::size_t kSuccessSize = 8192;
constexpr std::size_t kKernelTextSize = 1024;
constexpr std::int32_t kMessageSize = 256;
constexpr std::int32_t kInvocationStatus = WDB_E_INVOCATION;
constexpr const char* kFaultMessage = "Fault in SQL processing.";
constexpr const char* kEmptyFault = "Unknown error parsing SQL statement.";

void appendDeclaration(CStringBuffer& document) {
    document.append("<?xml version=\"1.0\" encoding=\"");
    document.append(kOutputEncoding);
    document.append("\" ?>\r\n");
}

// What follows the last separator of a path, of either kind.
std::string_view fileName(std::string_view path) {
    const std::size_t separator = path.find_last_of("/\\");
    return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

}  // namespace

void WSQLFilter::ReportSuccess(const char* format, ...) {
    char text[kSuccessSize] = "";
    if (format != nullptr) {
        std::va_list arguments;
        va_start(arguments, format);
        if (platform::formatText(text, sizeof text, format, arguments) < 0) text[0] = '\0';
        va_end(arguments);
    }
    const auto length = static_cast<std::int32_t>(std::strlen(text));
    CStringBuffer document(512);
    appendDeclaration(document);
    document.append("<Success");
    if (length == 0) {
        document.append("/>\r\n");
    } else {
        document.append(">");
        document.append(text, length);
        document.append("</Success>\r\n");
    }
    SetAnswer(document);
    setStatus(WDB_OK);
    setMessage(length < kMessageSize ? text : "");
    if (length > 0) info("", "%s\n", text);
}

void WSQLFilter::ReportFault(std::uint32_t code, const char* text, std::int32_t length,
                             const char* sourceFile, std::int32_t line, const char* context) {
    const std::string source = std::string(fileName(sourceFile)) + ":" + std::to_string(line);
    WriteFaultDocument(code, text, length, source.c_str(), context);
}

std::string kernelMessage(std::int32_t code, const char* source, const char* context) {
    char text[kKernelTextSize] = "";
    std::int32_t size = sizeof text;
    if (WDB_SUCCESS(WdbMessage(code, text, &size))) {
        text[sizeof text - 1] = '\0';
        return text;
    }
    CStringBuffer unknown(128);
    unknown.format("Unknown WELK error #%d (source=\"%s\", context=\"%s\").", code, source, context);
    return std::string(unknown.view());
}

void WSQLFilter::ReportKernelError(std::int32_t code, const char* source, const char* context) {
    const std::string text = kernelMessage(code, source, context);
    WriteFaultDocument(static_cast<std::uint32_t>(code), text.c_str(), -1, source, context);
    // The host reads odd as success, which no failure may look like.
    setStatus(WDB_SUCCESS(code) ? WDB_FAIL : code);
    setLastStatus(code);
}

void WSQLFilter::WriteFaultDocument(std::uint32_t code, const char* text, std::int32_t length,
                                    const char* source, const char* context) {
    if (text == nullptr) {
        text = "";
        length = 0;
    }
    if (length < 0) length = static_cast<std::int32_t>(std::strlen(text));
    const auto signedCode = static_cast<std::int32_t>(code);
    CStringBuffer document(512);
    appendDeclaration(document);
    document.append("<Fault faultCode=\"");
    document.append(std::to_string(signedCode));
    document.append("\"\r\n      faultSource=\"");
    document.append(source);
    document.append("\"\r\n      faultContext=\"");
    document.append(context);
    document.append("\">");
    if (length < 1) {
        document.append(kEmptyFault);
    } else {
        document.append(text, length);
        error(source, signedCode, "%.*s\n", length, text);
    }
    document.append("</Fault>");
    SetAnswer(document);
    setStatus(static_cast<std::int32_t>(code * 2U));
    const bool fits = length >= 1 && length < kMessageSize;
    setMessage(fits ? text : kFaultMessage, fits ? length : -1);
    error(source, signedCode, "%.*s\n", fits ? length : kMessageSize, fits ? text : kFaultMessage);
}

void WSQLFilter::ReportUnsupported() {
    ReportFault(0, "Statement not currently supported.", -1, "src/WSQLFilter", 656, "WSQLFilter::execSql");
}

// ---- handing over ----

void WSQLFilter::releaseAnswer() noexcept {
    platform::heapFree(answer_);
    answer_ = nullptr;
}

void WSQLFilter::SetAnswer(CStringBuffer& document) {
    if (document.length() == 0) document.set("");
    const std::int32_t length = document.length();
    SetAnswer(platform::HeapText(document.detach()), length);
}

void WSQLFilter::SetAnswer(platform::HeapText memory, std::int32_t length) {
    answered_ = true;
    if (filterData() == nullptr) return;
    releaseAnswer();
    answer_ = memory.release();
    filterData()->output = answer_;
    filterData()->outputLength = length;
}

std::int32_t WSQLFilter::AnswerException(const char* context) noexcept {
    try {
        WriteFaultDocument(0, kFaultMessage, -1, "execution", context);
    } catch (...) {
        if (answer_ != nullptr) {
            filterData()->output = nullptr;
            filterData()->outputLength = 0;
            releaseAnswer();
        }
        return AnswerWithoutDocument(filterData());
    }
    return filterData() != nullptr ? status() : kInvocationStatus;
}

std::int32_t WSQLFilter::AnswerWithoutDocument(FilterData* data) noexcept {
    if (data == nullptr) return kInvocationStatus;
    data->status = WDB_FAIL;
    std::memset(data->message, 0, sizeof data->message);
    std::memcpy(data->message, kFaultMessage, std::strlen(kFaultMessage));
    return data->status;
}

}  // namespace wsql
