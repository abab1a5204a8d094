// A host's record with its memory: what it gets back is released at the end.
#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "include/sqlengine.h"

class Request {
public:
    // The text lies in memory of exactly size bytes (its own length when size is below 0), so that a
    // sanitizer sees every byte too many.
    explicit Request(std::string_view text, std::uint32_t options = 36, std::int32_t size = -1) {
        const std::size_t bytes = size < 0 ? text.size() : static_cast<std::size_t>(size);
        memory_.reset(static_cast<char*>(std::malloc(bytes > 0 ? bytes : 1)));
        std::memset(memory_.get(), 0, bytes > 0 ? bytes : 1);
        std::memcpy(memory_.get(), text.data(), text.size() < bytes ? text.size() : bytes);
        std::memset(data.host, 0x5A, sizeof data.host);
        data.text = memory_.get();
        data.textLength = static_cast<std::int32_t>(bytes);
        data.wdb_options = options;
        data.status = 77;
    }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;
    ~Request() { std::free(data.output); }

    std::string document() const {
        return data.output != nullptr ? std::string(data.output, static_cast<std::size_t>(data.outputLength))
                                      : "(none)";
    }
    std::string text() const { return {data.text, static_cast<std::size_t>(data.textLength)}; }
    bool hostAreaUntouched() const {
        for (const char c : data.host) {
            if (c != 0x5A) return false;
        }
        return true;
    }

    FilterData data{};

private:
    struct Free {
        void operator()(char* memory) const noexcept { std::free(memory); }
    };
    std::unique_ptr<char, Free> memory_;
};

inline const char* const kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n";

inline std::string faultDocument(const std::string& code, const std::string& source,
                                 const std::string& context, const std::string& text) {
    return kDeclaration + ("<Fault faultCode=\"" + code) + "\"\r\n      faultSource=\"" + source +
           "\"\r\n      faultContext=\"" + context + "\">" + text + "</Fault>";
}

inline std::string successDocument(const std::string& text) {
    return kDeclaration + (text.empty() ? "<Success/>\r\n" : "<Success>" + text + "</Success>\r\n");
}

inline std::string propertyDocument(const std::string& name, const std::string& value) {
    return kDeclaration + ("<property name=\"" + name) + "\">" + value + "</property>\r\n";
}
