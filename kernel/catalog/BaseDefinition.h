#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/record/Schema.h"

namespace wdb {

// A referential rule of a base: the values of a field must exist as keys of another base.
struct ReferenceRule {
    FieldNumber field = 0;
    std::string table;  // the referred base and its field, in the spelling given
    std::string column;
    int32_t updateAction = 1;  // WDB_ACT_...
    int32_t deleteAction = 1;
    bool operator==(const ReferenceRule&) const = default;
};

// Everything that the catalogue knows about a base. Immutable once published: it is handed around as
// shared_ptr<const BaseDefinition>, and a change makes a new one.
struct BaseDefinition {
    BaseId id = 0;
    std::string name;      // the spelling given at creation
    std::string baseFile;  // "LOCATION:NAME.BAF" as given at creation, likewise below
    std::string indexFile;
    std::string valueFile;
    std::string comment;
    int32_t active = 1;
    std::string charset;
    int32_t charsetFlag = 0;
    std::string owner;
    FieldNumber uniqueKey = 0;     // its values are unique; 0 for none
    FieldNumber highestField = 0;  // highest number ever given out
    std::shared_ptr<const Schema> schema;
    std::vector<ReferenceRule> rules;  // by field number

    // Where the three files are: a directory and the names in it. The word and the value file get new names
    // when they are built anew.
    std::string directory;
    std::string baseName;
    std::string wordName;
    std::string valueName;
    uint32_t generation = 1;  // of the index files
    uint64_t version = 0;     // moves with every change of the definition

    std::string basePath() const { return directory + "/" + baseName; }
    std::string wordPath() const { return directory + "/" + wordName; }
    std::string valuePath() const { return directory + "/" + valueName; }
};

// The stored form (docs/formats/system-directory.md). Decoding checks every length: WDB_E_CORRUPT.
std::string encodeDefinition(const BaseDefinition& definition);
Result<BaseDefinition> decodeDefinition(Slice bytes);

}  // namespace wdb
