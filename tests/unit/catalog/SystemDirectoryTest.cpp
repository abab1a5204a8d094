#include "kernel/catalog/SystemDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "tests/unit/catalog/HomeFixture.h"
#include "tests/unit/storage/ChildProcess.h"

namespace wdb {
namespace {

std::vector<std::string> filesIn(const std::string& directory) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        const std::string name = entry.path().filename().string();
        if (!name.ends_with("-lock") && !name.ends_with("-clean")) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

TEST(SystemDirectoryTest, IsMadeOnDemandAndSharedByItsProcess) {
    const TempDirectory parent;
    EXPECT_EQ(SystemDirectory::open(parent / "home", {}).status(), WDB_E_ARGUMENT) << "no directory";
    EXPECT_EQ(SystemDirectory::open(parent.path(), {}).status(), WDB_E_ARGUMENT) << "no catalogue";
    EXPECT_EQ(
        SystemDirectory::open("", {.create = true, .readOnly = false, .owner = "o", .password = ""}).status(),
        WDB_E_ARGUMENT);
    const Home home(parent / "home");
    ASSERT_NE(home.shared(), nullptr);
    const Home same(parent / "home/../home", false);
    EXPECT_EQ(home.shared(), same.shared());
    struct stat info {};
    ASSERT_EQ(::stat((parent / "home").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    ASSERT_EQ(::stat((parent / "home/system.mdb").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST(SystemDirectoryTest, BasesAreThereAfterReopeningAndUnderAnotherPath) {
    const TempDirectory parent;
    {
        const Home home(parent / "home");
        ASSERT_EQ(home.createBase("Books"), WDB_OK);
        ASSERT_TRUE(putRow(home, *home->find("BOOKS"), 0, "a", "one word"));
    }
    EXPECT_EQ(filesIn(parent / "home/bases"),
              (std::vector<std::string>{"Books.1.BIF", "Books.1.VIF", "Books.BAF"}));
    std::filesystem::rename(parent / "home", parent / "moved");
    const Home home(parent / "moved", false);
    ASSERT_NE(home.shared(), nullptr);
    const auto base = home->find("books  ");
    ASSERT_TRUE(base) << base.status();
    EXPECT_EQ((*base)->definition()->name, "Books") << "the spelling given";
    EXPECT_EQ(findWord(**base, "word"), std::vector<RecordNumber>{1});
    EXPECT_EQ(home->find("BOOK").status(), WDB_E_BASE);
    EXPECT_EQ(*home->setting("welksql_bases"),
              std::filesystem::canonical(parent / "moved").string() + "/bases");
}

TEST(SystemDirectoryTest, UsersAndSettings) {
    const TempDirectory parent;
    std::filesystem::create_directories(parent / "home/conf");
    std::ofstream(parent / "home/conf/welk.rcs") << "FROM_FILE=1\nBOTH=file\n";
    const Home home(parent / "home");
    ASSERT_NE(home.shared(), nullptr);
    const auto owner = home->authenticate("OWNER ", "");
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->rights, WDB_USER_ADMIN | WDB_USER_CREATE);
    EXPECT_EQ(home->authenticate("owner", "guess").status(), WDB_E_USER);
    EXPECT_EQ(home->authenticate("nobody", "").status(), WDB_E_USER);
    EXPECT_EQ(home->setting("absent"), std::nullopt);
    EXPECT_EQ(home->setting("from_file"), "1");
    ASSERT_EQ(home->storeSetting("Both", "stored", home.lock()), WDB_OK);
    EXPECT_EQ(home->setting("BOTH"), "stored");
    ASSERT_EQ(home->storeSetting("BOTH", std::nullopt, home.lock()), WDB_OK);
    EXPECT_EQ(home->setting("BOTH"), "file");
}

TEST(SystemDirectoryTest, AnotherProcessSeesChangesAtItsNextCall) {
    const TempDirectory parent;
    int ready[2];
    int made[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(made), 0);
    ChildProcess child([&] {
        char mark = 0;
        const Home home(parent / "home");
        if (home->find("T").status() != WDB_E_BASE) return 1;
        if (::write(ready[1], "x", 1) != 1 || ::read(made[0], &mark, 1) != 1) return 2;
        const auto base = home->find("T");
        return base && findWord(**base, "hello") == std::vector<RecordNumber>{1} ? 0 : 3;
    });
    char mark = 0;
    ASSERT_EQ(::read(ready[0], &mark, 1), 1);
    const Home home(parent / "home");
    ASSERT_EQ(home.createBase("T"), WDB_OK);
    ASSERT_TRUE(putRow(home, *home->find("T"), 0, "a", "hello"));
    ASSERT_EQ(::write(made[1], "x", 1), 1);
    EXPECT_EQ(child.wait(), 0);
    for (const int file : {ready[0], ready[1], made[0], made[1]}) ::close(file);
}

TEST(SystemDirectoryTest, FilesOfCutShortJobsGoAndForeignFilesStay) {
    const TempDirectory parent;
    {
        const Home home(parent / "home");
        ASSERT_EQ(home.createBase("T"), WDB_OK);
        BaseDefinition planned = **home->definition("T");
        ASSERT_EQ(home->planIndexFiles(planned, home.lock()), WDB_OK);
        std::ofstream(planned.wordPath()) << "half a file";
    }
    std::ofstream(parent / "home/bases/U.BAF") << "somebody's";
    const Home home(parent / "home", false);
    EXPECT_EQ(filesIn(parent / "home/bases"),
              (std::vector<std::string>{"T.1.BIF", "T.1.VIF", "T.BAF", "U.BAF"}));
    ASSERT_EQ(home.createBase("U"), WDB_OK);
    EXPECT_EQ((*home->definition("U"))->baseName, "U-2.BAF");
    std::string text;
    std::getline(std::ifstream(parent / "home/bases/U.BAF") >> std::ws, text);
    EXPECT_EQ(text, "somebody's");
}

TEST(SystemDirectoryTest, MissingAndDamagedIndexFilesAreBuiltAnew) {
    const struct {
        const char* reason;
        std::function<void(const std::string&)> harm;
    } rows[] = {
        {"word file missing", [](const std::string& dir) { std::filesystem::remove(dir + "/T.1.BIF"); }},
        {"value file empty",
         [](const std::string& dir) { std::filesystem::resize_file(dir + "/T.1.VIF", 0); }},
        {"word file no storage file",
         [](const std::string& dir) { std::ofstream(dir + "/T.1.BIF") << std::string(9000, 'x'); }},
    };
    for (const auto& row : rows) {
        const TempDirectory parent;
        {
            const Home home(parent / "home");
            ASSERT_EQ(home.createBase("T"), WDB_OK);
            ASSERT_TRUE(putRow(home, *home->find("T"), 0, "a", "hello"));
        }
        row.harm(parent / "home/bases");
        const Home home(parent / "home", false);
        const auto base = home->find("T");
        ASSERT_TRUE(base) << row.reason << " " << base.status();
        EXPECT_EQ(findWord(**base, "hello"), std::vector<RecordNumber>{1}) << row.reason;
        EXPECT_EQ(*(*base)->snapshot()->index().liveCount(), 1u) << row.reason;
        EXPECT_EQ((*base)->definition()->generation, 2u) << row.reason;
    }
}

TEST(SystemDirectoryTest, ADamagedBaseFileIsAStatus) {
    const TempDirectory parent;
    {
        const Home home(parent / "home");
        ASSERT_EQ(home.createBase("T"), WDB_OK);
    }
    std::filesystem::resize_file(parent / "home/bases/T.BAF", 5000);
    const Home home(parent / "home", false);
    EXPECT_EQ(home->find("T").status(), WDB_E_CORRUPT);
    std::filesystem::remove(parent / "home/bases/T.BAF");
    EXPECT_EQ(home->find("T").status(), WDB_E_STORAGE);
}

}  // namespace
}  // namespace wdb
