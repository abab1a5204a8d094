#include "kernel/check/BaseVerifier.h"

#include <algorithm>

#include "kernel/catalog/OpenBase.h"
#include "kernel/check/ExpectedIndex.h"
#include "kernel/common/ByteOrder.h"
#include "kernel/index/IndexCheck.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/index/IndexView.h"
#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/rules/UniqueKeys.h"

namespace wdb {
namespace {

// Ends the check: the caller wants no more findings.
constexpr Status kStopped = WDB_FAIL;

class Verifier {
public:
    Verifier(const BaseSnapshot& snapshot, const VerifyOptions& options, const FindingSink& report)
        : snapshot_(snapshot), options_(options), report_(report), reader_(snapshot.reader()) {}

    Status run() {
        if (options_.progress != nullptr)
            options_.progress->begin(snapshot_.liveCount() *
                                     (options_.skipIndex ? 1 : 1 + snapshot_.schema().fields().size()));
        Status status = records();
        if (ok(status)) status = keys();
        if (ok(status) && !options_.skipIndex) status = indexes();
        if (!ok(status) && (ended_ || status != kStopped)) return status;
        return sound_ ? WDB_OK : WDB_E_CORRUPT;
    }

private:
    Status advance(uint64_t steps, bool slowly) {
        if (options_.progress == nullptr) return WDB_OK;
        const Status status =
            slowly ? options_.progress->advanceSlowly(steps) : options_.progress->advance(steps);
        ended_ = ended_ || !ok(status);
        return status;
    }

    Status find(Severity severity, RecordNumber record, const std::string& text) {
        if (severity != Severity::Note) sound_ = false;
        const bool goOn = !report_ || report_(severity, record, text);
        return goOn && !options_.stopAtFirst ? WDB_OK : kStopped;
    }

    Status records() {
        uint64_t count = 0;
        const auto check = [&](RecordNumber number, Slice image) -> Status {
            ++count;
            live_.push_back(number);
            WDB_TRY(advance(1, false));
            const Result<RecordView> view = RecordView::validate(image);
            if (!view) return find(Severity::Damage, number, "The record does not decode.");
            for (PartNumber part = 0; part <= view->partCount(); ++part) {
                WDB_TRY(fields(number, part == 0 ? view->head() : view->part(part)));
            }
            return recordKeys(number, *view);
        };
        WDB_TRY(reader_.forEachRecord(1, check));
        if (count == snapshot_.liveCount()) return WDB_OK;
        return find(Severity::Damage, 0,
                    "The base counts " + std::to_string(snapshot_.liveCount()) + " records and has " +
                        std::to_string(count) + ".");
    }

    Status fields(RecordNumber number, const FieldsView& view) {
        for (size_t place = 0; place < view.size(); ++place) {
            const FieldDefinition* field = snapshot_.schema().find(view.field(place));
            if (field == nullptr) {
                // Of a deleted field, when its values could not be taken out any more.
                const bool known = view.field(place) <= snapshot_.definition().highestField;
                WDB_TRY(find(known ? Severity::Note : Severity::Damage, number,
                             "A value of the unknown field " + std::to_string(view.field(place)) + "."));
                continue;
            }
            for (const Slice item : view.itemsAt(place)) {
                if (item.empty()) continue;
                if (!isCanonical(field->type, item)) {
                    WDB_TRY(find(Severity::Damage, number,
                                 "A value of field " + field->name + " does not fit its type."));
                } else if (field->type == FieldType::String) {
                    WDB_TRY(object(number, *field, item));
                }
            }
        }
        return WDB_OK;
    }

    // All of it is there and, unless it is older than checksums are, as it was stored.
    Status object(RecordNumber number, const FieldDefinition& field, Slice item) {
        const Result<ObjectReference> reference = ObjectReference::decode(item);
        if (!reference) return reference.status();
        const Result<Slice> sums = reader_.objectSums(reference->id);
        if (!sums && sums.status() != WDB_FAIL) return sums.status();
        bool whole = !sums || sums->size() == uint64_t{reference->chunks()} * sizeof(uint32_t);
        for (uint32_t chunk = 0; whole && chunk < reference->chunks(); ++chunk) {
            const Result<Slice> bytes = reader_.objectChunk(reference->id, chunk);
            if (!bytes && bytes.status() != WDB_FAIL) return bytes.status();
            const uint64_t begin = uint64_t{chunk} * reference->chunkSize;
            whole =
                bytes && bytes->size() == std::min<uint64_t>(reference->chunkSize, reference->size - begin) &&
                (!sums || loadLittle<uint32_t>(sums->data() + chunk * sizeof(uint32_t)) == objectSum(*bytes));
        }
        if (whole) return WDB_OK;
        return find(Severity::Damage, number,
                    "The object of field " + field.name + " is not what was stored.");
    }

    Status recordKeys(RecordNumber number, const RecordView& view) {
        for (const std::string& key : keysOf(snapshot_.definition(), view)) {
            ++keyCount_;
            const Result<RecordNumber> owner = reader_.findKey(key);
            if (!owner && owner.status() != WDB_FAIL) return owner.status();
            if (!owner || *owner != number)
                WDB_TRY(find(Severity::Damage, number, "A unique key does not lead to its record."));
        }
        return WDB_OK;
    }

    Status keys() {
        uint64_t stored = 0, unused = 0;
        WDB_TRY(reader_.forEachKey([&](Slice key, RecordNumber) -> Status {
            const FieldDefinition* field =
                key.size() < 2 ? nullptr : snapshot_.schema().find(loadBig<uint16_t>(key.data()));
            ++(field != nullptr && isUniqueField(snapshot_.definition(), *field) ? stored : unused);
            return WDB_OK;
        }));
        if (unused != 0) {
            WDB_TRY(find(Severity::Note, 0,
                         std::to_string(unused) + " keys are stored of fields that are not unique."));
        }
        if (stored == keyCount_) return WDB_OK;
        return find(Severity::Damage, 0,
                    std::to_string(stored) + " unique keys are stored, the records have " +
                        std::to_string(keyCount_) + ".");
    }

    Status indexFile(Status (*check)(const Txn&, std::string&), const Txn& file, const char* name,
                     bool& damaged) {
        std::string reason;
        const Status status = check(file, reason);
        if (status != WDB_E_CORRUPT) return status;
        damaged = true;
        return find(Severity::Repairable, 0, std::string(name) + ": " + reason + ".");
    }

    // Each file by itself first: what has no checksum that fits is not asked what it means.
    Status indexes() {
        bool damaged = false;
        WDB_TRY(indexFile(checkWordFile, snapshot_.words(), "The word index", damaged));
        WDB_TRY(indexFile(checkValueFile, snapshot_.values(), "The value index", damaged));
        if (damaged) return WDB_OK;
        IndexView index = snapshot_.index();
        WDB_TRY(sameSet(index.live(), live_, "The set of live records"));
        for (const FieldDefinition& field : snapshot_.schema().fields()) {
            Result<ExpectedIndex> expected = ExpectedIndex::of(reader_, field);
            if (!expected) return expected.status();
            WDB_TRY(fieldIndex(index, field, *expected));
            WDB_TRY(advance(live_.size(), true));
        }
        return WDB_OK;
    }

    Status fieldIndex(IndexView& index, const FieldDefinition& field, ExpectedIndex& expected) {
        const std::string of = " of field " + field.name;
        WDB_TRY(sameSet(index.present(field.number), expected.present, "The set of values" + of));
        if (field.type == FieldType::String) return WDB_OK;
        if (holdsItems(field.type))
            WDB_TRY(sameSet(index.multi(field.number), expected.multi, "The set of lists" + of));
        std::string term;
        uint64_t count = 0;
        Status status = index.nextTerm(field.number, term, count);
        for (; ok(status); status = index.nextTerm(field.number, term, count)) {
            const auto place = expected.terms.find(term);
            if (place == expected.terms.end()) {
                WDB_TRY(
                    find(Severity::Repairable, 0, "A term" + of + " is in the index that no record has."));
                continue;
            }
            place->second.seen = true;
            if (count != place->second.records.size()) {
                WDB_TRY(find(Severity::Repairable, 0,
                             "A term" + of + " has a wrong number of records in the index."));
            }
            WDB_TRY(termRecords(index, field, place->first, place->second));
        }
        if (status != WDB_FAIL) return status;
        for (const auto& [missing, records] : expected.terms) {
            if (records.seen) continue;
            WDB_TRY(
                find(Severity::Repairable, records.records.front(), "A term" + of + " is not in the index."));
        }
        return WDB_OK;
    }

    // Cut terms stand for several values; their number of records has been compared.
    Status termRecords(IndexView& index, const FieldDefinition& field, const std::string& term,
                       const ExpectedTerm& expected) {
        const std::string what = "The index of field " + field.name;
        if (field.type == FieldType::Text) {
            return term.size() < kMaxTerm
                       ? sameSet(index.word(field.number, Pattern(term)), expected.records, what)
                       : WDB_OK;
        }
        return term.size() < kMaxValueKey
                   ? sameSet(index.equal(field.number, expected.sample), expected.records, what)
                   : WDB_OK;
    }

    Status sameSet(const Result<RecordSet>& set, const std::vector<RecordNumber>& expected,
                   const std::string& what) {
        if (!set) {
            if (set.status() != WDB_E_CORRUPT) return set.status();
            return find(Severity::Repairable, 0, what + " does not decode.");
        }
        if (const std::string wrong = set->validate(); !wrong.empty()) {
            return find(Severity::Repairable, 0, what + ": " + wrong + ".");
        }
        const RecordSet wanted = RecordSet::of(expected);
        if (*set == wanted) return WDB_OK;
        const RecordSet extra = RecordSet::difference(*set, wanted);
        if (!extra.empty())
            return find(Severity::Repairable, extra.first(), what + " has a record too many.");
        return find(Severity::Repairable, RecordSet::difference(wanted, *set).first(),
                    what + " lacks a record.");
    }

    const BaseSnapshot& snapshot_;
    const VerifyOptions options_;
    const FindingSink& report_;
    const BaseReader reader_;
    std::vector<RecordNumber> live_;
    uint64_t keyCount_ = 0;
    bool sound_ = true;
    bool ended_ = false;  // by the progress function
};

}  // namespace

Status verifyFiles(OpenBase& base, const VerifyOptions& options, const FindingSink& report,
                   bool& indexDamaged) {
    indexDamaged = false;
    std::string reason;
    const Status records = base.file()->environment().checkPages(reason);
    if (records == WDB_E_CORRUPT && report) report(Severity::Damage, 0, "The base file: " + reason + ".");
    if (!ok(records) || options.skipIndex) return records;
    const auto files = base.indexFiles();
    if (files == nullptr) return WDB_E_CORRUPT;
    for (const auto& [file, name] :
         {std::pair(files->words, "The word index: "), std::pair(files->values, "The value index: ")}) {
        const Status status = file->checkPages(reason);
        if (ok(status)) continue;
        if (status != WDB_E_CORRUPT) return status;
        indexDamaged = true;
        if (report && !report(Severity::Repairable, 0, name + reason + ".")) return WDB_OK;
    }
    return WDB_OK;
}

Status verifyBase(const BaseSnapshot& snapshot, const VerifyOptions& options, const FindingSink& report) {
    return Verifier(snapshot, options, report).run();
}

}  // namespace wdb
