#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "bench/compare/Writer.h"
#include "include/sqlengine.h"
#include "include/wdb.h"

namespace compare {

namespace {

std::string quoted(const std::string& text) {
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'') out += '\\';
        out += c;
    }
    return out + "'";
}

std::string between(long long low, long long high) {
    return " WHERE INSTALLED_SIZE BETWEEN " + std::to_string(low) + " AND " + std::to_string(high);
}

// SQL text in, a document out, as a host does; the load is the loaders' call.
class OwnWriter : public Writer {
public:
    explicit OwnWriter(std::string folder) : folder_(std::move(folder)) {
        std::filesystem::remove_all(folder_);
        if (!WDB_SUCCESS(WdbOpenSession(folder_.c_str(), "owner", nullptr, WDB_OPEN_CREATE, &session_)) ||
            !WDB_SUCCESS(WdbBindSession(session_)))
            die("cannot open " + folder_);
        run("CREATE TABLE PACKAGES (NAME VARCHAR PRIMARY KEY, VERSION VARCHAR, SECTION VARCHAR, "
            "INSTALLED_SIZE INTEGER, DESCRIPTION LONG VARCHAR)");
    }
    OwnWriter(const OwnWriter&) = delete;
    OwnWriter& operator=(const OwnWriter&) = delete;
    ~OwnWriter() override { WdbCloseSession(&session_); }

    const char* name() const override { return "WELKsql"; }

    void load(const std::vector<Package>& packages) override {
        check(WdbBeginLoad("PACKAGES", 0));
        WdbRecordControl* control = nullptr;
        check(WdbCreateRecordControl(&control));
        check(WdbSetBase(control, "PACKAGES", WDB_MODE_WRITE));
        for (const Package& package : packages) {
            check(WdbNewRecord(control));
            put(control, 1, package.name);
            put(control, 2, package.version);
            put(control, 3, package.section);
            put(control, 4, std::to_string(package.size));
            put(control, 5, package.description);
            int32_t number = 0;
            check(WdbPutRecord(control, &number));
        }
        WdbDeleteRecordControl(&control);
        check(WdbEndLoad("PACKAGES", 1));
    }

    void insert(const Package& package) override {
        run("INSERT INTO PACKAGES (NAME, VERSION, SECTION, INSTALLED_SIZE, DESCRIPTION) VALUES (" +
            quoted(package.name) + ", " + quoted(package.version) + ", " + quoted(package.section) + ", " +
            std::to_string(package.size) + ", " + quoted(package.description) + ")");
    }

    long long found(const std::string& word) override {
        return run("SELECT NAME FROM PACKAGES WHERE DESCRIPTION = " + quoted(word));
    }

    long long setVersion(long long low, long long high, const std::string& version) override {
        return run("UPDATE PACKAGES SET VERSION = " + quoted(version) + between(low, high));
    }
    long long setDescription(long long low, long long high, const std::string& description) override {
        return run("UPDATE PACKAGES SET DESCRIPTION = " + quoted(description) + between(low, high));
    }
    long long erase(long long low, long long high) override {
        return run("DELETE FROM PACKAGES" + between(low, high));
    }

    long long close() override {
        WdbCloseSession(&session_);
        return bytesOf(folder_);
    }

private:
    static void check(int32_t status) {
        if (!WDB_SUCCESS(status)) die("the kernel answers " + std::to_string(status));
    }

    static void put(WdbRecordControl* control, int32_t field, const std::string& value) {
        if (value.empty()) return;
        WdbCursor* cursor = nullptr;
        check(WdbSetCursor(&cursor, control, field, 0, 0));
        check(WdbReplaceItem(cursor, value.data(), static_cast<int32_t>(value.size())));
        WdbDeleteCursor(&cursor);
    }

    static long long run(std::string sql) {
        FilterData data{};
        data.text = sql.data();
        data.textLength = static_cast<int32_t>(sql.size());
        data.wdb_options = SQLENGINE_EXPORT_ALLOC | SQLENGINE_IEOPT_MEMORY;
        const bool done = (execsql(&data, nullptr) & 1) != 0;
        if (!done) die(sql.substr(0, 200) + ": " + (data.output != nullptr ? data.output : data.message));
        const std::string answer = data.output == nullptr ? "" : data.output;
        // A statement that changes rows answers one row, with their count.
        const bool changed = answer.find("columnLabel=\"Row Count\"") != std::string::npos;
        const std::string before = changed ? "<P>" : "rowCount=\"";
        const size_t at = answer.find(before);
        const long long rows = at == std::string::npos ? 0 : std::atoll(answer.c_str() + at + before.size());
        std::free(data.output);
        return rows;
    }

    const std::string folder_;
    WdbSession* session_ = nullptr;
};

}  // namespace

std::unique_ptr<Writer> writeOwn(const std::string& folder) {
    return std::make_unique<OwnWriter>(folder);
}

}  // namespace compare
