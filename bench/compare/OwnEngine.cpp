#include <cstdlib>
#include <cstring>

#include "bench/compare/Engine.h"
#include "include/sqlengine.h"
#include "include/wdb.h"

namespace compare {

namespace {

// The statement, made anew for each query: SQL text in.
std::string sqlOf(const Query& query) {
    const auto argument = [&](size_t i) { return "'" + query.arguments[i] + "'"; };
    const auto word = [&](size_t i) { return "DESCRIPTION = " + argument(i); };
    const auto range = [&] {
        return "INSTALLED_SIZE BETWEEN " + query.arguments[0] + " AND " + query.arguments[1];
    };
    const std::string from = "SELECT NAME, VERSION FROM PACKAGES WHERE ";
    const std::string join =
        "SELECT PACKAGES.NAME, DEPENDENCIES.TARGET FROM PACKAGES, DEPENDENCIES "
        "WHERE PACKAGES.NAME = DEPENDENCIES.PACKAGE AND PACKAGES.DESCRIPTION = ";
    switch (query.kind) {
        case Kind::Rare:
        case Kind::Common:
            return from + word(0);
        case Kind::Point:
            return from + "NAME = " + argument(0);
        case Kind::Exact:
            return from + "SECTION = " + argument(0);
        case Kind::And:
            return from + word(0) + " AND " + word(1);
        case Kind::OrOfThree:
            return from + word(0) + " OR " + word(1) + " OR " + word(2);
        case Kind::AndNot:
            return from + word(0) + " AND NOT " + word(1);
        case Kind::WordPrefix:
            return from + "DESCRIPTION LIKE '" + query.arguments[0] + "%'";
        case Kind::NamePrefix:
            return from + "NAME LIKE '" + query.arguments[0] + "%'";
        case Kind::WordInfix:
            return from + "DESCRIPTION LIKE '%" + query.arguments[0] + "%'";
        case Kind::Phrase:
            return from + "DESCRIPTION = '" + query.arguments[0] + " " + query.arguments[1] + "'";
        case Kind::Range:
            return from + range();
        case Kind::RangeAndWord:
            return from + range() + " AND " + word(2);
        case Kind::WordByName:
            return from + word(0) + " ORDER BY NAME";
        case Kind::FirstPage:
        case Kind::Page500:
            return "SELECT NAME, INSTALLED_SIZE FROM PACKAGES ORDER BY INSTALLED_SIZE DESC";
        case Kind::Group:
            return "SELECT SECTION, COUNT(*), SUM(INSTALLED_SIZE) FROM PACKAGES GROUP BY SECTION";
        case Kind::JoinFew:
        case Kind::JoinAll:
            return join + argument(0);
    }
    return {};
}

int rowsIn(const char* document) {
    int rows = 0;
    for (const char* at = document; (at = std::strstr(at, "<Row ")) != nullptr; ++at) ++rows;
    return rows;
}

// In the same process, as a host calls it.
class OwnEngine : public Engine {
public:
    explicit OwnEngine(const std::string& data) {
        const std::string home = data + "/own";
        if (!WDB_SUCCESS(WdbOpenSession(home.c_str(), "owner", nullptr, 0, &session_)) ||
            !WDB_SUCCESS(WdbBindSession(session_)))
            die("cannot open " + home);
        UpdateRCS("SQL_BLOCKSIZE", std::to_string(kPageRows).c_str());
    }
    OwnEngine(const OwnEngine&) = delete;
    OwnEngine& operator=(const OwnEngine&) = delete;
    ~OwnEngine() override {
        WdbBindSession(nullptr);
        WdbCloseSession(&session_);
    }

    const char* name() const override { return "WELKsql"; }

    bool prepare(Kind kind) override {
        const int page = kind == Kind::Page500 ? kFarPage : 1;
        if (!WDB_SUCCESS(UpdateRCS("SQL_BLOCKNUMBER", std::to_string(page).c_str())))
            die("cannot set the page");
        Query sample{kind, {"1", "2", "3"}};
        Answer unused;
        return execute(sample, unused, false);
    }

    Answer answer(const Query& query) override {
        Answer out;
        execute(query, out, true);
        return out;
    }

private:
    // False when the statement is not supported.
    static bool execute(const Query& query, Answer& out, bool mustWork) {
        std::string sql = sqlOf(query);
        FilterData data{};
        data.text = sql.data();
        data.textLength = static_cast<int32_t>(sql.size());
        data.wdb_options = SQLENGINE_EXPORT_ALLOC | SQLENGINE_IEOPT_MEMORY;
        const bool done = (execsql(&data, nullptr) & 1) != 0;
        if (!done && mustWork) die(sql + ": " + (data.output != nullptr ? data.output : data.message));
        const char* count =
            done && data.output != nullptr ? std::strstr(data.output, "rowCount=\"") : nullptr;
        if (count != nullptr) out.total = std::atoll(count + std::strlen("rowCount=\""));
        if (count != nullptr) out.rows = rowsIn(count);
        out.bytes = static_cast<size_t>(data.outputLength);
        std::free(data.output);
        return done;
    }

    WdbSession* session_ = nullptr;
};

}  // namespace

std::unique_ptr<Engine> openOwn(const std::string& data) {
    return std::make_unique<OwnEngine>(data);
}

}  // namespace compare
