#include "kernel/catalog/IndexFiles.h"

#include "kernel/index/IndexFormat.h"

namespace wdb {

Result<std::shared_ptr<const IndexFiles>> IndexFiles::open(const BaseDefinition& definition, bool readOnly) {
    EnvironmentOptions options;
    options.readOnly = readOnly;
    auto words = Environment::open(definition.wordPath(), wordFileTables(), options);
    if (!words) return words.status();
    auto values = Environment::open(definition.valuePath(), valueFileTables(), options);
    if (!values) return values.status();
    return std::make_shared<const IndexFiles>(IndexFiles{std::move(*words), std::move(*values)});
}

}  // namespace wdb
