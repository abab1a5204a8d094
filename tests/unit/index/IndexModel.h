#pragma once

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "kernel/index/BulkIndexBuilder.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/index/IndexView.h"
#include "kernel/index/Merger.h"
#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/text/Analyzer.h"

namespace wdb::test {

inline FieldDefinition fieldOf(FieldNumber number, FieldType type) {
    FieldDefinition field;
    field.number = number;
    field.name = "F" + std::to_string(number);
    field.type = type;
    return field;
}

// A directory that goes with its owner.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "welk-index-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

inline RecordView viewOf(const std::string& image) {
    return *RecordView::validate(image);
}

// The items of a field over head and parts.
inline std::vector<std::string> itemsOf(const RecordView& record, FieldNumber field) {
    std::vector<std::string> out;
    for (PartNumber part = 0; part <= record.partCount(); ++part) {
        for (const Slice item : record.items(part, field)) out.emplace_back(item);
    }
    return out;
}

// One base without its storage: every state of every record, and index files at positions of their own.
class ModelBase : public RecordSource {
public:
    struct Change {
        RecordNumber record;
        std::string before;  // images; empty: not there
        std::string after;
    };
    using State = std::map<RecordNumber, std::string>;

    explicit ModelBase(std::shared_ptr<const Schema> schema) : schema_(std::move(schema)) {
        delta_ = std::make_shared<Delta>(schema_, 0);
        publish([&](const std::string& words, const std::string& values) {
            return createIndexFiles(words, values);
        });
    }

    const std::shared_ptr<const Schema>& schema() const { return schema_; }
    Position position() const { return changes_.size(); }
    Position wordPosition() const { return wordPosition_; }
    Position valuePosition() const { return valuePosition_; }

    State stateAt(Position position) const {
        State state;
        for (Position i = 0; i < position; ++i) {
            if (changes_[i].after.empty())
                state.erase(changes_[i].record);
            else
                state[changes_[i].record] = changes_[i].after;
        }
        return state;
    }
    const State& state() const { return state_; }

    // Stores or, with an empty image, deletes a record, as a commit of its own.
    void change(RecordNumber record, const std::string& image) {
        note(record, image);
        Delta::Appender appender = delta_->append();
        if (image.empty())
            ASSERT_EQ(appender.add(position(), record, nullptr), WDB_OK);
        else {
            const RecordView view = viewOf(image);
            ASSERT_EQ(appender.add(position(), record, &view), WDB_OK);
        }
        appender.advance(position());
    }

    // A unit of several changes that is seen by its session first and committed (folded) or dropped later.
    void unitChange(RecordNumber record, const std::string& image) {
        if (!unit_) unit_.emplace(schema_);
        pending_.push_back({record, {}, image});
        if (image.empty())
            ASSERT_EQ(unit_->add(position() + pending_.size(), record, nullptr), WDB_OK);
        else {
            const RecordView view = viewOf(image);
            ASSERT_EQ(unit_->add(position() + pending_.size(), record, &view), WDB_OK);
        }
    }
    void endUnit(bool commit) {
        if (!unit_) return;
        if (commit) {
            for (const Change& change : pending_) note(change.record, change.after);
            ASSERT_EQ(delta_->append().fold(*unit_), WDB_OK);
            ASSERT_EQ(delta_->caughtUpTo(), position());
        }
        unit_.reset();
        pending_.clear();
    }
    bool hasUnit() const { return unit_.has_value(); }
    State unitState() const {
        State state = state_;
        for (const Change& change : pending_) {
            if (change.after.empty())
                state.erase(change.record);
            else
                state[change.record] = change.after;
        }
        return state;
    }

    void mergeWordsTo(Position to) { merge(words_, wordPosition_, to, mergeWords); }
    void mergeValuesTo(Position to) { merge(values_, valuePosition_, to, mergeValues); }

    // A new generation of the delta, without what both files have.
    void trimDelta() {
        delta_ = delta_->successor(std::min(wordPosition_, valuePosition_));
        ASSERT_EQ(delta_->caughtUpTo(), position());
    }

    void rebuild(size_t memoryLimit) {
        publish([&](const std::string& words, const std::string& values) {
            BulkIndexOptions options;
            options.memoryLimit = memoryLimit;
            options.spillDirectory = std::filesystem::temp_directory_path().string();
            BulkIndexBuilder builder(schema_, options);
            for (const auto& [record, image] : state_) {
                const Status added = builder.add(record, viewOf(image));
                if (!ok(added)) return added;
            }
            return builder.write(words, values, position());
        });
        wordPosition_ = valuePosition_ = position();
    }

    struct Snapshot {
        ReadTxn words;
        ReadTxn values;
        IndexSources sources;
        IndexView view() const { return IndexView(sources); }
    };
    // At a position not below those of the files.
    std::unique_ptr<Snapshot> snapshot(Position at, bool withUnit) {
        auto snapshot = std::make_unique<Snapshot>();
        snapshot->words = std::move(*words_->read());
        snapshot->values = std::move(*values_->read());
        seen_ = withUnit ? unitState() : stateAt(at);
        IndexSources& sources = snapshot->sources;
        sources.schema = schema_;
        sources.words = &snapshot->words;
        sources.wordPosition = readWordMeta(snapshot->words)->position;
        sources.values = &snapshot->values;
        sources.valuePosition = readValueMeta(snapshot->values)->position;
        sources.delta = delta_;
        sources.position = at;
        sources.unit = withUnit && unit_ ? &*unit_ : nullptr;
        sources.records = this;
        sources.ranks = &ranks_;
        return snapshot;
    }
    // What the latest snapshot sees.
    const State& seen() const { return seen_; }

    Result<RecordView> record(RecordNumber number) override {
        const auto found = seen_.find(number);
        if (found == seen_.end()) return Status{WDB_E_DELETED};
        return RecordView::validate(found->second);
    }

    const std::shared_ptr<Environment>& words() const { return words_; }
    const std::shared_ptr<Environment>& values() const { return values_; }

private:
    void note(RecordNumber record, const std::string& image) {
        changes_.push_back({record, state_.contains(record) ? state_[record] : std::string(), image});
        if (image.empty())
            state_.erase(record);
        else
            state_[record] = image;
    }

    template <typename Merge>
    void merge(const std::shared_ptr<Environment>& file, Position& from, Position to, Merge mergeInto) {
        std::map<RecordNumber, IndexChange> changes;
        for (Position i = from; i < to; ++i) {
            const Change& change = changes_[i];
            const auto [at, isNew] = changes.try_emplace(change.record);
            at->second.record = change.record;
            if (isNew && !change.before.empty()) at->second.before = viewOf(change.before);
            at->second.after.reset();
            if (!change.after.empty()) at->second.after = viewOf(change.after);
        }
        std::vector<IndexChange> list;
        for (auto change = changes.rbegin(); change != changes.rend(); ++change)
            list.push_back(change->second);
        Result<WriteTxn> txn = file->write();
        ASSERT_TRUE(txn);
        ASSERT_EQ(mergeInto(*txn, *schema_, list, to), WDB_OK);
        ASSERT_EQ(txn->commit(), WDB_OK);
        from = to;
    }

    template <typename Make>
    void publish(Make&& make) {
        const std::string name = std::to_string(++generation_);
        const std::string words = directory_.file("w" + name);
        const std::string values = directory_.file("v" + name);
        ASSERT_EQ(make(words, values), WDB_OK);
        words_ = *Environment::open(words, wordFileTables(), {});
        values_ = *Environment::open(values, valueFileTables(), {});
        ranks_.clear();
    }

    TemporaryDirectory directory_;
    std::shared_ptr<const Schema> schema_;
    std::vector<Change> changes_;  // change i has position i + 1
    State state_;
    State seen_;
    std::shared_ptr<Delta> delta_;
    std::optional<UnitDelta> unit_;
    std::vector<Change> pending_;
    std::shared_ptr<Environment> words_;
    std::shared_ptr<Environment> values_;
    Position wordPosition_ = 0;
    Position valuePosition_ = 0;
    RankCache ranks_;
    int generation_ = 0;
};

}  // namespace wdb::test
