#pragma once

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "kernel/record/RecordImage.h"
#include "kernel/rules/RuleContext.h"

namespace wdb {

// A record that changes or goes, before anything is written.
struct PlannedRecord {
    std::shared_ptr<OpenBase> base;
    std::shared_ptr<const BaseDefinition> definition;
    RecordNumber number = 0;     // 0: a new one
    std::string before;          // its stored image; empty for a new one
    RecordData* data = nullptr;  // what it becomes; null: it goes
    RecordData own;              // of those that actions have changed
    std::vector<std::string> keysBefore, keysAfter;
    std::set<std::tuple<FieldNumber, PartNumber, size_t>> moved;  // items that an action has set
    UnitBase* unit = nullptr;                                     // known when the plan holds

    bool goes() const { return data == nullptr; }
};

// Finds out what a put or a delete of one record means for the records that refer to it, for those that refer
// to these, and so on, and whether all of that may be. Nothing is written before the whole plan holds.
//
// An action changes an item once: when the value that it got goes as well, the reference stays and is found
// to lead nowhere, so that rules in a circle come to an end. RESTRICT and NO ACTION ask at the end whether a
// record still refers to a key that is gone, so that the order of the rules does not matter.
class ReferentialActions {
public:
    explicit ReferentialActions(RuleContext& context) : context_(&context) {}

    // Whether any rule concerns the base: without one there is nothing to plan.
    static Result<bool> concern(RuleContext& context, const BaseDefinition& definition);

    // The record that the caller puts or deletes, as PlannedRecord; its values and keys are checked and it is
    // written by the caller. `data` may get other values by rules that refer to the record itself.
    // WDB_E_NO_PARENT, WDB_E_REFERENCED, WDB_E_RIGHT, WDB_E_DUPLICATE, WDB_E_MANDATORY (of a record that an
    // action would change), storage errors.
    Status plan(UnitBase& unit, RecordNumber number, Slice before, RecordData* data,
                std::vector<std::string> keysBefore, std::vector<std::string> keysAfter);
    // Keys of the caller's record: as handed in, unless rules changed it.
    const std::vector<std::string>& keys() const { return records_.front().keysAfter; }
    // Writes the others: first the keys that nobody has any more, then, behind the caller's own write, the
    // rest.
    Status dropKeys();
    Status write();

private:
    // A record that refers to a key that goes, by a rule that forbids it.
    struct Restriction {
        std::shared_ptr<OpenBase> base;
        FieldNumber field;
        RecordNumber record;
        std::string value;
        std::shared_ptr<OpenBase> referred;
        std::string key;
    };
    // A value of a referred field that its record loses, and what stands in its place now.
    struct Vanished {
        std::string value;
        std::string successor;
    };

    PlannedRecord* find(BaseId base, RecordNumber number);
    Result<PlannedRecord*> planned(const std::shared_ptr<OpenBase>& base, RecordNumber number);
    static std::vector<Vanished> vanished(const PlannedRecord& record, const FieldDefinition& field);
    Status follow(PlannedRecord& record);
    Status act(const PlannedRecord& record, const Referrer& referrer, const FieldDefinition& referred,
               const Vanished& vanished);
    Status change(PlannedRecord& record, const FieldDefinition& field, Slice from, Slice to);
    Status remove(PlannedRecord& record);
    // The records whose field has the value, as the plan leaves them.
    Result<std::vector<RecordNumber>> referring(const std::shared_ptr<OpenBase>& base,
                                                const FieldDefinition& field, Slice value);
    Result<std::vector<RecordNumber>> storedReferring(const std::shared_ptr<OpenBase>& base,
                                                      const FieldDefinition& field, Slice value) const;
    // WDB_FAIL when no stored record has the key.
    Result<RecordNumber> storedHolder(const OpenBase& base, Slice key) const;
    // Whether a record has the key when the plan is done.
    Result<bool> keyExists(const OpenBase& base, const std::string& key);

    Status settle();
    Status settleChanged(const PlannedRecord& record);
    Status settleReferences(PlannedRecord& record);
    Status settleRestriction(const Restriction& restriction);

    RuleContext* context_;
    std::deque<PlannedRecord> records_;  // the caller's one first
    std::map<std::pair<BaseId, RecordNumber>, PlannedRecord*> byNumber_;
    std::deque<PlannedRecord*> toFollow_;
    std::vector<Restriction> restrictions_;
    std::unordered_multimap<std::string, PlannedRecord*> assigned_;  // by base and key: values set by actions
    std::unordered_set<std::string> keys_;                           // by base and key: of planned records
};

}  // namespace wdb
