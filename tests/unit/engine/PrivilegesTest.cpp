// GRANT and REVOKE above a kernel that keeps access records.
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

namespace {

/// "table bytes; field bytes of the first five fields".
std::string rightsOf(const std::string& user) {
    const WdbAccessRecord& record = fakeKernel().access[user];
    std::string text = std::to_string(record.baseRights) + "," + std::to_string(record.fieldwise) + ";";
    for (int i = 0; i < 5; ++i) text += " " + std::to_string(record.field[i]);
    return text;
}

class Privileges : public testing::Test {
protected:
    void SetUp() override {
        fakeKernel() = FakeKernel();
        fakeKernel().tables["T"] = {
            {"A", 1, WDB_T_PHRASE, 0}, {"B", 2, WDB_T_INTEGER, 0}, {"C", 4, WDB_T_TEXT, 0}};
        fakeKernel().messages[WDB_E_FIELD] = "no such field";
        fakeKernel().messages[WDB_E_BASE] = "no such base";
        fakeKernel().messages[WDB_E_NAME] = "bad name";
        fakeKernel().messages[WDB_E_RIGHT] = "no right";
    }
    void start(std::uint8_t table, std::uint8_t fieldwise, std::uint8_t first, std::uint8_t second) {
        WdbAccessRecord record{};
        record.baseRights = table;
        record.fieldwise = fieldwise;
        record.field[0] = first;
        record.field[1] = second;
        fakeKernel().access["U"] = record;
    }
};

TEST_F(Privileges, ChangeTheRecord) {
    const struct {
        int table, fieldwise, first, second;
        const char *sql, *rights, *reason;
    } rows[] = {
        {0, 0, 0, 0, "GRANT READ PRIVILEGES ON T TO U", "1,0; 0 0 0 0 0",
         "nothing before: the read right only"},
        {2, 3, 0, 0, "GRANT READ PRIVILEGES ON T TO U", "3,2; 0 0 0 0 0",
         "of the second byte the write right stays"},
        {0, 3, 1, 3, "GRANT ALL PRIVILEGES ON T TO U", "3,1; 1 3 0 0 0", "fields are left alone"},
        {3, 3, 3, 0, "REVOKE WRITE PRIVILEGES ON T FROM U", "1,1; 3 0 0 0 0", ""},
        {3, 3, 3, 0, "REVOKE ALL PRIVILEGES ON T FROM U", "0,0; 3 0 0 0 0", "whatever the bytes held"},
        {255, 255, 0, 0, "REVOKE ALL PRIVILEGES ON T FROM U", "0,0; 0 0 0 0 0", ""},
        {0, 0, 0, 0, "GRANT READ PRIVILEGES (A, C) ON T TO U", "0,1; 1 0 0 1 0", "by field number"},
        {0, 0, 0, 0, "GRANT ALL PRIVILEGES (B) ON T TO U", "0,2; 0 3 0 0 0", ""},
        {1, 1, 1, 2, "GRANT READ PRIVILEGES (A) ON T TO U", "0,1; 1 3 0 0 0",
         "a field with the write right gains reading, others lose it"},
        {3, 0, 0, 0, "GRANT READ PRIVILEGES (A) ON T TO U", "0,3; 3 0 0 0 0",
         "the table's write right goes to the columns"},
        {3, 0, 0, 0, "GRANT ALL PRIVILEGES (A) ON T TO U", "0,2; 3 0 0 0 0", ""},
        {1, 0, 0, 0, "GRANT ALL PRIVILEGES (A) ON T TO U", "1,2; 3 0 0 0 0", "reading stays"},
        {0, 3, 3, 19, "REVOKE WRITE PRIVILEGES (A, B) ON T FROM U", "0,3; 2 18 0 0 0",
         "the masks keep value 16 and the other right"},
        {0, 3, 3, 19, "REVOKE ALL PRIVILEGES (A, B) ON T FROM U", "0,3; 1 17 0 0 0", ""},
    };
    for (const auto& row : rows) {
        start(static_cast<std::uint8_t>(row.table), static_cast<std::uint8_t>(row.fieldwise),
              static_cast<std::uint8_t>(row.first), static_cast<std::uint8_t>(row.second));
        Request request(row.sql);
        EXPECT_EQ(execsql(&request.data, nullptr), 1) << row.sql << request.document();
        EXPECT_EQ(request.document(), successDocument("Access privileges on T have been modified."));
        EXPECT_EQ(rightsOf("U"), row.rights) << row.sql << "  " << row.reason;
        EXPECT_EQ(fakeKernel().saves, fakeKernel().loads);
    }
}

TEST_F(Privileges, FaultsNameTheKernelsFunction) {
    const std::string longName(61, 'x');
    const struct {
        std::string sql, source;
        std::int32_t status;
    } rows[] = {
        {"GRANT READ PRIVILEGES ON NONE TO U", "WdbCheckBase", WDB_E_BASE},
        {"GRANT READ PRIVILEGES ON " + longName + " TO U", "WdbCheckBase", WDB_E_NAME},
        {"GRANT READ PRIVILEGES ON T TO " + longName, "WdbGetDbAccess", WDB_E_NAME},
        {"GRANT READ PRIVILEGES (A, X) ON T TO U", "WdbCheckField", WDB_E_FIELD},
        {"REVOKE ALL PRIVILEGES (R) ON T FROM U", "WdbCheckField", WDB_E_FIELD},
        {"GRANT ALL PRIVILEGES (\"" + std::string(300, 'y') + "\") ON T TO U", "WdbCheckField", WDB_E_FIELD},
    };
    for (const auto& row : rows) {
        Request request(row.sql);
        EXPECT_EQ(execsql(&request.data, nullptr), row.status) << row.sql;
        EXPECT_EQ(request.document(),
                  faultDocument(std::to_string(row.status), row.source, "WSQLFilter::ExecuteModifyAccess",
                                fakeKernel().messages[row.status]));
        EXPECT_EQ(rightsOf("U"), "0,0; 0 0 0 0 0") << "no record is written";
    }
    fakeKernel().putAccessStatus = WDB_E_RIGHT;
    Request request("GRANT READ PRIVILEGES ON T TO U");
    EXPECT_EQ(execsql(&request.data, nullptr), WDB_E_RIGHT);
    EXPECT_EQ(request.document(), faultDocument(std::to_string(WDB_E_RIGHT), "WdbSetBase",
                                                "WSQLFilter::ExecuteModifyAccess", "no right"));
}

}  // namespace
