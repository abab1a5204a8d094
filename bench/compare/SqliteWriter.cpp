#include <sqlite3.h>

#include <filesystem>
#include <map>

#include "bench/compare/Writer.h"

namespace compare {

namespace {

// The index over the texts keeps no copy of them and follows the table by triggers, as its manual shows.
constexpr const char* kTables =
    "CREATE TABLE packages (id INTEGER PRIMARY KEY, name TEXT NOT NULL, version TEXT, section TEXT, "
    "size INTEGER, description TEXT);"
    "CREATE VIRTUAL TABLE words USING fts5(description, content = 'packages', content_rowid = 'id', "
    "tokenize = 'unicode61 remove_diacritics 0');";
constexpr const char* kIndexes =
    "CREATE UNIQUE INDEX packages_name ON packages (name);"
    "CREATE INDEX packages_section ON packages (section);"
    "CREATE INDEX packages_version ON packages (version);"
    "CREATE INDEX packages_size ON packages (size);";
constexpr const char* kTriggers =
    "CREATE TRIGGER added AFTER INSERT ON packages BEGIN"
    " INSERT INTO words(rowid, description) VALUES (new.id, new.description); END;"
    "CREATE TRIGGER removed AFTER DELETE ON packages BEGIN"
    " INSERT INTO words(words, rowid, description) VALUES ('delete', old.id, old.description); END;"
    "CREATE TRIGGER changed AFTER UPDATE OF description ON packages BEGIN"
    " INSERT INTO words(words, rowid, description) VALUES ('delete', old.id, old.description);"
    " INSERT INTO words(rowid, description) VALUES (new.id, new.description); END;";

class SqliteWriter : public Writer {
public:
    explicit SqliteWriter(std::string folder) : folder_(std::move(folder)) {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
        if (sqlite3_open((folder_ + "/packages.db").c_str(), &db_) != SQLITE_OK)
            die("cannot open " + folder_);
        run("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA cache_size = -524288;"
            "PRAGMA temp_store = MEMORY;");
        run(kTables);
    }
    SqliteWriter(const SqliteWriter&) = delete;
    SqliteWriter& operator=(const SqliteWriter&) = delete;
    ~SqliteWriter() override { end(); }

    const char* name() const override { return "SQLite FTS5"; }

    // Rows, then the indexes in one go: the quickest way.
    void load(const std::vector<Package>& packages) override {
        run("BEGIN");
        for (const Package& package : packages) insert(package);
        run("INSERT INTO words(words) VALUES ('rebuild')");
        run(kIndexes);
        run(kTriggers);
        run("COMMIT");
    }

    void insert(const Package& package) override {
        sqlite3_stmt* s = prepared(
            "INSERT INTO packages (name, version, section, size, description) VALUES (?1, ?2, ?3, ?4, ?5)");
        bind(s, 1, package.name);
        bind(s, 2, package.version);
        bind(s, 3, package.section);
        sqlite3_bind_int64(s, 4, package.size);
        bind(s, 5, package.description);
        step(s);
    }

    long long found(const std::string& word) override {
        sqlite3_stmt* s =
            prepared("SELECT p.name FROM words w JOIN packages p ON p.id = w.rowid WHERE words MATCH ?1");
        bind(s, 1, '"' + word + '"');
        long long rows = 0;
        while (sqlite3_step(s) == SQLITE_ROW) ++rows;
        sqlite3_reset(s);
        return rows;
    }

    long long setVersion(long long low, long long high, const std::string& version) override {
        return change("UPDATE packages SET version = ?3 WHERE size BETWEEN ?1 AND ?2", low, high, &version);
    }
    long long setDescription(long long low, long long high, const std::string& description) override {
        return change("UPDATE packages SET description = ?3 WHERE size BETWEEN ?1 AND ?2", low, high,
                      &description);
    }
    long long erase(long long low, long long high) override {
        return change("DELETE FROM packages WHERE size BETWEEN ?1 AND ?2", low, high, nullptr);
    }

    long long close() override {
        end();
        return bytesOf(folder_);
    }

private:
    void run(const char* sql) {
        if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
            die(std::string(sql) + ": " + sqlite3_errmsg(db_));
    }

    sqlite3_stmt* prepared(const char* sql) {
        sqlite3_stmt*& statement = statements_[sql];
        if (statement == nullptr &&
            sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK)
            die(std::string(sql) + ": " + sqlite3_errmsg(db_));
        return statement;
    }

    static void bind(sqlite3_stmt* statement, int at, const std::string& text) {
        sqlite3_bind_text(statement, at, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    }

    void step(sqlite3_stmt* statement) {
        if (sqlite3_step(statement) != SQLITE_DONE) die(sqlite3_errmsg(db_));
        sqlite3_reset(statement);
    }

    long long change(const char* sql, long long low, long long high, const std::string* text) {
        sqlite3_stmt* s = prepared(sql);
        sqlite3_bind_int64(s, 1, low);
        sqlite3_bind_int64(s, 2, high);
        if (text != nullptr) bind(s, 3, *text);
        step(s);
        return sqlite3_changes64(db_);
    }

    void end() {
        for (auto& [sql, statement] : statements_) sqlite3_finalize(statement);
        statements_.clear();
        if (db_ != nullptr && sqlite3_close(db_) != SQLITE_OK) die("cannot close the database");
        db_ = nullptr;
    }

    const std::string folder_;
    sqlite3* db_ = nullptr;
    std::map<std::string, sqlite3_stmt*> statements_;
};

}  // namespace

std::unique_ptr<Writer> writeSqlite(const std::string& folder) {
    return std::make_unique<SqliteWriter>(folder);
}

}  // namespace compare
