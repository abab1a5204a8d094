#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "include/wdb.h"
#include "kernel/catalog/BaseDefinition.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Status.h"

namespace wdb {

// On whose behalf a definition is edited.
struct Actor {
    std::string user;  // as which he owns bases
    bool administrator = false;
    bool mayCreate = false;  // bases
    bool readOnly = false;
    bool owns(const BaseDefinition& base) const;
};

// The current base definition of a session: a copy of a stored one or a new one, edited field by field and
// stored as a whole. Texts are UTF-8. Every call answers as the function of the public interface that it
// serves.
class DefinitionEditor {
public:
    explicit DefinitionEditor(std::shared_ptr<SystemDirectory> directory)
        : directory_(std::move(directory)) {}

    // Looks a location up among the settings; nothing when there is none.
    using Locations = std::function<std::optional<std::string>(Slice name)>;
    // Turns the default text of a field into its stored form, and back.
    using ParseDefault = std::function<Result<std::string>(const FieldDefinition& field)>;
    using RenderDefault = std::function<std::string(const FieldDefinition& field)>;

    void clear() { current_.reset(); }
    bool any() const { return current_.has_value(); }

    Status getBaseDef(const Actor& actor, Slice name, WdbBaseDef* definition);
    // The caller has committed its open unit. Waits for the writer's lock at most so long.
    Status putBaseDef(const Actor& actor, const WdbBaseDef& definition, const Locations& locations,
                      std::chrono::milliseconds patience, int64_t now);
    // Drops the current definition's base. There is no current definition afterwards.
    Status deleteBaseDef(const Actor& actor, std::chrono::milliseconds patience);
    Status setBaseOwner(const Actor& actor, Slice name, Slice owner, std::chrono::milliseconds patience);
    Status getFieldSpec(WdbFieldSpec* field, const RenderDefault& render) const;
    Status getFieldSpec(int32_t number, WdbFieldSpec* field, const RenderDefault& render) const;
    Status putFieldSpec(const WdbFieldSpec& field);
    Status deleteFieldSpec(Slice name);
    Status putDefaultValue(const WdbFieldSpec& field, const ParseDefault& parse);
    Status setForeignKey(Slice column, Slice table, Slice referredColumn, int32_t updateAction,
                         int32_t deleteAction);
    Status deleteForeignKey(Slice column);

private:
    struct Current {
        BaseDefinition definition;            // its schema is the stored one; the edited fields are beside it
        std::vector<FieldDefinition> fields;  // by ascending number
        bool isNew = true;
    };
    FieldDefinition* findField(Slice name);
    const FieldDefinition* findField(Slice name) const;
    Status checkFlags(const FieldDefinition& field) const;
    // Also gives the rule the names as the referred base spells them.
    Status checkRule(ReferenceRule& rule) const;
    // Whether rules of other bases still find the keys that they refer to.
    Status checkReferrers(const BaseDefinition& next) const;
    // The definition that the current one and the base-level values of a record make.
    Result<BaseDefinition> assemble(const WdbBaseDef& record) const;
    Status createNew(BaseDefinition next, const Actor& actor, const Locations& locations,
                     const WriterHold& hold, int64_t now);
    Status changeStored(BaseDefinition next, const Actor& actor, const WriterHold& hold, int64_t now);

    std::shared_ptr<SystemDirectory> directory_;
    std::optional<Current> current_;
};

}  // namespace wdb
