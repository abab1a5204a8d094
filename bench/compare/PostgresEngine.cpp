#include <libpq-fe.h>

#include <cstdlib>
#include <map>
#include <vector>

#include "bench/compare/Csv.h"
#include "bench/compare/Document.h"
#include "bench/compare/Engine.h"
#include "kernel/text/Analyzer.h"

namespace compare {

namespace {

// The server is the one that the script started: its socket's folder is in PGHOST. Each collection has a
// database of its own, named after its folder.
PGconn* connect(const std::string& database) {
    PGconn* connection = PQconnectdb(("user=postgres dbname=" + database).c_str());
    if (PQstatus(connection) != CONNECTION_OK) die(PQerrorMessage(connection));
    return connection;
}

std::string databaseOf(const std::string& data) {
    return "c_" + data.substr(data.find_last_of('/') + 1);
}

void run(PGconn* connection, const char* sql) {
    PGresult* result = PQexec(connection, sql);
    const ExecStatusType status = PQresultStatus(result);
    PQclear(result);
    if (status != PGRES_COMMAND_OK && status != PGRES_COPY_IN && status != PGRES_TUPLES_OK)
        die(std::string(sql) + ": " + PQerrorMessage(connection));
}

struct Texts {
    std::string from;
    std::string columns = "p.name, p.version";
    std::string order;
    std::string counted;
};

Texts textsOf(Kind kind) {
    const std::string shown = "p.name, p.version";
    const std::string matched = "FROM packages p WHERE p.words @@ $1::tsquery";
    switch (kind) {
        case Kind::Point:
            return {"FROM packages p WHERE p.name = $1", shown, "", ""};
        case Kind::Exact:
            return {"FROM packages p WHERE p.section = $1", shown, "", ""};
        case Kind::NamePrefix:
            return {"FROM packages p WHERE p.name >= $1 AND p.name < $2", shown, "", ""};
        case Kind::Range:
            return {"FROM packages p WHERE p.size BETWEEN $1 AND $2", shown, "", ""};
        case Kind::RangeAndWord:
            return {"FROM packages p WHERE p.size BETWEEN $1 AND $2 AND p.words @@ $3::tsquery", shown, "",
                    ""};
        case Kind::WordByName:
            return {matched, shown, " ORDER BY p.name", ""};
        case Kind::FirstPage:
        case Kind::Page500:
            return {"FROM packages p", "p.name, p.size", " ORDER BY p.size DESC", ""};
        case Kind::Group:
            return {"FROM packages p GROUP BY p.section", "p.section, count(*), sum(p.size)", "",
                    "FROM (SELECT DISTINCT section FROM packages) s"};
        case Kind::JoinFew:
        case Kind::JoinAll:
            return {"FROM packages p JOIN dependencies d ON d.package = p.name WHERE p.words @@ $1::tsquery",
                    "p.name, d.target", "", ""};
        default:
            return {matched, shown, "", ""};
    }
}

std::vector<std::string> parametersOf(const Query& query) {
    const std::vector<std::string>& arguments = query.arguments;
    const auto word = [&](size_t i) { return '\'' + arguments[i] + '\''; };
    switch (query.kind) {
        case Kind::Point:
        case Kind::Exact:
        case Kind::Range:
            return arguments;
        case Kind::RangeAndWord:
            return {arguments[0], arguments[1], word(2)};
        case Kind::NamePrefix: {
            std::string end = arguments[0];
            ++end.back();
            return {arguments[0], end};
        }
        case Kind::And:
            return {word(0) + " & " + word(1)};
        case Kind::OrOfThree:
            return {word(0) + " | " + word(1) + " | " + word(2)};
        case Kind::AndNot:
            return {word(0) + " & !" + word(1)};
        case Kind::WordPrefix:
            return {word(0) + ":*"};
        case Kind::Phrase:
            return {word(0) + " <-> " + word(1)};
        case Kind::FirstPage:
        case Kind::Page500:
        case Kind::Group:
            return {};
        default:
            return {word(0)};
    }
}

class PostgresEngine : public Engine {
public:
    PostgresEngine(const std::string& data, Way way) : way_(way), connection_(connect(databaseOf(data))) {}
    PostgresEngine(const PostgresEngine&) = delete;
    PostgresEngine& operator=(const PostgresEngine&) = delete;
    ~PostgresEngine() override { PQfinish(connection_); }

    const char* name() const override { return "PostgreSQL"; }

    bool prepare(Kind kind) override {
        if (kind == Kind::WordInfix) return false;
        const Texts texts = textsOf(kind);
        run(connection_, "DEALLOCATE ALL");
        // A plan made for any words guesses how frequent they are and may read the whole table for a rare
        // one.
        run(connection_, texts.from.find("@@") == std::string::npos
                             ? "SET plan_cache_mode = auto"
                             : "SET plan_cache_mode = force_custom_plan");
        total_ = {"total", "SELECT count(*) " + (texts.counted.empty() ? texts.from : texts.counted)};
        rows_ = {"rows", "SELECT " + texts.columns + ' ' + texts.from + texts.order + " LIMIT " +
                             std::to_string(kPageRows) + " OFFSET " +
                             std::to_string(kind == Kind::Page500 ? (kFarPage - 1) * kPageRows : 0)};
        prepareOne(total_);
        prepareOne(rows_);
        return true;
    }

    // Both statements go out together: one way there and back.
    Answer answer(const Query& query) override {
        const std::vector<std::string> parameters = parametersOf(query);
        PQenterPipelineMode(connection_);
        send(total_, query.kind == Kind::Group ? std::vector<std::string>() : parameters);
        send(rows_, parameters);
        PQpipelineSync(connection_);
        Answer out;
        read([&](PGresult* result) { out.total = std::atoll(PQgetvalue(result, 0, 0)); });
        read([&](PGresult* result) {
            out.rows = PQntuples(result);
            if (way_ == Way::Text) {
                out.bytes = write(result, out.total);
                return;
            }
            for (int row = 0; row < out.rows; ++row) {
                for (int column = 0; column < PQnfields(result); ++column)
                    out.bytes += static_cast<size_t>(PQgetlength(result, row, column));
            }
        });
        PGresult* sync = PQgetResult(connection_);
        if (PQresultStatus(sync) != PGRES_PIPELINE_SYNC) die(PQerrorMessage(connection_));
        PQclear(sync);
        PQexitPipelineMode(connection_);
        return out;
    }

private:
    struct Statement {
        std::string name, sql;
    };

    void prepareOne(const Statement& statement) {
        PGresult* result = PQprepare(connection_, statement.name.c_str(), statement.sql.c_str(), 0, nullptr);
        if (PQresultStatus(result) != PGRES_COMMAND_OK)
            die(statement.sql + ": " + PQerrorMessage(connection_));
        PQclear(result);
    }

    size_t write(PGresult* result, long long total) {
        document_.begin(total);
        for (int row = 0; row < PQntuples(result); ++row) {
            document_.row(row + 1);
            for (int column = 0; column < PQnfields(result); ++column)
                document_.column(column + 1, {PQgetvalue(result, row, column),
                                              static_cast<size_t>(PQgetlength(result, row, column))});
            document_.endRow();
        }
        return document_.end();
    }

    void send(const Statement& statement, const std::vector<std::string>& parameters) {
        std::vector<const char*> texts;
        for (const std::string& parameter : parameters) texts.push_back(parameter.c_str());
        const int count = static_cast<int>(texts.size());
        const int sent = way_ == Way::Text ? PQsendQueryParams(connection_, statement.sql.c_str(), count,
                                                               nullptr, texts.data(), nullptr, nullptr, 0)
                                           : PQsendQueryPrepared(connection_, statement.name.c_str(), count,
                                                                 texts.data(), nullptr, nullptr, 0);
        if (sent != 1) die(PQerrorMessage(connection_));
    }

    template <typename Use>
    void read(Use&& use) {
        PGresult* result = PQgetResult(connection_);
        if (PQresultStatus(result) != PGRES_TUPLES_OK) die(PQerrorMessage(connection_));
        use(result);
        PQclear(result);
        PQclear(PQgetResult(connection_));  // the null that ends this statement's results
    }

    Way way_;
    PGconn* connection_;
    Statement total_, rows_;
    Document document_;
};

// A field of COPY's text form.
void appendField(std::string& line, std::string_view text) {
    for (const char c : text) {
        if (c == '\\') line += '\\';
        if (c != '\t' && c != '\n') line += c;
    }
}

// The words of a description as a tsvector: the same words and positions that the others index.
std::string vectorOf(wdb::Analyzer& analyzer, const std::string& description) {
    constexpr uint32_t kLastPosition = 16383;  // as far as the type goes
    constexpr size_t kMostPositions = 255;
    std::map<std::string, std::vector<uint32_t>> positions;
    analyzer.words(description, [&](const wdb::Word& word) {
        std::vector<uint32_t>& of = positions[std::string(word.term)];
        // The gap between paragraphs is made small, for the type's sake.
        const uint32_t position = word.position - (word.paragraph - 1) * (wdb::kParagraphGap - 1);
        if (position < kLastPosition && of.size() < kMostPositions) of.push_back(position + 1);
    });
    std::string out;
    for (const auto& [word, at] : positions) {
        if (word.size() > 2000) continue;
        out += '\'' + word + '\'';
        char before = ':';
        for (const uint32_t position : at) {
            out += before + std::to_string(position);
            before = ',';
        }
        out += ' ';
    }
    return out;
}

// Sends lines by COPY.
class Copy {
public:
    Copy(PGconn* connection, const char* sql) : connection_(connection) { run(connection, sql); }

    void line(const std::string& text) {
        if (PQputCopyData(connection_, text.data(), static_cast<int>(text.size())) != 1)
            die(PQerrorMessage(connection_));
    }
    void finish() {
        if (PQputCopyEnd(connection_, nullptr) != 1) die(PQerrorMessage(connection_));
        PGresult* result = PQgetResult(connection_);
        if (PQresultStatus(result) != PGRES_COMMAND_OK) die(PQerrorMessage(connection_));
        PQclear(result);
        PQclear(PQgetResult(connection_));
    }

private:
    PGconn* connection_;
};

void copyPackages(PGconn* connection, const std::string& data) {
    Copy copy(connection, "COPY packages FROM STDIN");
    wdb::Analyzer analyzer;
    CsvReader packages(data + "/packages.csv");
    std::vector<std::string> fields;
    std::string line;
    for (long long id = 1; packages.row(fields); ++id) {
        line = std::to_string(id);
        for (size_t i = 0; i < 4; ++i) {
            line += '\t';
            appendField(line, fields[i]);
        }
        line += '\t';
        appendField(line, vectorOf(analyzer, fields[4]));
        copy.line(line += '\n');
    }
    copy.finish();
}

void copyDependencies(PGconn* connection, const std::string& data) {
    Copy copy(connection, "COPY dependencies FROM STDIN");
    CsvReader dependencies(data + "/dependencies.csv");
    std::vector<std::string> fields;
    while (dependencies.row(fields)) copy.line(fields[0] + '\t' + fields[1] + '\n');
    copy.finish();
}

}  // namespace

void loadPostgres(const std::string& data) {
    PGconn* server = connect("postgres");
    run(server, ("CREATE DATABASE " + databaseOf(data)).c_str());
    PQfinish(server);
    PGconn* connection = connect(databaseOf(data));
    run(connection,
        "CREATE TABLE packages (id bigint PRIMARY KEY, name text NOT NULL, version text, section text, size "
        "bigint, "
        "words tsvector)");
    run(connection, "CREATE TABLE dependencies (package text NOT NULL, target text NOT NULL)");
    copyPackages(connection, data);
    copyDependencies(connection, data);
    for (const char* sql :
         {"CREATE UNIQUE INDEX ON packages (name)", "CREATE INDEX ON packages (section, size)",
          "CREATE INDEX ON packages (size)", "CREATE INDEX ON packages USING gin (words)",
          "CREATE INDEX ON dependencies (package, target)", "CREATE INDEX ON dependencies (target)",
          "VACUUM ANALYZE packages", "VACUUM ANALYZE dependencies", "CHECKPOINT"})
        run(connection, sql);
    PQfinish(connection);
}

std::unique_ptr<Engine> openPostgres(const std::string& data, Way way) {
    return std::make_unique<PostgresEngine>(data, way);
}

}  // namespace compare
