// A configuration file of sections and entries, with the "*.conf" files that it includes.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace wsql {

// Lines of at most 1024 bytes, trimmed. Empty lines and those that begin with "#", "'", ";" or "//" are
// skipped, "[name" up to "]" opens a section, everything else is an entry "key = value" (a line without "="
// is a key with an empty value). Entries before the first section belong to the unnamed section "". Keys and
// sections compare exactly.
class ConfigFile {
public:
    // False when the file cannot be read; the object is then empty. An entry "ConfigDir" of the default
    // section names a directory whose "*.conf" files are read in name order, their entries behind those of
    // the including file.
    bool read(const char* path, const char* defaultSection = "");

    // The first entry of that key, or null.
    const std::string* find(const std::string& section, const std::string& key) const;

private:
    struct Entry {
        std::string section, key, value;
    };
    bool readOne(const char* path);

    std::vector<Entry> entries_;
};

}  // namespace wsql
