// The engine through its exported functions, in a data directory of its own.
#pragma once

#include <string>

#include "tests/differential/Rows.h"
#include "tests/differential/Schema.h"
#include "tests/unit/engine/Database.h"

namespace differential {

class Engine {
public:
    /// A statement that makes something; false with a message of the engine when it fails.
    bool change(const std::string& sql, std::string& message);
    /// Rows of the table by the kernel's load, which writes index files where INSERT leaves records in the
    /// queue.
    bool load(const Table& table, std::size_t first, std::size_t end, std::string& message);
    /// A SELECT; with a block size of 0 all rows, else the block (1-based).
    Rows select(const std::string& sql, int blockSize = 0, int block = 1);
    Answer run(const std::string& sql) { return database_.run(sql); }
    const Database& database() const { return database_; }

private:
    void setBlock(int blockSize, int block);

    Database database_;
    int blockSize_ = -2, block_ = -2;  ///< as set last
};

}  // namespace differential
