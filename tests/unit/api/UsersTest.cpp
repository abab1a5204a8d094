#include <fstream>
#include <sstream>

#include "tests/unit/api/ApiTest.h"

namespace {

class Users : public ApiTest {
protected:
    int32_t logOn(const char* name, const char* password, WdbSession** session = nullptr) {
        WdbSession* opened = nullptr;
        const int32_t status = WdbOpenSession(home_.c_str(), name, password, 0, &opened);
        if (session != nullptr) {
            *session = opened;
        } else if (opened != nullptr) {
            EXPECT_EQ(WdbCloseSession(&opened), 1);
        }
        return status;
    }
    // "boss 3, ann 0"
    static std::string list() {
        std::string all;
        char name[64] = "";
        for (;;) {
            int32_t length = sizeof name;
            uint32_t rights = 9;
            const int32_t status = WdbNextUser(name, &length, &rights);
            if (status == 0) return all;
            if (status != 1) return "#" + std::to_string(status);
            all += (all.empty() ? "" : ", ") + std::string(name) + " " + std::to_string(rights);
        }
    }
};

TEST_F(Users, AreKeptByName) {
    EXPECT_EQ(list(), "boss 3") << "who made the directory is its administrator";
    EXPECT_EQ(WdbPutUser("zoe", "z", WDB_USER_CREATE), 1);
    EXPECT_EQ(WdbPutUser("Ann", nullptr, 0), 1);
    EXPECT_EQ(list(), "Ann 0, boss 3, zoe 2");
    EXPECT_EQ(WdbPutUser("ANN  ", nullptr, 2), 1)
        << "the same user: names have no case and no blanks at the end";
    EXPECT_EQ(list(), "Ann 2, boss 3, zoe 2");
    EXPECT_EQ(WdbDeleteUser("ann"), 1);
    EXPECT_EQ(WdbDeleteUser("ann"), WDB_E_USER);
    EXPECT_EQ(list(), "boss 3, zoe 2");
    char name[64] = "cc";
    int32_t length = sizeof name;
    EXPECT_EQ(WdbNextUser(name, &length, nullptr), 1) << "from a name that is no user's";
    EXPECT_STREQ(name, "zoe");
    char small[3] = "";
    length = sizeof small;
    EXPECT_EQ(WdbNextUser(small, &length, nullptr), WDB_E_BUFFER);
}

TEST_F(Users, AreRefused) {
    const std::string longName(61, 'x');
    const struct {
        const char* name;
        uint32_t rights;
        int32_t status;
        const char* reason;
    } rows[] = {
        {"", 0, WDB_E_NAME, ""},
        {"   ", 0, WDB_E_NAME, ""},
        {longName.c_str(), 0, WDB_E_NAME, "an owner's name has 60 bytes"},
        {"a\nb", 0, WDB_E_NAME, ""},
        {"public", 0, WDB_E_NAME, "everybody is nobody"},
        {"x", 4, WDB_E_ARGUMENT, "no such right"},
        {"boss", WDB_USER_CREATE, WDB_E_RIGHT, "the last administrator stays one"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(WdbPutUser(row.name, "p", row.rights), row.status) << row.name << row.reason;
    EXPECT_EQ(WdbDeleteUser("boss"), WDB_E_RIGHT) << "nor can be removed";
    EXPECT_EQ(list(), "boss 3");
    EXPECT_EQ(WdbPutUser("eve", "", WDB_USER_ADMIN), 1);
    EXPECT_EQ(WdbDeleteUser("boss"), 1);
    EXPECT_EQ(list(), "#" + std::to_string(WDB_E_RIGHT)) << "at once";
}

TEST_F(Users, LogOnWithTheirPassword) {
    ASSERT_EQ(WdbPutUser("ann", "geheim-7", 0), 1);
    const struct {
        const char *name, *password;
        int32_t status;
    } rows[] = {
        {"ann", "geheim-7", 1},    {"ANN ", "geheim-7", 1},      {"ann", "Geheim-7", WDB_E_USER},
        {"ann", "", WDB_E_USER},   {"ann", nullptr, WDB_E_USER}, {"boss", "", 1},
        {"boss", "x", WDB_E_USER}, {"nobody", "", WDB_E_USER},   {"nobody", "x", WDB_E_USER},
        {"", "", WDB_E_USER},      {"PUBLIC", "", WDB_E_USER},
    };
    for (const auto& row : rows) EXPECT_EQ(logOn(row.name, row.password), row.status) << row.name;
    EXPECT_EQ(WdbPutUser("ann", nullptr, WDB_USER_CREATE), 1);
    EXPECT_EQ(logOn("ann", "geheim-7"), 1) << "NULL keeps the password";
    EXPECT_EQ(WdbPutUser("ann", "", 0), 1);
    EXPECT_EQ(logOn("ann", ""), 1) << "the empty one takes it away";
    for (const auto& entry : std::filesystem::directory_iterator(home_)) {
        if (!entry.is_regular_file()) continue;
        std::stringstream bytes;
        bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        EXPECT_EQ(bytes.str().find("geheim-7"), std::string::npos) << entry.path();
    }
}

TEST_F(Users, ChangeTheOwnPasswordOnly) {
    ASSERT_EQ(WdbPutUser("ann", "one", WDB_USER_CREATE), 1);
    WdbSession* ann = nullptr;
    ASSERT_EQ(logOn("ann", "one", &ann), 1);
    ASSERT_EQ(WdbBindSession(ann), 1);
    EXPECT_EQ(WdbPutUser("Ann", "two", WDB_USER_ADMIN), 1);
    EXPECT_EQ(WdbPutUser("boss", "two", 0), WDB_E_RIGHT);
    EXPECT_EQ(WdbPutUser("new", "two", 0), WDB_E_RIGHT);
    EXPECT_EQ(WdbDeleteUser("ann"), WDB_E_RIGHT);
    EXPECT_EQ(list(), "#" + std::to_string(WDB_E_RIGHT));
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(list(), "ann 2, boss 3") << "the rights stay";
    EXPECT_EQ(logOn("ann", "one"), WDB_E_USER);
    EXPECT_EQ(logOn("ann", "two"), 1);
    EXPECT_EQ(WdbDeleteUser("ann"), 1);
    ASSERT_EQ(WdbBindSession(ann), 1);
    EXPECT_EQ(WdbPutUser("ann", "three", 0), WDB_E_USER) << "a session outlives its user without a right";
    WdbBaseDef base{};
    EXPECT_EQ(WdbGetBaseDef("T", &base), WDB_E_RIGHT);
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(WdbCloseSession(&ann), 1);
}

TEST(FirstUser, HasAName) {
    std::string pattern = (std::filesystem::temp_directory_path() / "wdbusers-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    for (const char* name : {"", "PUBLIC"}) {
        WdbSession* session = nullptr;
        EXPECT_EQ(WdbOpenSession(pattern.c_str(), name, "", WDB_OPEN_CREATE, &session), WDB_E_USER);
        EXPECT_FALSE(std::filesystem::exists(pattern + "/system.mdb")) << "a directory that nobody can open";
    }
    std::filesystem::remove_all(pattern);
}

}  // namespace
