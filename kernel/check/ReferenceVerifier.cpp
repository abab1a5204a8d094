#include "kernel/check/ReferenceVerifier.h"

#include <vector>

#include "kernel/rules/UniqueKeys.h"

namespace wdb {

namespace {

struct Missing {
    RecordNumber record;
    std::string text;
};

// The values of one rule that are no keys of the referred base.
Status findMissing(const BaseSnapshot& referring, const FieldDefinition& field, const BaseSnapshot* referred,
                   const ReferenceRule& rule, std::vector<Missing>& missing) {
    const FieldDefinition* key = referred == nullptr ? nullptr : referred->schema().find(Slice(rule.column));
    const auto check = [&](RecordNumber number, Slice image) -> Status {
        const auto view = RecordView::validate(image);
        if (!view) return WDB_OK;  // a finding of its own
        for (PartNumber part = 0; part <= view->partCount(); ++part) {
            for (const Slice item : view->items(part, field.number)) {
                if (item.empty()) continue;
                const auto holder = key == nullptr ? Result<RecordNumber>(WDB_FAIL)
                                                   : referred->reader().findKey(keyOf(*key, item));
                if (holder) continue;
                if (holder.status() != WDB_FAIL) return holder.status();
                missing.push_back({number, "A value of field " + field.name + " is no " + rule.column +
                                               " of database " + rule.table + "."});
            }
        }
        return WDB_OK;
    };
    return referring.reader().forEachRecord(1, check);
}

Result<std::vector<Missing>> look(const std::shared_ptr<OpenBase>& base, const ReferenceCheck& check,
                                  const WriterHold* hold) {
    std::vector<Missing> missing;
    const auto definition = base->definition();
    for (const ReferenceRule& rule : definition->rules) {
        const FieldDefinition* field = definition->schema->find(rule.field);
        if (field == nullptr) continue;
        const auto other = check.directory.find(rule.table, hold);
        if (!other && other.status() != WDB_E_BASE) return other.status();
        // The referred base after the referring one: a key that was there for a record still is, unless
        // somebody works on both.
        const auto mine = check.snapshot(base);
        if (!mine) return mine.status();
        BaseSnapshot theirs;
        if (other) {
            auto taken = check.snapshot(*other);
            if (!taken) return taken.status();
            theirs = std::move(*taken);
        }
        WDB_TRY(findMissing(*mine, *field, theirs.live() ? &theirs : nullptr, rule, missing));
    }
    return missing;
}

}  // namespace

Status verifyReferences(const std::shared_ptr<OpenBase>& base, const ReferenceCheck& check,
                        const VerifyOptions& options, const FindingSink& report) {
    auto missing = look(base, check, nullptr);
    if (!missing) return missing.status();
    if (!missing->empty() && !check.holdsLock) {
        const auto hold = check.directory.acquireWriter(check.patience);
        if (!hold) return hold.status();
        missing = look(base, check, &*hold);
        if (!missing) return missing.status();
    }
    for (const Missing& finding : *missing) {
        const bool goOn = !report || report(Severity::Damage, finding.record, finding.text);
        if (!goOn || options.stopAtFirst) break;
    }
    return missing->empty() ? WDB_OK : WDB_E_CORRUPT;
}

}  // namespace wdb
