#include "kernel/rules/ReferentialActions.h"

#include <algorithm>

#include "kernel/catalog/OpenBase.h"
#include "kernel/common/ByteOrder.h"
#include "kernel/index/Delta.h"
#include "kernel/record/ValueKey.h"
#include "kernel/rules/RecordContents.h"
#include "kernel/rules/UniqueKeys.h"

namespace wdb {

namespace {

std::string inBase(BaseId base, Slice key) {
    std::string name;
    appendBig(name, base);
    return name.append(key);
}

bool holds(const std::vector<std::string>& sorted, const std::string& key) {
    return std::ranges::binary_search(sorted, key);
}

bool refers(RecordData& record, const FieldDefinition& field, Slice value) {
    bool found = false;
    forEachItem(record, field.number, [&](PartNumber, size_t, const std::string& item) {
        found = found || (!item.empty() && compareValues(field.type, item, value) == 0);
    });
    return found;
}

}  // namespace

Result<bool> ReferentialActions::concern(RuleContext& context, const BaseDefinition& definition) {
    if (!definition.rules.empty()) return true;
    const auto referrers = context.referrers(definition.name);
    if (!referrers) return referrers.status();
    return !referrers->empty();
}

PlannedRecord* ReferentialActions::find(BaseId base, RecordNumber number) {
    const auto place = byNumber_.find({base, number});
    return place == byNumber_.end() ? nullptr : place->second;
}

Status ReferentialActions::plan(UnitBase& unit, RecordNumber number, Slice before, RecordData* data,
                                std::vector<std::string> keysBefore, std::vector<std::string> keysAfter) {
    PlannedRecord& root = records_.emplace_back();
    root.base = unit.base;
    root.definition = unit.definition;
    root.number = number;
    root.before = before;
    root.data = data;
    root.keysBefore = std::move(keysBefore);
    root.keysAfter = std::move(keysAfter);
    if (number != 0) byNumber_[{unit.base->id(), number}] = &root;
    if (!before.empty()) toFollow_.push_back(&root);
    while (!toFollow_.empty()) {
        PlannedRecord& next = *toFollow_.front();
        toFollow_.pop_front();
        WDB_TRY(follow(next));
    }
    return settle();
}

// The record as it is stored, taken into the plan.
Result<PlannedRecord*> ReferentialActions::planned(const std::shared_ptr<OpenBase>& base,
                                                   RecordNumber number) {
    if (PlannedRecord* present = find(base->id(), number)) return present;
    PlannedRecord& record = records_.emplace_back();
    record.base = base;
    record.definition = base->definition();
    record.number = number;
    const auto take = [&](const BaseReader& reader) -> Status {
        const auto view = storedRecord(reader, number);
        if (!view) return view.status();
        record.before = view->image();
        record.keysBefore = record.keysAfter = keysOf(*record.definition, *view);
        record.own = RecordData::from(*view);
        record.data = &record.own;
        return WDB_OK;
    };
    if (const UnitBase* unit = context_->joined(*base)) {
        WDB_TRY(take(*unit->writer));
    } else {
        const auto txn = base->file()->read();
        if (!txn) return txn.status();
        WDB_TRY(take(BaseReader(*txn)));
    }
    byNumber_[{base->id(), number}] = &record;
    return &record;
}

std::vector<ReferentialActions::Vanished> ReferentialActions::vanished(const PlannedRecord& record,
                                                                       const FieldDefinition& field) {
    std::vector<Vanished> gone;
    const RecordView before = RecordView::trusted(record.before);
    for (PartNumber part = 0; part <= before.partCount(); ++part) {
        size_t place = 0;
        for (const Slice item : before.items(part, field.number)) {
            const size_t at = place++;
            if (item.empty() || holds(record.keysAfter, keyOf(field, item))) continue;
            Vanished value{std::string(item), {}};
            const FieldsData* fields = record.goes() ? nullptr : record.data->fields(part);
            const FieldValues* now = fields == nullptr ? nullptr : fields->find(field.number);
            if (now != nullptr && at < now->items.size()) value.successor = now->items[at];
            gone.push_back(std::move(value));
        }
    }
    return gone;
}

Status ReferentialActions::follow(PlannedRecord& record) {
    const auto referrers = context_->referrers(record.definition->name);
    if (!referrers) return referrers.status();
    for (const Referrer& referrer : *referrers) {
        const FieldDefinition* referred = record.definition->schema->find(Slice(referrer.rule.column));
        if (referred == nullptr) continue;
        for (const Vanished& value : vanished(record, *referred))
            WDB_TRY(act(record, referrer, *referred, value));
    }
    return WDB_OK;
}

Status ReferentialActions::act(const PlannedRecord& record, const Referrer& referrer,
                               const FieldDefinition& referred, const Vanished& vanished) {
    const auto base = context_->find(referrer.base->name);
    if (!base) return base.status();
    const auto definition = (*base)->definition();
    const FieldDefinition* field = definition->schema->find(referrer.rule.field);
    if (field == nullptr) return WDB_OK;
    const int32_t action = record.goes() ? referrer.rule.deleteAction : referrer.rule.updateAction;
    const auto numbers = referring(*base, *field, vanished.value);
    if (!numbers) return numbers.status();
    const bool forbids = action == WDB_ACT_RESTRICT || action == WDB_ACT_NO_ACTION;
    for (const RecordNumber number : *numbers) {
        if (forbids) {
            restrictions_.push_back(
                {*base, field->number, number, vanished.value, record.base, keyOf(referred, vanished.value)});
            continue;
        }
        const auto other = planned(*base, number);
        if (!other) return other.status();
        if (action != WDB_ACT_CASCADE)
            WDB_TRY(change(**other, *field, vanished.value,
                           action == WDB_ACT_SET_DEFAULT ? Slice(field->defaultValue) : Slice()));
        else if (record.goes())
            WDB_TRY(remove(**other));
        else
            WDB_TRY(change(**other, *field, vanished.value, vanished.successor));
    }
    return WDB_OK;
}

Status ReferentialActions::change(PlannedRecord& record, const FieldDefinition& field, Slice from, Slice to) {
    if (!context_->mayChange(*record.definition, field.number)) return WDB_E_RIGHT;
    bool any = false;
    forEachItem(*record.data, field.number, [&](PartNumber part, size_t place, std::string& item) {
        if (item.empty() || compareValues(field.type, item, from) != 0) return;
        if (!record.moved.emplace(field.number, part, place).second) return;
        item = to;
        any = true;
    });
    if (!any) return WDB_OK;
    record.data->trim();
    record.keysAfter = keysOf(*record.definition, *record.data);
    if (!to.empty()) assigned_.emplace(inBase(record.base->id(), keyOf(field, to)), &record);
    toFollow_.push_back(&record);
    return WDB_OK;
}

Status ReferentialActions::remove(PlannedRecord& record) {
    if (!context_->mayChange(*record.definition, 0)) return WDB_E_RIGHT;
    record.data = nullptr;
    record.keysAfter.clear();
    toFollow_.push_back(&record);
    return WDB_OK;
}

Result<std::vector<RecordNumber>> ReferentialActions::referring(const std::shared_ptr<OpenBase>& base,
                                                                const FieldDefinition& field, Slice value) {
    auto numbers = storedReferring(base, field, value);
    if (!numbers) return numbers;
    std::erase_if(*numbers, [&](RecordNumber number) {
        const PlannedRecord* record = find(base->id(), number);
        return record != nullptr && (record->goes() || !refers(*record->data, field, value));
    });
    const auto add = [&](PlannedRecord& record) {
        if (record.goes() || !refers(*record.data, field, value)) return;
        if (std::ranges::find(*numbers, record.number) == numbers->end()) numbers->push_back(record.number);
    };
    if (records_.front().base == base) add(records_.front());
    const auto [first, last] = assigned_.equal_range(inBase(base->id(), keyOf(field, value)));
    for (auto place = first; place != last; ++place) add(*place->second);
    return numbers;
}

Result<std::vector<RecordNumber>> ReferentialActions::storedReferring(const std::shared_ptr<OpenBase>& base,
                                                                      const FieldDefinition& field,
                                                                      Slice value) const {
    std::vector<RecordNumber> numbers;
    UnitBase* unit = context_->joined(*base);
    if (unit != nullptr && unit->delta == nullptr) {  // a load: what it has written is in no index yet
        const Status walked = unit->writer->forEachRecord(1, [&](RecordNumber number, Slice image) -> Status {
            const auto view = RecordView::validate(image);
            if (!view) return view.status();
            RecordData data = RecordData::from(*view);
            if (refers(data, field, value)) numbers.push_back(number);
            return WDB_OK;
        });
        if (!ok(walked)) return walked;
        return numbers;
    }
    const auto snapshot = base->snapshot(unit);
    if (!snapshot) return snapshot.status();
    IndexView index = snapshot->index();
    const auto set = index.equal(field.number, value);
    if (!set) return set.status();
    set->forEach([&](RecordNumber number) { numbers.push_back(number); });
    return numbers;
}

Result<RecordNumber> ReferentialActions::storedHolder(const OpenBase& base, Slice key) const {
    if (const UnitBase* unit = context_->joined(base)) return unit->writer->findKey(key);
    const auto txn = base.file()->read();
    if (!txn) return txn.status();
    return BaseReader(*txn).findKey(key);
}

Result<bool> ReferentialActions::keyExists(const OpenBase& base, const std::string& key) {
    if (keys_.contains(inBase(base.id(), key))) return true;
    const auto holder = storedHolder(base, key);
    if (!holder) return holder.status() == WDB_FAIL ? Result<bool>(false) : Result<bool>(holder.status());
    return find(base.id(), *holder) == nullptr;  // a planned record that kept it would have been found above
}

Status ReferentialActions::settle() {
    for (const PlannedRecord& record : records_) {
        for (const std::string& key : record.keysAfter) {
            if (!keys_.insert(inBase(record.base->id(), key)).second) return WDB_E_DUPLICATE;
        }
    }
    for (PlannedRecord& record : records_) {
        if (record.goes()) continue;
        if (&record != &records_.front()) WDB_TRY(settleChanged(record));
        WDB_TRY(settleReferences(record));
    }
    for (const Restriction& restriction : restrictions_) WDB_TRY(settleRestriction(restriction));
    for (PlannedRecord& record : records_) {
        if (&record == &records_.front()) continue;
        const auto unit = context_->join(record.base);
        if (!unit) return unit.status();
        record.unit = *unit;
    }
    return WDB_OK;
}

Status ReferentialActions::settleChanged(const PlannedRecord& record) {
    for (const auto& [number, part, place] : record.moved) {
        const FieldDefinition* field = record.definition->schema->find(number);
        if (field != nullptr && field->mandatory && !hasValue(*record.data, number)) return WDB_E_MANDATORY;
    }
    for (const std::string& key : record.keysAfter) {
        if (holds(record.keysBefore, key)) continue;
        const auto holder = storedHolder(*record.base, key);
        if (!holder && holder.status() != WDB_FAIL) return holder.status();
        if (holder && find(record.base->id(), *holder) == nullptr) return WDB_E_DUPLICATE;
    }
    return WDB_OK;
}

// Of a record that an action has changed, only what it has changed.
Status ReferentialActions::settleReferences(PlannedRecord& record) {
    const bool all = &record == &records_.front();
    for (const ReferenceRule& rule : record.definition->rules) {
        const auto moved = [&](const auto& item) { return std::get<0>(item) == rule.field; };
        if (!all && std::ranges::none_of(record.moved, moved)) continue;
        if (!hasValue(*record.data, rule.field)) continue;
        const auto base = context_->find(rule.table);
        if (!base) return base.status() == WDB_E_BASE ? WDB_E_NO_PARENT : base.status();
        const auto definition = (*base)->definition();
        const FieldDefinition* referred = definition->schema->find(Slice(rule.column));
        if (referred == nullptr) return WDB_E_NO_PARENT;
        Status status = WDB_OK;
        forEachItem(*record.data, rule.field, [&](PartNumber, size_t, const std::string& item) {
            if (!ok(status) || item.empty()) return;
            const auto exists = keyExists(**base, keyOf(*referred, item));
            if (!exists || !*exists) status = exists ? WDB_E_NO_PARENT : exists.status();
        });
        WDB_TRY(status);
    }
    return WDB_OK;
}

Status ReferentialActions::settleRestriction(const Restriction& restriction) {
    if (PlannedRecord* record = find(restriction.base->id(), restriction.record)) {
        const auto definition = restriction.base->definition();
        const FieldDefinition* field = definition->schema->find(restriction.field);
        if (record->goes() || field == nullptr || !refers(*record->data, *field, restriction.value))
            return WDB_OK;
    }
    const auto exists = keyExists(*restriction.referred, restriction.key);
    if (!exists) return exists.status();
    return *exists ? WDB_OK : WDB_E_REFERENCED;
}

Status ReferentialActions::dropKeys() {
    for (const PlannedRecord& record : records_) {
        if (record.unit == nullptr) continue;
        for (const std::string& key : record.keysBefore) {
            if (!holds(record.keysAfter, key)) WDB_TRY(record.unit->writer->dropKey(key));
        }
    }
    return WDB_OK;
}

Status ReferentialActions::write() {
    for (const PlannedRecord& record : records_) {
        if (record.unit == nullptr) continue;
        BaseWriter& writer = *record.unit->writer;
        const Schema& schema = *record.definition->schema;
        if (record.goes()) {
            for (const ObjectReference& object : objectsOf(schema, RecordView::trusted(record.before)))
                WDB_TRY(writer.dropObject(object.id));
            WDB_TRY(record.unit->remove(record.number));
            continue;
        }
        for (const std::string& key : record.keysAfter) {
            if (!holds(record.keysBefore, key)) WDB_TRY(writer.setKey(key, record.number));
        }
        noteSerial(writer, schema, *record.data);
        const auto image = encodeRecord(*record.data, writer.commitNumber());
        if (!image) return image.status();
        WDB_TRY(record.unit->put(record.number, *image));
    }
    return WDB_OK;
}

}  // namespace wdb
