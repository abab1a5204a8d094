#pragma once

#include <memory>
#include <string>

#include "bench/compare/Query.h"

namespace compare {

// What is compared. Text: the query is a text that is taken apart anew, and the answer is written as an XML
// document, which is what a host of this engine gets. Prepared: the others have their statements prepared,
// and their rows are read and not written; this engine has no such way and does as ever.
enum class Way { Text, Prepared };

// Something that answers the queries. Faults end the program with a message: a comparison with a broken
// engine is worth nothing.
class Engine {
public:
    virtual ~Engine() = default;
    virtual const char* name() const = 0;
    // False: its rows are others than ours by design, so it is shown and not compared with.
    virtual bool deliversTheSame() const { return true; }
    // Whether it has an answer for the kind at all; also the place for what is done once, outside the
    // measured time (settings, prepared statements).
    virtual bool prepare(Kind kind) = 0;
    // The exact total and the rows of the page, as the way says.
    virtual Answer answer(const Query& query) = 0;
};

// Ranked: the way in which it is used by default, the best documents first instead of the first ones.
// Each opens what the loading steps made under `data`; `loadX` reads the collection's CSV files there.
std::unique_ptr<Engine> openOwn(const std::string& data);
std::unique_ptr<Engine> openSqlite(const std::string& data, Way way);
std::unique_ptr<Engine> openXapian(const std::string& data, Way way, bool ranked);
std::unique_ptr<Engine> openPostgres(const std::string& data, Way way);

void loadSqlite(const std::string& data);
void loadXapian(const std::string& data);
void loadPostgres(const std::string& data);

// Ends the program.
[[noreturn]] void die(const std::string& what);

}  // namespace compare
