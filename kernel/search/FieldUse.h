#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "kernel/common/Ids.h"

namespace wdb {

// Stands for all fields of a base, used by somebody with every right on it.
inline constexpr FieldNumber kEveryField = 0;

// The fields that a command reads, in conditions, orders and columns. Whoever may not read one of them any
// more does not get to see what the command found.
class FieldUse {
public:
    using Field = std::pair<BaseId, FieldNumber>;

    void note(BaseId base, FieldNumber field) {
        const Field use(base, field);
        const auto place = std::ranges::lower_bound(fields_, use);
        if (place == fields_.end() || *place != use) fields_.insert(place, use);
    }
    void note(const FieldUse& other) {
        for (const auto& [base, field] : other.fields_) note(base, field);
    }
    void clear() { fields_.clear(); }
    const std::vector<Field>& fields() const { return fields_; }

private:
    std::vector<Field> fields_;  // ascending
};

}  // namespace wdb
