// Work on whole bases: indexes built anew, backups, compaction, and how far it is.
#include <fstream>
#include <functional>
#include <thread>

#include "tests/unit/api/ApiTest.h"

namespace {

class Upkeep : public ApiTest {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        createBase("T", {{"NAME", "PHRASE"}, {"NOTE", "TEXT"}}, "NAME");
        createBase("U", {{"NAME", "PHRASE"}});
        for (int i = 0; i < 50; ++i)
            ASSERT_EQ(insert("T", {"n" + std::to_string(i), "some words of text " + std::string(500, 'x')}),
                      1);
    }
    static void removeRecords(int32_t first, int32_t last) {
        WdbRecordControl* made = control("T", WDB_MODE_DELETE);
        for (int32_t number = first; number <= last; ++number) {
            ASSERT_EQ(WdbGetRecordInBase(made, number), 1);
            ASSERT_EQ(WdbDeleteRecordInBase(made), 1);
        }
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    }
    static void expectSound(size_t records) {
        EXPECT_EQ(find("FIND T.NOTE=words").size(), records);
        EXPECT_EQ(WdbVerifyBase("T", 0, nullptr, nullptr), 1);
    }
    static int32_t pending(const char* base) {
        int32_t count = -1;
        EXPECT_EQ(WdbBaseStatus(base, nullptr, nullptr, nullptr, nullptr, nullptr, &count), 1);
        return count;
    }
    // Files of the base T.
    std::vector<std::filesystem::path> files(const std::string& ending = "") const {
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(home_ + "/bases")) {
            const std::string name = entry.path().filename();
            if (name.starts_with("T") && name.ends_with(ending) && !name.ends_with("-lock") &&
                !name.ends_with("-clean"))
                found.push_back(entry.path());
        }
        return found;
    }
    // Opens the session anew, so that nobody has the files open meanwhile.
    void whileClosed(const std::function<void()>& work) {
        ASSERT_EQ(WdbCloseSession(&session_), 1);
        work();
        session_ = open();
        ASSERT_EQ(WdbBindSession(session_), 1);
    }
};

TEST_F(Upkeep, IndexFilesAreBuiltAnewFromTheBase) {
    const struct {
        std::function<void(const std::filesystem::path&)> harm;
        const char* reason;
    } rows[] = {
        {[](const auto& path) { std::filesystem::remove(path); }, "missing"},
        {[](const auto& path) { std::filesystem::resize_file(path, 0); }, "empty"},
        {[](const auto& path) { std::filesystem::resize_file(path, 8192); }, "cut short"},
        {[](const auto& path) { std::ofstream(path, std::ios::trunc) << std::string(70000, 'x'); },
         "something else"},
    };
    for (const char* ending : {".BIF", ".VIF"}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(ending) + " " + row.reason);
            ASSERT_EQ(WdbWaitIndex("T", 1000), 1);
            whileClosed([&] {
                for (const auto& path : files(ending)) row.harm(path);
            });
            expectSound(50);
        }
    }
}

TEST_F(Upkeep, RebuildTakesOneFieldOrAll) {
    EXPECT_EQ(WdbRebuildIndex("T", nullptr), 1);
    EXPECT_EQ(pending("T"), 0);
    EXPECT_EQ(WdbRebuildIndex("T", "note "), 1);
    EXPECT_EQ(WdbRebuildIndex("T", "ABSENT"), WDB_E_FIELD);
    EXPECT_EQ(WdbRebuildIndex("ABSENT", nullptr), WDB_E_BASE);
    expectSound(50);
}

TEST_F(Upkeep, WaitingEndsWhenNothingIsPending) {
    EXPECT_GT(pending("T"), 0);
    EXPECT_EQ(WdbWaitIndex("T", -1), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbWaitIndex("ABSENT", 0), WDB_E_BASE);
    WdbSession* other = open();
    ASSERT_EQ(WdbBindSession(other), 1);
    ASSERT_EQ(WdbBeginLoad("U", 0), 1);
    // The load holds the lock, so a session of another thread cannot have anything merged.
    int32_t status = -1;
    std::thread([&] {
        ASSERT_EQ(WdbBindSession(nullptr), 1);
        WdbSession* third = open();
        ASSERT_EQ(WdbBindSession(third), 1);
        status = WdbWaitIndex("T", 30);
        EXPECT_EQ(WdbCloseSession(&third), 1);
    }).join();
    EXPECT_EQ(status, 0) << "the time was over";
    ASSERT_EQ(WdbEndLoad("U", 0), 1);
    EXPECT_EQ(WdbCloseSession(&other), 1);
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(WdbWaitIndex("T", 5000), 1);
    EXPECT_EQ(pending("T"), 0);
    EXPECT_EQ(WdbWaitIndex("T", 0), 1);
}

TEST_F(Upkeep, ABackupOfABaseIsItsThreeFiles) {
    const std::string target = home_ + "/copy";
    ASSERT_EQ(WdbBackupBase("T", target.c_str()), 1);
    EXPECT_EQ(WdbBackupBase("T", target.c_str()), WDB_E_EXISTS) << "nothing is written over";
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(target)) {
        ++count;
        EXPECT_EQ(entry.status().permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    }
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(WdbBackupBase("ABSENT", target.c_str()), WDB_E_BASE);
    EXPECT_EQ(WdbBackupBase("T", ""), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbBackupBase("T", (home_ + "/no/such/place").c_str()), WDB_E_STORAGE);
    // In the place of the base's own files they are the base as it was.
    ASSERT_EQ(insert("T", {"later", "words"}), 1);
    whileClosed([&] {
        for (const auto& entry : std::filesystem::directory_iterator(target))
            std::filesystem::copy_file(entry.path(), home_ + "/bases/" + entry.path().filename().string(),
                                       std::filesystem::copy_options::overwrite_existing);
    });
    expectSound(50);
}

TEST_F(Upkeep, ABackupOfTheHomeIsAHome) {
    // A base in another place, with the same file name.
    const std::string elsewhere = home_ + "/elsewhere";
    std::filesystem::create_directory(elsewhere);
    ASSERT_EQ(WdbSetResource(4, "PLACE", elsewhere.c_str()), 1);
    WdbBaseDef base{};
    ASSERT_EQ(WdbGetBaseDef("T2", &base), 1);
    WdbFieldSpec field = spec({"NAME", "PHRASE"});
    ASSERT_EQ(WdbPutFieldSpec(&field), 1);
    copy(base.baseFile, "PLACE:T.BAF");
    copy(base.indexFile, "PLACE:T.BIF");
    copy(base.valueFile, "PLACE:T.VIF");
    ASSERT_EQ(WdbPutBaseDef(&base), 1);
    ASSERT_EQ(insert("T2", {"elsewhere"}), 1);
    const std::string target = home_ + "-copy";
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"open", "words"}), 1);
    ASSERT_EQ(WdbBackupBase(nullptr, target.c_str()), 1) << "the open unit is committed before";
    ASSERT_EQ(WdbLoadStatus(3), 1);
    EXPECT_EQ(WdbBackupBase(nullptr, target.c_str()), WDB_E_EXISTS);

    WdbSession* copy = nullptr;
    ASSERT_EQ(WdbOpenSession(target.c_str(), "boss", "", 0, &copy), 1);
    ASSERT_EQ(WdbBindSession(copy), 1);
    expectSound(51);
    EXPECT_EQ(find("FIND T2.NAME=elsewhere").size(), 1u);
    ASSERT_EQ(insert("T2", {"only here"}), 1);
    ASSERT_EQ(insert("U", {"only here"}), 1);
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(find("FIND T2.NAME=only$").size() + find("FIND U.NAME=only$").size(), 0u);
    EXPECT_EQ(WdbCloseSession(&copy), 1);
    std::filesystem::remove_all(target);
}

TEST_F(Upkeep, CompactionGivesPagesBackWhileOthersRead) {
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(insert("T", {"m" + std::to_string(i), std::string(4000, 'y') + " words"}), 1);
    removeRecords(51, 250);
    ASSERT_EQ(WdbWaitIndex("T", 5000), 1);
    const auto size = [&] {
        uintmax_t bytes = 0;
        for (const auto& path : files()) bytes += std::filesystem::file_size(path);
        return bytes;
    };
    const uintmax_t before = size();
    // A reader within a statement keeps the state that it has; so does a set.
    WdbSession* reader = open();
    ASSERT_EQ(WdbBindSession(reader), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(find("FIND T.NOTE=words").size(), 50u);
    ASSERT_EQ(WdbBindSession(session_), 1);
    WdbRecordControl* held = control("T", WDB_MODE_WRITE);
    ASSERT_EQ(WdbGetRecordInBase(held, 7), 1);
    ASSERT_EQ(WdbCompactBase("T"), 1);
    EXPECT_LT(size() * 2, before);
    EXPECT_EQ(files().size(), 3u) << "the old files are gone";
    expectSound(50);
    ASSERT_EQ(set(held, 1, 0, "changed"), 1);
    EXPECT_EQ(WdbPutRecord(held, nullptr), 1) << "a control goes on with the new files";
    EXPECT_EQ(WdbDeleteRecordControl(&held), 1);
    ASSERT_EQ(WdbBindSession(reader), 1);
    EXPECT_EQ(find("FIND T.NAME=changed").size(), 0u) << "as its statement began";
    ASSERT_EQ(WdbLoadStatus(3), 1);
    EXPECT_EQ(find("FIND T.NAME=changed").size(), 1u);
    ASSERT_EQ(WdbCloseSession(&reader), 1);
    ASSERT_EQ(WdbBindSession(session_), 1);
    ASSERT_EQ(WdbCompactBase("T"), 1);
    whileClosed([] {});
    expectSound(50);
    EXPECT_EQ(WdbCompactBase("ABSENT"), WDB_E_BASE);
}

struct Ears {
    int heard = 0;
    int32_t answer = 1;
    int64_t done = 0, total = 0;
};
int32_t hear(void* context, int64_t done, int64_t total) {
    auto& ears = *static_cast<Ears*>(context);
    ++ears.heard;
    ears.done = done;
    ears.total = total;
    int32_t count = 0;
    EXPECT_EQ(WdbBaseStatus("T", nullptr, nullptr, nullptr, nullptr, &count, nullptr), WDB_E_SESSION_BUSY)
        << "a job is running";
    return ears.answer;
}

TEST_F(Upkeep, ProgressIsToldAndMayEndAJob) {
    const std::string target = home_ + "/copy";
    const struct {
        std::function<int32_t()> job;
        const char* name;
    } rows[] = {
        {[] { return WdbRebuildIndex("T", nullptr); }, "rebuild"},
        {[&] { return WdbBackupBase("T", target.c_str()); }, "backup"},
        {[&] { return WdbBackupBase(nullptr, (target + "2").c_str()); }, "backup of all"},
        {[] { return WdbCompactBase("T"); }, "compact"},
        {[] {
             EXPECT_EQ(WdbBeginLoad("U", 0), 1);
             EXPECT_EQ(insert("U", {"x"}), 1);
             return WdbEndLoad("U", 1);
         },
         "load"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto before = files();
        for (const int32_t answer : {2, 0, -2, 1}) {
            Ears ears;
            ears.answer = answer;
            ASSERT_EQ(WdbSetProgress(hear, &ears), 1);
            EXPECT_EQ(row.job(), answer == -2 ? 0 : answer) << "an even answer is the job's status";
            EXPECT_GT(ears.heard, 0);
            const bool ended = answer != 1;  // perhaps on the way
            EXPECT_EQ(ears.done, ended || ears.total == 0 ? ears.done : ears.total);
            ASSERT_EQ(WdbSetProgress(nullptr, nullptr), 1);
            if (answer == 1) continue;
            EXPECT_EQ(files(), before) << "nothing changed";
            EXPECT_TRUE(!std::filesystem::exists(target) || std::filesystem::is_empty(target));
            EXPECT_FALSE(std::filesystem::exists(target + "2/system.mdb"));
            EXPECT_EQ(find("FIND U.NAME=x").size(), 0u);
        }
        std::filesystem::remove_all(target);
        std::filesystem::remove_all(target + "2");
        expectSound(50);
    }
    EXPECT_EQ(find("FIND U.NAME=x").size(), 1u);
}

TEST_F(Upkeep, ALoadThatIsEndedStaysEndedUntilItsEnd) {
    Ears ears;
    ears.answer = 2;
    ASSERT_EQ(WdbBeginLoad("U", 0), 1);
    ASSERT_EQ(insert("U", {"x"}), 1);
    ASSERT_EQ(WdbSetProgress(hear, &ears), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    int32_t status = 1;
    for (int i = 0; i < 200 && status == 1; ++i) status = insert("U", {"y"});
    EXPECT_EQ(status, 2);
    ASSERT_EQ(WdbSetProgress(nullptr, nullptr), 1);
    EXPECT_EQ(insert("U", {"z"}), 2) << "what follows belongs to the load as well";
    EXPECT_EQ(insert("T", {"z"}), WDB_E_LOCKED);
    EXPECT_EQ(WdbEndLoad("U", 1), 2);
    EXPECT_EQ(find("FIND U.R=FROM 1").size(), 0u);
    EXPECT_EQ(insert("U", {"z"}), 1);
}

}  // namespace
