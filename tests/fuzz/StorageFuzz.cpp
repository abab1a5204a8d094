// The files of a database, bent while nobody has them open. The first byte chooses a file, the second what is
// done with it; the others say what happens to its bytes: an operation, a page, and what that operation
// needs.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/crash/DamagedHome.h"
#include "tests/crash/Rounds.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kPage = 4096;
constexpr int kMostChanges = 16;

struct File {
    std::string name;
    std::string bytes;
    timespec changed{};
};

// A prepared home, kept in memory.
class Original {
public:
    Original() {
        const crash::Scratch scratch;
        contents_ = crash::prepare(scratch / "home");
        for (const auto& entry : fs::recursive_directory_iterator(scratch / "home")) {
            if (!entry.is_regular_file() || entry.path().string().ends_with("lock")) continue;
            std::ostringstream bytes;
            bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
            struct stat info {};
            ::stat(entry.path().c_str(), &info);
            files_.push_back(
                {fs::relative(entry.path(), scratch / "home").string(), bytes.str(), info.st_mtim});
        }
        std::sort(files_.begin(), files_.end(), [](const File& a, const File& b) { return a.name < b.name; });
    }

    const std::vector<File>& files() const { return files_; }
    const crash::Contents& contents() const { return contents_; }

private:
    std::vector<File> files_;
    crash::Contents contents_;
};

class Input {
public:
    Input(const uint8_t* data, size_t size) : data_(data), left_(size) {}
    bool more() const { return left_ > 0; }
    uint8_t byte() {
        if (left_ == 0) return 0;
        --left_;
        return *data_++;
    }
    size_t word() {
        const size_t low = byte();
        return low | size_t{byte()} << 8;
    }

private:
    const uint8_t* data_;
    size_t left_;
};

void setBytes(std::string& bytes, size_t at, size_t count, Input& input) {
    for (size_t i = 0; i < count; ++i) {
        const auto value = static_cast<char>(input.byte());
        if (at + i < bytes.size()) bytes[at + i] = value;
    }
}

void change(std::string& bytes, const std::vector<File>& files, Input& input) {
    const unsigned operation = input.byte() % 9;
    const size_t pages = std::max<size_t>(1, bytes.size() / kPage);
    const size_t page = input.byte() % pages * kPage;
    const size_t room = bytes.size() < page ? 0 : std::min(kPage, bytes.size() - page);
    switch (operation) {
        case 0:
        case 1:
        case 2: {
            constexpr size_t kSizes[] = {1, 2, 8};
            setBytes(bytes, page + input.word() % kPage, kSizes[operation], input);
            break;
        }
        case 3:  // the page's head: number, flags, bounds
            setBytes(bytes, page + input.byte() % 64, 2, input);
            break;
        case 4:
            bytes.replace(page, room, room, static_cast<char>(input.byte()));
            break;
        case 5: {
            const size_t from = input.byte() % pages * kPage;
            if (from < bytes.size()) bytes.replace(page, room, std::string(bytes, from, room));
            break;
        }
        case 6: {
            const std::string& other = files[input.byte() % files.size()].bytes;
            const size_t from = input.byte() % std::max<size_t>(1, other.size() / kPage) * kPage;
            if (from < other.size()) bytes.replace(page, room, std::string(other, from, room));
            break;
        }
        case 7:
            bytes.resize(std::min(bytes.size(), page + input.word() % kPage));
            break;
        default:
            bytes.append(input.word(), static_cast<char>(input.byte()));
    }
}

void write(const std::string& path, const std::string& bytes, const timespec* changed) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    if (changed == nullptr) return;
    const timespec times[2] = {*changed, *changed};
    ::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Original original;
    static const crash::Scratch scratch;
    Input input(data, size);
    const size_t chosen = input.byte() % original.files().size();
    const uint8_t how = input.byte();
    const bool hidden = (how & 1) != 0;  // size and times as they were: the check alone is to live with it
    const std::string home = scratch / "home";
    fs::remove_all(home);
    for (size_t i = 0; i < original.files().size(); ++i) {
        const File& file = original.files()[i];
        if (i != chosen) {
            write(home + "/" + file.name, file.bytes, &file.changed);
            continue;
        }
        std::string bytes = file.bytes;
        for (int changes = 0; input.more() && changes < kMostChanges; ++changes)
            change(bytes, original.files(), input);
        if (hidden) bytes.resize(file.bytes.size());
        write(home + "/" + file.name, bytes, hidden ? &file.changed : nullptr);
    }
    const std::string& name = original.files()[chosen].name;
    if (hidden) {
        // The catalogue has no checksums: other names are as good as the right ones.
        const std::string found = crash::verifyHome(home, original.contents());
        if (found.empty() || name.starts_with("system.mdb")) return 0;
        std::fprintf(stderr, "%s: %s", name.c_str(), found.c_str());
        __builtin_trap();
    }
    const bool complete = crash::isIndex(name) || name.ends_with("-clean");
    const std::string wrong = crash::useHome(home, original.contents(), complete);
    if (!wrong.empty()) {
        std::fprintf(stderr, "%s: %s", name.c_str(), wrong.c_str());
        __builtin_trap();
    }
    return 0;
}
