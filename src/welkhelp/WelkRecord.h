// Owners of kernel handles: a record control with the parts of its record, and a cursor.
#pragma once

#include <cstdint>
#include <vector>

#include "include/wdb.h"

namespace wsql {

/// One hit part of a record.
struct WelkEntity {
    std::int32_t part;  ///< 1-based
};

/// Owns one record control, deleted with the object. Used on the thread whose session made it.
class WelkRecord {
public:
    WelkRecord() = default;
    explicit WelkRecord(WdbRecordControl* control) : control_(control) {}
    WelkRecord(const WelkRecord&) = delete;
    WelkRecord& operator=(const WelkRecord&) = delete;
    ~WelkRecord() { reset(); }

    WdbRecordControl* get() const { return control_; }
    /// Where a creating call puts the handle; the object must be empty.
    WdbRecordControl*& slot() { return control_; }
    void reset() {
        if (control_ != nullptr) WdbDeleteRecordControl(&control_);
        control_ = nullptr;
    }

    /// Finds the parts that the search hit, or, when it hit none, counts all parts of the record. Returns the
    /// number of parts to visit.
    std::int32_t findParts();
    const std::vector<WelkEntity>& parts() const { return parts_; }

private:
    WdbRecordControl* control_ = nullptr;
    std::int32_t firstPart_ = 0, hitParts_ = 0, headHit_ = 0;
    std::vector<WelkEntity> parts_;
};

/// Owns one cursor, deleted with the object; placed anew it moves.
class WelkTuple {
public:
    WelkTuple() = default;
    WelkTuple(const WelkTuple&) = delete;
    WelkTuple& operator=(const WelkTuple&) = delete;
    ~WelkTuple() {
        if (cursor_ != nullptr) WdbDeleteCursor(&cursor_);
    }

    WdbCursor* get() const { return cursor_; }
    /// Puts the cursor on a field; returns the kernel's status.
    std::int32_t place(WdbRecordControl* control, std::int32_t field, std::int32_t paragraph,
                       std::int32_t item) {
        return WdbSetCursor(&cursor_, control, field, paragraph, item);
    }

private:
    WdbCursor* cursor_ = nullptr;
};

}  // namespace wsql
