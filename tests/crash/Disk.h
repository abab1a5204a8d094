#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/crash/shim/Trace.h"

// A disk that forgets: it is fed with the calls of a trace and says what a loss of power may leave of them.
namespace crash {

struct TraceEvent {
    TraceHeader header;
    std::string path;
    std::string second;
    std::string bytes;
};

std::vector<TraceEvent> readTrace(const std::string& file);

// Which writes that were not synced a loss may leave at all.
enum class Spared {
    Any,
    Names,   // of a file's first two pages, which name its states
    Others,  // not of these
};

// How writes that were not synced come out.
struct Loss {
    uint32_t seed;
    size_t sector;     // a write falls into pieces of so many bytes, each of which is there or not
    unsigned percent;  // of the pieces that are there
    Spared spared = Spared::Any;
};

class Disk {
public:
    // Everything below the directory is durable. `directory` is the resolved path that the trace's paths
    // have.
    explicit Disk(const std::string& directory);

    void apply(const TraceEvent& event);
    // Writes what is left after a loss now into a directory, which is made anew. Entries of directories that
    // were not synced come out as some number of the first of them, the order that file systems keep them in.
    void writeImage(const std::string& directory, const Loss& loss) const;

private:
    struct Change {
        TraceKind kind;
        uint64_t offset;
        std::string bytes;
        bool certain = false;  // durable already; kept for the order
    };
    struct File {
        std::string durable;
        std::vector<Change> waiting;
    };
    using FilePtr = std::shared_ptr<File>;
    using Names = std::map<std::string, FilePtr>;  // by path below the directory
    struct NameChange {
        TraceKind kind;
        std::string path;
        std::string second;
        FilePtr file;  // of Create
    };

    std::string below(const std::string& path) const;
    void create(const TraceEvent& event);
    static void change(Names& names, const NameChange& change);
    static void change(std::string& bytes, const Change& change);
    static std::string left(const File& file, const Loss& loss, std::mt19937& random);

    std::string directory_;
    std::map<uint64_t, FilePtr> files_;  // by inode
    Names names_;                        // durable entries
    std::vector<NameChange> pending_;    // entries that wait for a sync of their directory
};

}  // namespace crash
