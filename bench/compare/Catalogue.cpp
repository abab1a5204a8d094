#include "bench/compare/Catalogue.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <unordered_set>

namespace compare {

namespace {

// "a (>= 1), b | c:any" -> a, b
std::vector<std::string> targetsOf(std::string_view list) {
    std::vector<std::string> out;
    while (!list.empty()) {
        const size_t comma = std::min(list.find(','), list.size());
        std::string_view item = list.substr(0, comma);
        list.remove_prefix(std::min(comma + 1, list.size()));
        item.remove_prefix(std::min(item.find_first_not_of(" \n"), item.size()));
        const std::string name(item.substr(0, item.find_first_of(" (|:\n")));
        if (!name.empty() && std::find(out.begin(), out.end(), name) == out.end()) out.push_back(name);
    }
    return out;
}

struct Record {
    Package package;
    std::string depends;

    std::string* textOf(std::string_view key) {
        if (key == "Package") return &package.name;
        if (key == "Version") return &package.version;
        if (key == "Section") return &package.section;
        if (key == "Description") return &package.description;
        return key == "Depends" ? &depends : nullptr;
    }
};

}  // namespace

std::vector<Package> readCatalogue(const std::string& path) {
    std::vector<Package> out;
    std::unordered_set<std::string> names;
    std::ifstream file(path);
    Record record;
    std::string* text = nullptr;  // of the field that a line may continue
    const auto finish = [&] {
        if (!record.package.name.empty() && names.insert(record.package.name).second) {
            record.package.targets = targetsOf(record.depends);
            out.push_back(std::move(record.package));
        }
        record = {};
    };
    for (std::string line; std::getline(file, line);) {
        if (line.empty()) {
            finish();
        } else if (line[0] == ' ') {
            if (text != nullptr) *text += line == " ." ? "\n" : "\n" + line.substr(1);
        } else if (const size_t colon = line.find(": "); colon != std::string::npos) {
            text = record.textOf(std::string_view(line).substr(0, colon));
            if (text != nullptr) *text = line.substr(colon + 2);
            if (line.starts_with("Installed-Size: ")) record.package.size = std::atoll(line.c_str() + 16);
        }
    }
    finish();
    return out;
}

}  // namespace compare
