#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

// Column names for an input's own names, in order: characters that a column name cannot hold become
// underscores, a name is at most 15 bytes long, and one that was there before (upper and lower case are one)
// gets a number at its end. So does R, which means the record number in every statement.
class ColumnNames {
public:
    // The index of the new name.
    std::size_t add(std::string_view name);
    // The same for a file that names columns as a table does: what can be a name stays as it is.
    std::size_t addExact(std::string_view name);
    const std::vector<std::string>& names() const { return names_; }

private:
    bool taken(std::string_view name) const;
    std::vector<std::string> names_;
};

// ASCII letters only, whatever the locale.
char upperAscii(char c);
bool equalNames(std::string_view a, std::string_view b);

}  // namespace host
