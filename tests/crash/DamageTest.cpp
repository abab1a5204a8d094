#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/crash/DamagedHome.h"
#include "tests/crash/Rounds.h"
#include "tests/crash/Sql.h"
#include "tests/crash/Workload.h"

// Files that were changed while no process had them open. Whatever is in them, calls answer a status; a
// damaged index file is built anew, and no answer is wrong without somebody having said so.
namespace crash {
namespace {

namespace fs = std::filesystem;

constexpr size_t kPage = 4096;

std::string contentsOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void overwrite(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

size_t somePage(const std::string& bytes, Random& random) {
    return bytes.size() < kPage ? 0 : random() % (bytes.size() / kPage) * kPage;
}

using Change = std::string (*)(std::string bytes, const std::string& other, Random& random);

struct Damage {
    const char* name;
    Change change;
    bool sameSize;  // can be hidden from a look at size and times
};

const Damage kDamages[] = {
    {"empty", [](std::string, const std::string&, Random&) { return std::string(); }, false},
    {"cut anywhere",
     [](std::string bytes, const std::string&, Random& random) {
         return bytes.substr(0, random() % bytes.size());
     },
     false},
    {"last pages cut",
     [](std::string bytes, const std::string&, Random& random) {
         const size_t cut = std::min(bytes.size(), kPage * (1 + random() % 4));
         return bytes.substr(0, bytes.size() - cut);
     },
     false},
    {"longer by noise",
     [](std::string bytes, const std::string&, Random& random) {
         for (int i = 0; i < 5000; ++i) bytes.push_back(static_cast<char>(random()));
         return bytes;
     },
     false},
    {"one bit",
     [](std::string bytes, const std::string&, Random& random) {
         bytes[random() % bytes.size()] ^= static_cast<char>(1 << random() % 8);
         return bytes;
     },
     true},
    {"a bit of a page's head",
     [](std::string bytes, const std::string&, Random& random) {
         bytes[somePage(bytes, random) + random() % std::min<size_t>(64, bytes.size())] ^=
             static_cast<char>(1 << random() % 8);
         return bytes;
     },
     true},
    {"a hundred bytes",
     [](std::string bytes, const std::string&, Random& random) {
         for (int i = 0; i < 100; ++i) bytes[random() % bytes.size()] = static_cast<char>(random());
         return bytes;
     },
     true},
    {"a page of zeros",
     [](std::string bytes, const std::string&, Random& random) {
         const size_t at = somePage(bytes, random);
         return bytes.replace(at, std::min(kPage, bytes.size() - at), std::min(kPage, bytes.size() - at),
                              '\0');
     },
     true},
    {"a page of noise",
     [](std::string bytes, const std::string&, Random& random) {
         const size_t at = somePage(bytes, random);
         for (size_t i = at; i < std::min(bytes.size(), at + kPage); ++i)
             bytes[i] = static_cast<char>(random());
         return bytes;
     },
     true},
    {"two pages swapped",
     [](std::string bytes, const std::string&, Random& random) {
         const size_t first = somePage(bytes, random), second = somePage(bytes, random);
         if (bytes.size() >= kPage)
             std::swap_ranges(bytes.begin() + static_cast<std::ptrdiff_t>(first),
                              bytes.begin() + static_cast<std::ptrdiff_t>(first + kPage),
                              bytes.begin() + static_cast<std::ptrdiff_t>(second));
         return bytes;
     },
     true},
    {"meta pages from each other",
     [](std::string bytes, const std::string&, Random& random) {
         if (bytes.size() >= 2 * kPage) bytes.replace(random() % 2 * kPage, 200, bytes.substr(0, 200));
         return bytes;
     },
     true},
    {"another file", [](std::string, const std::string& other, Random&) { return other; }, false},
    {"a page of another file",
     [](std::string bytes, const std::string& other, Random& random) {
         const size_t to = somePage(bytes, random), from = somePage(other, random);
         if (bytes.size() >= kPage && other.size() >= kPage)
             bytes.replace(to, kPage, other.substr(from, kPage));
         return bytes;
     },
     true},
    {"noise altogether",
     [](std::string bytes, const std::string&, Random& random) {
         for (char& byte : bytes) byte = static_cast<char>(random());
         return bytes;
     },
     true},
};

std::vector<std::string> filesOf(const std::string& home) {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(home)) {
        if (entry.is_regular_file()) files.push_back(fs::relative(entry.path(), home).string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The exit code 0: every answer was right or somebody said that something is wrong.
int useDamaged(const std::string& home, const Contents& contents, bool index) {
    const std::string wrong = useHome(home, contents, index);
    if (!wrong.empty()) std::fprintf(stderr, "%s", wrong.c_str());
    const Session session(home);
    if (session.status() == WDB_OK)
        static_cast<void>(runSql("SELECT NAME, SIZE FROM ROWS WHERE NOTE LIKE 'word3' ORDER BY NAME"));
    return wrong.empty() ? 0 : 1;
}

struct Stamps {
    struct timespec times[2];
};

Stamps stampsOf(const fs::path& path) {
    struct stat info {};
    ::stat(path.c_str(), &info);
    return {{info.st_atim, info.st_mtim}};
}

// A copy that keeps the times, so that the notes of the clean end fit the files.
void copyWithTimes(const std::string& from, const std::string& to) {
    copyHome(from, to);
    for (const std::string& file : filesOf(to)) {
        const Stamps stamps = stampsOf(from + "/" + file);
        ::utimensat(AT_FDCWD, (to + "/" + file).c_str(), stamps.times, 0);
    }
}

class DamagedHome : public testing::Test {
protected:
    void SetUp() override {
        contents_ = prepare(scratch_ / "prepared");
        files_ = filesOf(scratch_ / "prepared");
        std::erase_if(files_, [](const std::string& file) { return file.ends_with("-lock"); });
    }

    // Damages one file and runs the body in a process of its own.
    void damage(const std::string& file, const Damage& damage, uint32_t seed, bool hidden,
                const std::function<int()>& body) {
        const std::string home = scratch_ / "home";
        copyWithTimes(scratch_ / "prepared", home);
        const fs::path path = home + "/" + file;
        const std::string bytes = contentsOf(path);
        if (bytes.empty()) return;
        const Stamps before = stampsOf(path);
        Random random(seed);
        const std::string& other = files_[random() % files_.size()];
        overwrite(path, damage.change(bytes, contentsOf(home + "/" + other), random));
        if (hidden) ::utimensat(AT_FDCWD, path.c_str(), before.times, 0);
        Child child([&](int) { return body(); }, 60);
        EXPECT_EQ(child.wait(), 0) << file << ": " << damage.name << ", seed " << seed
                                   << (hidden ? ", times kept" : "");
        ++cases_;
    }

    const Scratch scratch_;
    Contents contents_;
    std::vector<std::string> files_;
    int cases_ = 0;
};

TEST_F(DamagedHome, IsAnsweredWithAStatus) {
    const uint32_t seeds = longForm() ? 12 : 1;
    for (const std::string& file : files_) {
        for (const Damage& kind : kDamages) {
            for (uint32_t seed = 1; seed <= seeds; ++seed) {
                damage(file, kind, seed, false,
                       [&] { return useDamaged(scratch_ / "home", contents_, isIndex(file)); });
            }
        }
    }
    RecordProperty("cases", cases_);
    EXPECT_GT(cases_, 100);
}

TEST_F(DamagedHome, IsFoundByTheCheckWhenTimesWereKept) {
    const uint32_t seeds = longForm() ? 12 : 2;
    for (const std::string& file : files_) {
        for (const Damage& kind : kDamages) {
            for (uint32_t seed = 1; kind.sameSize && seed <= seeds; ++seed)
                damage(file, kind, seed, true, [&] {
                    const std::string wrong = verifyHome(scratch_ / "home", contents_);
                    if (!wrong.empty()) std::fprintf(stderr, "%s", wrong.c_str());
                    return wrong.empty() ? 0 : 1;
                });
        }
    }
    EXPECT_GT(cases_, 60);
}

// Every page that the base file's tables use, zeroed without a trace: the check tells.
TEST_F(DamagedHome, LostPagesAreTold) {
    int told = 0;
    for (const std::string& file : files_) {
        if (!file.ends_with("ROWS.BAF")) continue;
        const size_t pages = contentsOf(scratch_ / "prepared/" + file).size() / kPage;
        for (const int64_t page : pointsOf(static_cast<int64_t>(pages) - 1, 40)) {
            copyWithTimes(scratch_ / "prepared", scratch_ / "home");
            const fs::path path = scratch_ / "home/" + file;
            const Stamps before = stampsOf(path);
            std::string bytes = contentsOf(path);
            bytes.replace(static_cast<size_t>(page) * kPage, kPage, kPage, '\0');
            overwrite(path, bytes);
            ::utimensat(AT_FDCWD, path.c_str(), before.times, 0);
            Child child([&](int) {
                const Session session(scratch_ / "home");
                const int32_t status = WdbVerifyBase("ROWS", 0, nullptr, nullptr);
                return status == WDB_OK ? 0 : status == WDB_E_CORRUPT ? 1 : 2;
            });
            const int outcome = child.wait();
            EXPECT_TRUE(outcome == 0 || outcome == 1) << "page " << page << ": " << outcome;
            told += outcome == 1 ? 1 : 0;
        }
    }
    EXPECT_GE(told, 6) << "a page that was free may be lost without anybody noticing";
}

}  // namespace
}  // namespace crash
