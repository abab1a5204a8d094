#include "bench/compare/Query.h"

#include <fstream>
#include <sstream>

namespace compare {

std::vector<Query> readQueries(const std::string& path, const QueryKind& kind) {
    std::vector<Query> out;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string field;
        if (!std::getline(fields, field, '\t') || field != kind.key) continue;
        Query query{kind.kind, {}};
        while (std::getline(fields, field, '\t')) query.arguments.push_back(field);
        out.push_back(std::move(query));
    }
    return out;
}

}  // namespace compare
