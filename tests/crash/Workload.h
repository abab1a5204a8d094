#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "include/wdb.h"

// Statements that change two bases, and what they are to leave there.
namespace crash {

struct Row {
    std::string note;    // TEXT: words, one line
    int64_t size = 0;    // INTEGER
    std::string object;  // STRING: bytes in chunks of their own
    bool operator==(const Row&) const = default;
};

using Rows = std::map<std::string, Row>;  // by NAME, the unique key

inline constexpr std::array kBases{"ROWS", "PAIRS"};
struct Contents {
    std::array<Rows, 2> bases;
    bool operator==(const Contents&) const = default;
};

// A session on a home directory, bound to the thread. With a status other than WDB_OK there is none.
class Session {
public:
    explicit Session(const std::string& home);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    int32_t status() const { return status_; }

private:
    WdbSession* session_ = nullptr;
    int32_t status_ = WDB_OK;
};

struct Statement {
    std::string name;
    std::function<int32_t()> run;             // in the bound session; WDB_OK: acknowledged
    std::function<void(Contents&)> expected;  // what it does to the contents, whole
    bool severalBases = false;                // what a failure leaves is completed by the next writer
};

using Random = std::mt19937;

// A row whose note has one of seven words and whose object is there now and then.
Row randomRow(Random& random);

// A statement that the contents allow: one record, some records in a unit, a unit over both bases, a load, an
// index rebuilt, a base compacted.
Statement randomStatement(Random& random, const Contents& contents, int serial);

// One statement of each kind for a home made by prepare(), through the kernel's interface.
std::vector<Statement> kernelStatements();

// Makes both bases with some rows, part of them in the index files and part in the queue.
Contents prepare(const std::string& home);

// A load of so many rows, names with the given beginning.
Statement bulkLoad(const std::string& prefix, int rows);

// Statements that fill the queue of the first base: the commit of the last one is followed by a merge.
std::vector<Statement> queueFilling();

Statement rebuildIndex(size_t base);

// Writes the base's files anew.
Statement compact(size_t base);

// Reads everything there is through searches and records.
int32_t readContents(Contents& contents);

// What is wrong with the home directory, from a session of its own: empty when its bases are sound, hold one
// of the two contents, and every search answers what a look at all rows gives. `found` gets the contents.
std::string defects(const std::string& home, const Contents& before, const Contents& after, Contents& found);

// The same within the bound session.
std::string defectsHere(const Contents& before, const Contents& after, Contents& found);

}  // namespace crash
