// The last step of a value on its way into a row: conversion, escaping, joining of several values, base64.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "src/support/CStringBuffer.h"

namespace wsql {

class WSQLFilter;

/// Which of a field's values make up one output value, and what stands between them.
struct ValueRange {
    std::string_view separator = "; ";
    std::int32_t first = 1;                                        ///< 1-based
    std::int32_t last = std::numeric_limits<std::int32_t>::max();  ///< 1-based, included
    bool contains(std::int32_t ordinal) const { return ordinal >= first && ordinal <= last; }
};

class ValueFilter {
public:
    /// Ordinal that ends the values of a field.
    static constexpr std::int32_t kEnd = -1;

    /// The filter object outlives this one, and so does the text behind the separator.
    ValueFilter(const WSQLFilter& filter, const ValueRange& range) : filter_(filter), range_(range) {}

    /// Appends the ordinal's value (1-based) as XML character data, behind a separator when the output holds
    /// text. Ordinals outside the range, and kEnd, append nothing.
    void value(std::int32_t ordinal, std::string_view text, CStringBuffer& out) const;

    /// Appends a large object as base64.
    static void binary(std::string_view bytes, CStringBuffer& out);
    /// Appends a text without markup: in UTF-8, then base64.
    void plainText(std::string_view text, CStringBuffer& out) const;
    /// Appends text as XML character data.
    void xml(std::string_view text, CStringBuffer& out) const;

private:
    const WSQLFilter& filter_;
    ValueRange range_;
};

}  // namespace wsql
