#include "tests/crash/Disk.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace crash {

namespace fs = std::filesystem;

namespace {

std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

std::string parentOf(const std::string& path) {
    const size_t slash = path.rfind('/', path.size() - 2);
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

}  // namespace

std::vector<TraceEvent> readTrace(const std::string& file) {
    const std::string bytes = contentsOf(file);
    std::vector<TraceEvent> events;
    size_t at = 0;
    const auto take = [&](uint64_t size) {
        const std::string part = bytes.substr(at, size);
        at += size;
        return part;
    };
    while (at + sizeof(TraceHeader) <= bytes.size()) {
        TraceEvent event;
        std::memcpy(&event.header, bytes.data() + at, sizeof event.header);
        at += sizeof event.header;
        event.path = take(event.header.pathSize);
        event.second = take(event.header.secondSize);
        event.bytes = take(event.header.byteCount);
        events.push_back(std::move(event));
    }
    return events;
}

Disk::Disk(const std::string& directory) : directory_(directory) {
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        const std::string name = below(entry.path().string());
        struct stat info {};
        if (::stat(entry.path().c_str(), &info) != 0) continue;
        auto file = std::make_shared<File>();
        if (entry.is_regular_file()) file->durable = contentsOf(entry.path().string());
        names_[entry.is_directory() ? name + "/" : name] = file;
        files_[info.st_ino] = file;
    }
}

std::string Disk::below(const std::string& path) const {
    return path.size() <= directory_.size() ? std::string() : path.substr(directory_.size() + 1);
}

void Disk::create(const TraceEvent& event) {
    auto file = std::make_shared<File>();
    files_[event.header.inode] = file;
    pending_.push_back(
        {TraceKind::Create, below(event.path) + (event.header.offset == 1 ? "/" : ""), "", file});
}

void Disk::apply(const TraceEvent& event) {
    const TraceHeader& header = event.header;
    const auto place = files_.find(header.inode);
    switch (header.kind) {
        case TraceKind::Write:
        case TraceKind::Truncate: {
            if (place == files_.end()) return;
            // What is written synchronously is durable; other writes of the file still wait.
            place->second->waiting.push_back(
                {header.kind, header.offset, event.bytes, header.synchronous != 0});
            return;
        }
        case TraceKind::Sync: {
            if (place != files_.end()) {
                for (const Change& waiting : place->second->waiting) change(place->second->durable, waiting);
                place->second->waiting.clear();
            }
            const std::string synced = below(event.path);
            std::erase_if(pending_, [&](const NameChange& waiting) {
                if (parentOf(waiting.path) != synced) return false;
                change(names_, waiting);
                return true;
            });
            return;
        }
        case TraceKind::Create:
            create(event);
            return;
        case TraceKind::Rename:
        case TraceKind::Unlink:
            pending_.push_back({header.kind, below(event.path), below(event.second), nullptr});
            return;
        case TraceKind::Mark:
            return;
    }
}

void Disk::change(Names& names, const NameChange& change) {
    if (change.kind == TraceKind::Create) {
        names[change.path] = change.file;
    } else if (change.kind == TraceKind::Unlink) {
        names.erase(change.path);
    } else if (auto moved = names.extract(change.path)) {
        names.erase(change.second);
        moved.key() = change.second;
        names.insert(std::move(moved));
    }
}

void Disk::change(std::string& bytes, const Change& change) {
    if (change.kind == TraceKind::Truncate) {
        bytes.resize(change.offset, '\0');
        return;
    }
    if (bytes.size() < change.offset + change.bytes.size())
        bytes.resize(change.offset + change.bytes.size(), '\0');
    bytes.replace(change.offset, change.bytes.size(), change.bytes);
}

std::string Disk::left(const File& file, const Loss& loss, std::mt19937& random) {
    std::string bytes = file.durable;
    for (const Change& waiting : file.waiting) {
        if (waiting.certain) {
            change(bytes, waiting);
            continue;
        }
        if (waiting.kind == TraceKind::Truncate) {
            if (random() % 100 < loss.percent) change(bytes, waiting);
            continue;
        }
        for (size_t at = 0; at < waiting.bytes.size();) {
            const size_t size =
                std::min(waiting.bytes.size() - at, loss.sector - (waiting.offset + at) % loss.sector);
            constexpr uint64_t kNamesEnd = 2 * 4096;
            const bool name = waiting.offset + at < kNamesEnd;
            const bool spared = loss.spared == Spared::Any || name == (loss.spared == Spared::Names);
            if (random() % 100 < loss.percent && spared)
                change(bytes, {TraceKind::Write, waiting.offset + at, waiting.bytes.substr(at, size)});
            at += size;
        }
    }
    return bytes;
}

void Disk::writeImage(const std::string& directory, const Loss& loss) const {
    std::mt19937 random(loss.seed);
    Names names = names_;
    const size_t kept = loss.percent == 100 ? pending_.size() : random() % (pending_.size() + 1);
    for (size_t i = 0; i < kept; ++i) change(names, pending_[i]);
    fs::remove_all(directory);
    fs::create_directories(directory);
    for (const auto& [name, file] : names) {
        const std::string path = directory + "/" + name;
        if (name.ends_with("/")) {
            fs::create_directories(path);
            continue;
        }
        // Locks are memory of running processes.
        if (name.ends_with("-lock")) continue;
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << left(*file, loss, random);
    }
}

}  // namespace crash
