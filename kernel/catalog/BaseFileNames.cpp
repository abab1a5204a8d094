#include "kernel/catalog/BaseFileNames.h"

#include "kernel/catalog/FileSystem.h"

namespace wdb {

namespace {

// The file name that a base's "LOCATION:NAME.BAF" asks for, without its ending.
std::string fileStem(const BaseDefinition& definition) {
    const Slice given = definition.baseFile;
    const size_t colon = given.find(':');
    Slice stem = colon == Slice::npos ? given : given.substr(colon + 1);
    stem = stem.substr(0, stem.rfind('.'));
    return std::string(stem.empty() ? Slice(definition.name) : stem);
}

std::string indexFileName(const std::string& baseName, uint32_t generation, const char* ending) {
    return baseName.substr(0, baseName.rfind('.')) + "." + std::to_string(generation) + ending;
}

}  // namespace

void nameIndexFiles(BaseDefinition& definition) {
    definition.wordName = indexFileName(definition.baseName, definition.generation, ".BIF");
    definition.valueName = indexFileName(definition.baseName, definition.generation, ".VIF");
}

// A base may have been dropped, or its files copied here by hand: names that are in use are left alone.
void nameFiles(BaseDefinition& definition) {
    const std::string stem = fileStem(definition);
    for (uint32_t copy = 1;; ++copy) {
        definition.baseName = (copy == 1 ? stem : stem + "-" + std::to_string(copy)) + ".BAF";
        nameIndexFiles(definition);
        if (!file_system::exists(definition.basePath()) && !file_system::exists(definition.wordPath()) &&
            !file_system::exists(definition.valuePath())) {
            return;
        }
    }
}

std::vector<std::string> pathsOf(const BaseDefinition& definition) {
    return {definition.basePath(), definition.wordPath(), definition.valuePath()};
}

}  // namespace wdb
