// SQLite with the dialect's views of texts and values as functions.
#pragma once

#include <string>

#include "tests/differential/Rows.h"

struct sqlite3;

namespace differential {

class Twin {
public:
    Twin();
    Twin(const Twin&) = delete;
    Twin& operator=(const Twin&) = delete;
    ~Twin();

    bool change(const std::string& sql, std::string& message);
    Rows select(const std::string& sql);
    /// Rows that the latest change inserted, updated or deleted.
    std::int64_t changes() const;

private:
    sqlite3* database_ = nullptr;
};

}  // namespace differential
