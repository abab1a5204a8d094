#include "src/welkhelp/WelkRecord.h"

namespace wsql {

std::int32_t WelkRecord::findParts() {
    parts_.clear();
    firstPart_ = hitParts_ = headHit_ = 0;
    const std::int32_t status = WdbHitParts(control_, 1, &firstPart_, &hitParts_, &headHit_);
    if (!WDB_SUCCESS(status) || hitParts_ < 1) {
        std::int32_t count = 0;
        if (!WDB_SUCCESS(WdbPartCount(control_, &count)) || count < 1) count = 1;
        for (std::int32_t part = 1; part <= count; ++part) parts_.push_back({part});
        return count;
    }
    for (std::int32_t ordinal = 1; ordinal <= hitParts_; ++ordinal) {
        std::int32_t part = ordinal;
        WdbHitParts(control_, ordinal, &part, nullptr, nullptr);
        parts_.push_back({part});
    }
    return hitParts_;
}

}  // namespace wsql
