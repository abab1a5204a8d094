// How comparison operators relate to each other.
#pragma once

#include <string_view>

#include "src/tree/WSQLPredicates.h"

namespace wsql::ComparisonOp {

/// The operator that holds for b and a exactly when `op` holds for a and b.
constexpr int32_t mirrored(int32_t op) {
    switch (op) {
        case kLess:
            return kGreater;
        case kGreater:
            return kLess;
        case kLessEqual:
            return kGreaterEqual;
        case kGreaterEqual:
            return kLessEqual;
        default:
            return op;
    }
}

/// The operator that holds for two values exactly when `op` does not. IN counts as "=".
constexpr int32_t opposite(int32_t op) {
    switch (op) {
        case kNotEqual:
            return kEqual;
        case kLess:
            return kGreaterEqual;
        case kGreater:
            return kLessEqual;
        case kLessEqual:
            return kGreater;
        case kGreaterEqual:
            return kLess;
        default:
            return kNotEqual;
    }
}

/// The sign in a command: "<>", "<", ">", "<=", ">=", and "=" for every other code.
constexpr std::string_view sign(int32_t op) {
    switch (op) {
        case kNotEqual:
            return "<>";
        case kLess:
            return "<";
        case kGreater:
            return ">";
        case kLessEqual:
            return "<=";
        case kGreaterEqual:
            return ">=";
        default:
            return "=";
    }
}

}  // namespace wsql::ComparisonOp
