#include "src/ValidationFault.h"

#include <cstdarg>
#include <string>

#include "src/WSQLFilter.h"

namespace wsql {

void WSQLFilter::ReportValidationFault(std::int32_t line, const char* context, const char* format, ...) {
    std::va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = platform::formatText(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(static_cast<std::size_t>(length < 0 ? 0 : length) + 1, '\0');
    platform::formatText(text.data(), text.size(), format, again);
    va_end(again);
    text.pop_back();
    ReportFault(static_cast<std::uint32_t>(lastStatus()), text.data(), static_cast<std::int32_t>(text.size()),
                kValidationSource, line, context);
}

}  // namespace wsql
