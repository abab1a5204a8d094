#include <sqlite3.h>

#include <array>
#include <utility>
#include <vector>

#include "bench/compare/Csv.h"
#include "bench/compare/Document.h"
#include "bench/compare/Engine.h"

namespace compare {

namespace {

// A prepared statement.
class Statement {
public:
    Statement() = default;
    // `flags`: SQLITE_PREPARE_PERSISTENT for one that is used often.
    Statement(sqlite3* db, const std::string& sql, unsigned flags = 0) {
        if (sqlite3_prepare_v3(db, sql.c_str(), -1, flags, &statement_, nullptr) != SQLITE_OK)
            die(sql + ": " + sqlite3_errmsg(db));
    }
    Statement(Statement&& other) noexcept : statement_(std::exchange(other.statement_, nullptr)) {}
    Statement& operator=(Statement&& other) noexcept {
        std::swap(statement_, other.statement_);
        return *this;
    }
    ~Statement() { sqlite3_finalize(statement_); }

    void bind(int at, const std::string& text) {
        sqlite3_bind_text(statement_, at, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    }
    void bind(int at, long long number) { sqlite3_bind_int64(statement_, at, number); }
    bool step() {
        const int status = sqlite3_step(statement_);
        if (status != SQLITE_ROW && status != SQLITE_DONE) die(sqlite3_errmsg(sqlite3_db_handle(statement_)));
        return status == SQLITE_ROW;
    }
    void reset() { sqlite3_reset(statement_); }
    long long number(int column) { return sqlite3_column_int64(statement_, column); }
    // As a text, so that numbers are written out as the others do.
    std::string_view text(int column) {
        const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
        return {bytes, static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
    }
    int columns() { return sqlite3_column_count(statement_); }
    int parameters() { return sqlite3_bind_parameter_count(statement_); }

private:
    sqlite3_stmt* statement_ = nullptr;
};

// What FROM says, and what the rows show; the total counts the same rows.
struct Texts {
    std::string from;
    std::string columns = "p.name, p.version";
    std::string order;
    std::string counted;  // the FROM of the count, where the rows need a table more
};

Texts textsOf(Kind kind) {
    const std::string matched = "FROM words w JOIN packages p ON p.id = w.rowid WHERE words MATCH ?1";
    switch (kind) {
        case Kind::Point:
            return {"FROM packages p WHERE p.name = ?1", "p.name, p.version", "", ""};
        case Kind::Exact:
            return {"FROM packages p WHERE p.section = ?1", "p.name, p.version", "", ""};
        case Kind::NamePrefix:
            return {"FROM packages p WHERE p.name >= ?1 AND p.name < ?2", "p.name, p.version", "", ""};
        case Kind::Range:
            return {"FROM packages p WHERE p.size BETWEEN ?1 AND ?2", "p.name, p.version", "", ""};
        case Kind::RangeAndWord:
            return {
                "FROM words w JOIN packages p ON p.id = w.rowid WHERE words MATCH ?3 AND p.size BETWEEN ?1 "
                "AND ?2",
                "p.name, p.version", "", ""};
        case Kind::WordByName:
            return {matched, "p.name, p.version", " ORDER BY p.name", ""};
        case Kind::FirstPage:
        case Kind::Page500:
            return {"FROM packages p", "p.name, p.size", " ORDER BY p.size DESC", ""};
        case Kind::Group:
            return {"FROM packages p GROUP BY p.section", "p.section, count(*), sum(p.size)", "",
                    "FROM (SELECT DISTINCT section FROM packages)"};
        case Kind::JoinFew:
        case Kind::JoinAll:
            return {
                "FROM words w JOIN packages p ON p.id = w.rowid JOIN dependencies d ON d.package = p.name "
                "WHERE words MATCH ?1",
                "p.name, d.target", "", ""};
        default:
            return {matched, "p.name, p.version", "", "FROM words WHERE words MATCH ?1"};
    }
}

// The MATCH text of a query on words.
std::string matchOf(const Query& query) {
    const auto word = [&](size_t i) { return '"' + query.arguments[i] + '"'; };
    switch (query.kind) {
        case Kind::And:
            return word(0) + " AND " + word(1);
        case Kind::OrOfThree:
            return word(0) + " OR " + word(1) + " OR " + word(2);
        case Kind::AndNot:
            return word(0) + " NOT " + word(1);
        case Kind::WordPrefix:
            return word(0) + "*";
        case Kind::Phrase:
            return '"' + query.arguments[0] + ' ' + query.arguments[1] + '"';
        default:
            return word(0);
    }
}

sqlite3* openDatabase(const std::string& path, int flags) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, flags, nullptr) != SQLITE_OK) die("cannot open " + path);
    return db;
}

void run(sqlite3* db, const char* sql) {
    if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        die(std::string(sql) + sqlite3_errmsg(db));
}

class SqliteEngine : public Engine {
public:
    SqliteEngine(const std::string& data, Way way)
        : db_(openDatabase(data + "/sqlite.db", SQLITE_OPEN_READONLY)), way_(way) {
        run(db_, "PRAGMA mmap_size = 8589934592; PRAGMA cache_size = -524288; PRAGMA temp_store = MEMORY");
    }
    SqliteEngine(const SqliteEngine&) = delete;
    SqliteEngine& operator=(const SqliteEngine&) = delete;
    ~SqliteEngine() override {
        count_ = {};
        rows_ = {};
        sqlite3_close(db_);
    }

    const char* name() const override { return "SQLite FTS5"; }

    bool prepare(Kind kind) override {
        if (kind == Kind::WordInfix) return false;
        const Texts texts = textsOf(kind);
        countText_ = "SELECT count(*) " + (texts.counted.empty() ? texts.from : texts.counted);
        rowsText_ = "SELECT " + texts.columns + ' ' + texts.from + texts.order + " LIMIT " +
                    std::to_string(kPageRows) + " OFFSET " +
                    std::to_string(kind == Kind::Page500 ? (kFarPage - 1) * kPageRows : 0);
        prepareBoth();
        return true;
    }

    Answer answer(const Query& query) override {
        if (way_ == Way::Text) prepareBoth();
        Answer out;
        bind(count_, query);
        if (count_.step()) out.total = count_.number(0);
        count_.reset();
        if (way_ == Way::Text) document_.begin(out.total);
        bind(rows_, query);
        while (rows_.step()) {
            ++out.rows;
            if (way_ == Way::Text) document_.row(out.rows);
            for (int column = 0; column < rows_.columns(); ++column) {
                const std::string_view text = rows_.text(column);
                out.bytes += text.size();
                if (way_ == Way::Text) document_.column(column + 1, text);
            }
            if (way_ == Way::Text) document_.endRow();
        }
        rows_.reset();
        if (way_ == Way::Text) out.bytes = document_.end();
        return out;
    }

private:
    void prepareBoth() {
        const unsigned flags = way_ == Way::Prepared ? SQLITE_PREPARE_PERSISTENT : 0;
        count_ = Statement(db_, countText_, flags);
        rows_ = Statement(db_, rowsText_, flags);
    }
    static void bind(Statement& statement, const Query& query) {
        if (statement.parameters() == 0) return;
        switch (query.kind) {
            case Kind::Point:
            case Kind::Exact:
                return statement.bind(1, query.arguments[0]);
            case Kind::NamePrefix: {
                std::string end = query.arguments[0];
                ++end.back();
                statement.bind(1, query.arguments[0]);
                return statement.bind(2, end);
            }
            case Kind::Range:
            case Kind::RangeAndWord:
                statement.bind(1, std::stoll(query.arguments[0]));
                statement.bind(2, std::stoll(query.arguments[1]));
                if (query.kind == Kind::RangeAndWord) statement.bind(3, '"' + query.arguments[2] + '"');
                return;
            default:
                return statement.bind(1, matchOf(query));
        }
    }

    sqlite3* db_;
    Way way_;
    std::string countText_, rowsText_;
    Document document_;
    Statement count_;
    Statement rows_;
};

// Phrases do not reach over the end of a paragraph: a word that nobody asks for stands there.
std::string withBreaks(const std::string& description) {
    std::string out;
    for (size_t i = 0; i < description.size(); ++i) {
        out += description[i];
        if (description[i] == '\n' && i + 1 < description.size() && description[i + 1] == '\n')
            out += "qqbreak";
    }
    return out;
}

constexpr const char* kTables =
    "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA cache_size = -524288;"
    "CREATE TABLE packages (id INTEGER PRIMARY KEY, name TEXT NOT NULL, version TEXT, section TEXT, size "
    "INTEGER);"
    "CREATE VIRTUAL TABLE words USING fts5(description, content = '', prefix = '4', "
    "tokenize = 'unicode61 remove_diacritics 0');"
    "CREATE TABLE dependencies (package TEXT NOT NULL, target TEXT NOT NULL); BEGIN";

constexpr const char* kIndexes =
    "COMMIT; INSERT INTO words(words) VALUES ('optimize');"
    "CREATE UNIQUE INDEX packages_name ON packages (name);"
    "CREATE INDEX packages_section ON packages (section, size);"
    "CREATE INDEX packages_size ON packages (size);"
    "CREATE INDEX dependencies_package ON dependencies (package, target);"
    "CREATE INDEX dependencies_target ON dependencies (target); ANALYZE";

}  // namespace

void loadSqlite(const std::string& data) {
    sqlite3* db = openDatabase(data + "/sqlite.db", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    run(db, kTables);
    {
        Statement package(db, "INSERT INTO packages VALUES (?1, ?2, ?3, ?4, ?5)");
        Statement words(db, "INSERT INTO words(rowid, description) VALUES (?1, ?2)");
        CsvReader packages(data + "/packages.csv");
        std::vector<std::string> fields;
        for (long long id = 1; packages.row(fields); ++id) {
            package.bind(1, id);
            for (int i = 0; i < 3; ++i) package.bind(i + 2, fields[static_cast<size_t>(i)]);
            package.bind(5, std::stoll(fields[3]));
            package.step();
            package.reset();
            words.bind(1, id);
            words.bind(2, withBreaks(fields[4]));
            words.step();
            words.reset();
        }
        Statement dependency(db, "INSERT INTO dependencies VALUES (?1, ?2)");
        CsvReader dependencies(data + "/dependencies.csv");
        while (dependencies.row(fields)) {
            dependency.bind(1, fields[0]);
            dependency.bind(2, fields[1]);
            dependency.step();
            dependency.reset();
        }
    }
    run(db, kIndexes);
    if (sqlite3_close(db) != SQLITE_OK) die("cannot close the database");
}

std::unique_ptr<Engine> openSqlite(const std::string& data, Way way) {
    return std::make_unique<SqliteEngine>(data, way);
}

}  // namespace compare
