#include "kernel/storage/Environment.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/unit/storage/ChildProcess.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {
namespace {

constexpr std::array kTables{TableSpec{"texts"}, TableSpec{"numbers", true}};
constexpr Table kTexts = 0;
constexpr Table kNumbers = 1;

class EnvironmentTest : public testing::Test {
protected:
    std::shared_ptr<Environment> open(EnvironmentOptions options = {}) {
        auto opened = Environment::open(directory_ / "file", kTables, options);
        EXPECT_TRUE(opened) << opened.status();
        return opened ? *opened : nullptr;
    }
    std::shared_ptr<Environment> create(EnvironmentOptions options = {}) {
        options.create = true;
        return open(options);
    }
    static void put(Environment& file, Slice key, Slice value) {
        auto txn = file.write();
        ASSERT_TRUE(txn);
        ASSERT_EQ(txn->put(kTexts, key, value), WDB_OK);
        ASSERT_EQ(txn->commit(), WDB_OK);
    }
    static std::string get(const Txn& txn, Slice key) {
        Slice value;
        const Status status = txn.get(kTexts, key, value);
        return status == WDB_OK ? std::string(value) : "status " + std::to_string(status);
    }

    TempDirectory directory_;
};

TEST_F(EnvironmentTest, IsOpenedOncePerProcessByWhateverPath) {
    const auto first = create();
    std::filesystem::create_symlink(directory_ / "file", directory_ / "other");
    auto second = Environment::open(directory_ / "other", kTables, {});
    ASSERT_TRUE(second);
    EXPECT_EQ(first.get(), second->get());
    EXPECT_EQ(Environment::open(directory_ / "file", kTables, {.create = true}).status(), WDB_E_EXISTS);
    EXPECT_EQ(Environment::open(directory_ / "missing", kTables, {}).status(), WDB_E_STORAGE);
    struct stat info {};
    ASSERT_EQ(::stat((directory_ / "file").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(EnvironmentTest, FilesOfAnotherKindAreRefused) {
    std::ofstream(directory_ / "file") << std::string(20000, 'x');
    EXPECT_EQ(Environment::open(directory_ / "file", kTables, {}).status(), WDB_E_CORRUPT)
        << "no storage file";
    std::filesystem::remove(directory_ / "file");
    create();
    constexpr std::array kOther{TableSpec{"texts"}, TableSpec{"absent"}};
    EXPECT_EQ(Environment::open(directory_ / "file", kOther, {}).status(), WDB_E_CORRUPT)
        << "a table is missing";
    constexpr std::array kOtherKeys{TableSpec{"texts", true}, TableSpec{"numbers", true}};
    EXPECT_EQ(Environment::open(directory_ / "file", kOtherKeys, {}).status(), WDB_E_CORRUPT)
        << "keys of another kind";
}

TEST_F(EnvironmentTest, ACutFileIsAStatus) {
    {
        const auto file = create();
        for (int i = 0; i < 40; ++i) put(*file, std::to_string(i), std::string(100000, 'v'));
    }
    std::filesystem::resize_file(directory_ / "file", 65536);
    EXPECT_EQ(Environment::open(directory_ / "file", kTables, {}).status(), WDB_E_CORRUPT);
}

TEST_F(EnvironmentTest, ReadersKeepTheirState) {
    const auto file = create();
    put(*file, "a", "1");
    auto before = file->read();
    put(*file, "a", "2");
    auto after = file->read();
    ASSERT_TRUE(before && after);
    EXPECT_EQ(get(*before, "a"), "1");
    EXPECT_EQ(get(*after, "a"), "2");
    EXPECT_LT(before->id(), after->id());
    EXPECT_EQ(file->readers(), 2u);
    before->release();
    EXPECT_EQ(file->readers(), 1u);
}

TEST_F(EnvironmentTest, AnAbandonedTransactionLeavesNothing) {
    const auto file = create();
    put(*file, "a", "1");
    {
        auto txn = file->write();
        ASSERT_TRUE(txn);
        EXPECT_EQ(txn->put(kTexts, "a", "2"), WDB_OK);
        EXPECT_EQ(get(*txn, "a"), "2") << "its own write";
    }
    auto txn = file->read();
    ASSERT_TRUE(txn);
    EXPECT_EQ(get(*txn, "a"), "1");
}

TEST_F(EnvironmentTest, KeysAndModes) {
    const auto file = create();
    auto txn = file->write();
    ASSERT_TRUE(txn);
    EXPECT_EQ(txn->put(kTexts, std::string(kMaxKey, 'k'), "longest key"), WDB_OK);
    EXPECT_EQ(txn->put(kTexts, std::string(kMaxKey + 1, 'k'), "too long"), WDB_E_STORAGE);
    EXPECT_EQ(txn->put(kTexts, "", "no key"), WDB_E_STORAGE);
    EXPECT_EQ(get(*txn, ""), "status 0");
    EXPECT_EQ(get(*txn, std::string(kMaxKey + 1, 'k')), "status 0");
    EXPECT_EQ(txn->put(kTexts, "a", "1", PutMode::Insert), WDB_OK);
    EXPECT_EQ(txn->put(kTexts, "a", "2", PutMode::Insert), WDB_E_EXISTS);
    EXPECT_EQ(get(*txn, "a"), "1");
    EXPECT_EQ(txn->remove(kTexts, "b"), WDB_FAIL);
    EXPECT_EQ(txn->remove(kTexts, "a"), WDB_OK);
    EXPECT_EQ(txn->commit(), WDB_OK) << "what was refused does not spoil the rest";
}

TEST_F(EnvironmentTest, CursorsWalkInOrder) {
    const auto file = create();
    auto txn = file->write();
    ASSERT_TRUE(txn);
    for (const uint64_t number : {1000000u, 7u, 256u}) ASSERT_EQ(txn->put(kNumbers, number, "x"), WDB_OK);
    {
        Cursor cursor = txn->cursor(kNumbers);
        std::vector<uint64_t> seen;
        for (Status status = cursor.first(); ok(status); status = cursor.next())
            seen.push_back(cursor.key64());
        EXPECT_EQ(seen, (std::vector<uint64_t>{7, 256, 1000000}));
        EXPECT_EQ(cursor.seek(uint64_t{8}), WDB_OK);
        EXPECT_EQ(cursor.key64(), 256u);
        EXPECT_EQ(cursor.remove(), WDB_OK);
        EXPECT_EQ(cursor.next(), WDB_OK);
        EXPECT_EQ(cursor.key64(), 1000000u) << "the one behind the removed entry";
        EXPECT_EQ(cursor.seek(uint64_t{1000001}), WDB_FAIL);
        EXPECT_EQ(cursor.last(), WDB_OK);
        EXPECT_EQ(cursor.previous(), WDB_OK);
        EXPECT_EQ(cursor.key64(), 7u);
    }
    EXPECT_EQ(txn->entries(kNumbers), 2u);
}

TEST_F(EnvironmentTest, AFullMapDropsTheTransactionAndGrowsForTheNext) {
    const auto file = create({.mapSize = 1 << 20});
    const std::string big(600000, 'x');
    put(*file, "small", "1");
    {
        auto txn = file->write();
        ASSERT_TRUE(txn);
        Status status = WDB_OK;
        for (int i = 0; i < 4 && ok(status); ++i) status = txn->put(kTexts, std::to_string(i), big);
        EXPECT_EQ(status, WDB_E_STORAGE);
        EXPECT_EQ(txn->commit(), WDB_E_STORAGE) << "half of a transaction is never committed";
    }
    auto reader = file->read();
    ASSERT_TRUE(reader);
    EXPECT_EQ(get(*reader, "0"), "status 0");
    EXPECT_EQ(get(*reader, "small"), "1");
    reader->release();
    auto txn = file->write();
    ASSERT_TRUE(txn);
    EXPECT_EQ(txn->put(kTexts, "0", big), WDB_OK);
    EXPECT_EQ(txn->put(kTexts, "1", big), WDB_OK);
    EXPECT_EQ(txn->commit(), WDB_OK);
}

TEST_F(EnvironmentTest, GrowsBetweenTransactionsByItself) {
    const auto file = create({.mapSize = 1 << 20});
    for (int i = 0; i < 60; ++i) put(*file, std::to_string(i), std::string(100000, 'x'));
    EXPECT_GT(file->usedBytes(), 6000000u);
}

// A limit on file sizes makes writes fail as a full disk does.
TEST_F(EnvironmentTest, AFailedCommitLeavesTheFileWholeAndWritableLater) {
    ChildProcess child([this] {
        const auto file = create();
        put(*file, "a", "1");
        ::signal(SIGXFSZ, SIG_IGN);
        struct rlimit before {};
        ::getrlimit(RLIMIT_FSIZE, &before);
        struct rlimit tight = before;
        tight.rlim_cur = 40000;
        ::setrlimit(RLIMIT_FSIZE, &tight);
        {
            auto txn = file->write();
            if (!txn || txn->put(kTexts, "a", std::string(200000, 'x')) != WDB_OK) return 1;
            if (txn->commit() != WDB_E_STORAGE) return 2;
        }
        auto reader = file->read();
        if (!reader || get(*reader, "a") != "1") return 3;
        reader->release();
        ::setrlimit(RLIMIT_FSIZE, &before);
        put(*file, "a", "2");
        reader = file->read();
        return reader && get(*reader, "a") == "2" ? 0 : 4;
    });
    EXPECT_EQ(child.wait(), 0);
    const auto file = open();
    EXPECT_EQ(get(*file->read(), "a"), "2");
}

TEST_F(EnvironmentTest, ReadersOfManyThreads) {
    const auto file = create();
    put(*file, "n", "0");
    std::vector<std::thread> readers;
    std::atomic<int> wrong{0};
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            int last = 0;
            for (int round = 0; round < 300; ++round) {
                auto txn = file->read();
                const int now = txn ? std::stoi(get(*txn, "n")) : -1;
                if (now < last) ++wrong;
                last = now;
            }
        });
    }
    for (int i = 1; i <= 20; ++i) put(*file, "n", std::to_string(i));
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(wrong.load(), 0) << "states never run backwards";
    EXPECT_EQ(file->readers(), 0u);
}

TEST_F(EnvironmentTest, OpeningAndClosingMeetInThreads) {
    create();
    std::vector<std::thread> threads;
    std::atomic<int> failed{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                auto file = Environment::open(directory_ / "file", kTables, {});
                if (!file || !(*file)->read()) ++failed;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failed.load(), 0);
}

// The library stores into it through a map: a hole of a full disk would be a signal.
TEST(EnvironmentLocks, TheFileOfTheLocksHasAllItsBlocks) {
    const TempDirectory directory;
    const std::string path = directory / "file";
    constexpr TableSpec kOne[] = {{"records", true}};
    for (const bool create : {true, false}) {
        if (!create) std::filesystem::resize_file(path + "-lock", 0);
        const auto file = Environment::open(path, kOne, {.create = create});
        ASSERT_TRUE(file) << file.status();
        struct stat locks {};
        ASSERT_EQ(::stat((path + "-lock").c_str(), &locks), 0);
        EXPECT_EQ(locks.st_size, 128 + 1024 * 64) << "as large as the library makes it";
        EXPECT_GE(locks.st_blocks * 512, locks.st_size);
    }
}

// A commit that met a full disk may have made the file longer than any state is.
TEST(EnvironmentSpace, WhatLiesBehindTheLastPageGoes) {
    const TempDirectory directory;
    const std::string path = directory / "file";
    constexpr TableSpec kOne[] = {{"records", true}};
    ASSERT_TRUE(Environment::open(path, kOne, {.create = true}));
    const auto size = std::filesystem::file_size(path);
    {
        const auto file = Environment::open(path, kOne, {});
        ASSERT_TRUE(file);
        std::ofstream(path, std::ios::app | std::ios::binary) << std::string(3 << 20, 'x');
    }
    EXPECT_LE(std::filesystem::file_size(path), size);
    EXPECT_TRUE(Environment::open(path, kOne, {}));
}

}  // namespace
}  // namespace wdb
