#include "kernel/session/ControlList.h"

#include <algorithm>

namespace wdb {

namespace {

constexpr FieldNumber kOwnerField = 4;
constexpr FieldNumber kNameField = 44;
constexpr FieldNumber kRecordsField = 45;
constexpr FieldNumber kCommentField = 46;

FieldDefinition phrase(FieldNumber number, const char* name) {
    FieldDefinition field;
    field.number = number;
    field.name = name;
    return field;
}

// What the entries' fields are; never changed once made.
std::shared_ptr<const BaseDefinition> listDefinition() {
    static const std::shared_ptr<const BaseDefinition> kDefinition = [] {
        auto definition = std::make_shared<BaseDefinition>();
        definition->schema = std::make_shared<const Schema>(
            std::vector<FieldDefinition>{phrase(kOwnerField, "OWNER"), phrase(kNameField, "NAME"),
                                         phrase(kRecordsField, "RECORDS"), phrase(kCommentField, "COMMENT")});
        definition->highestField = kCommentField;
        return definition;
    }();
    return kDefinition;
}

}  // namespace

void ControlList::open(Bases bases, uint64_t first, uint64_t last) {
    const size_t begin = std::min<size_t>(first == 0 ? 0 : first - 1, bases.size());
    const size_t end = last == 0 ? bases.size() : std::clamp<size_t>(last, begin, bases.size());
    bases.resize(end);
    bases.erase(bases.begin(), bases.begin() + static_cast<ptrdiff_t>(begin));
    state_ = {std::make_shared<const Bases>(std::move(bases)), 0};
}

std::shared_ptr<const BaseDefinition> ControlList::next() {
    if (state_.bases == nullptr || state_.next >= state_.bases->size()) return nullptr;
    return (*state_.bases)[state_.next++];
}

void fillListEntry(RecordControl& control, const BaseDefinition& base, std::string records) {
    control.definition = listDefinition();
    control.listed = true;
    control.record.makeNew();
    const auto set = [&](FieldNumber field, std::string value) {
        if (!value.empty()) control.record.change(0, field).items = {std::move(value)};
    };
    set(kOwnerField, base.owner);
    set(kNameField, base.name);
    set(kRecordsField, std::move(records));
    set(kCommentField, base.comment);
}

}  // namespace wdb
