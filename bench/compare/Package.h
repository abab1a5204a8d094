#pragma once

#include <string>
#include <vector>

namespace compare {

// One record of the collection. A tab and a line feed stand in no field but the description.
struct Package {
    std::string name;  // unique
    std::string version;
    std::string section;
    long long size = 0;
    std::string description;
    std::vector<std::string> targets;  // names of the packages that it depends on, each once
};

}  // namespace compare
