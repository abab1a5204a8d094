#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "kernel/catalog/SessionUnit.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/jobs/IndexJob.h"
#include "kernel/record/Value.h"
#include "kernel/search/Search.h"
#include "kernel/search/SearchContext.h"

namespace wdb {

// A home directory of its own with bases that a test fills, and a session's view of it.
class SearchFixture : public testing::Test, public SearchContext {
protected:
    using Items = std::vector<std::string>;
    using Record = std::map<std::string, Items>;  // field name to texts; "" is a gap

    void SetUp() override {
        char path[] = "/tmp/welk-search-XXXXXX";
        ASSERT_NE(mkdtemp(path), nullptr);
        home_ = path;
        DirectoryOptions options;
        options.create = true;
        options.owner = "OWNER";
        auto opened = SystemDirectory::open(home_, options);
        ASSERT_TRUE(opened) << opened.status();
        directory_ = *opened;
    }
    void TearDown() override {
        search.restore({});
        snapshots_.clear();
        directory_.reset();
        std::filesystem::remove_all(home_);
    }

    void create(const std::string& name, const std::vector<std::pair<std::string, FieldType>>& fields) {
        BaseDefinition definition;
        definition.name = name;
        definition.owner = "OWNER";
        definition.directory = home_ + "/bases";
        std::filesystem::create_directories(definition.directory);
        std::vector<FieldDefinition> list;
        for (const auto& [fieldName, type] : fields) {
            FieldDefinition& field = list.emplace_back();
            field.number = static_cast<FieldNumber>(list.size());
            field.name = fieldName;
            field.type = type;
            field.indexed = true;
            field.part = fieldName.starts_with("PART");
        }
        definition.highestField = static_cast<FieldNumber>(list.size());
        definition.schema = std::make_shared<const Schema>(std::move(list));
        auto hold = directory_->acquireWriter(std::chrono::seconds(5));
        ASSERT_TRUE(hold);
        ASSERT_EQ(directory_->createBase(definition, ++now_, *hold), WDB_OK);
    }

    // (Fields whose names begin with PART lie in parts.) Stores records in one unit; they get the next
    // numbers.
    void put(const std::string& name, const std::vector<Record>& records) {
        withUnit(name, [&](UnitBase& base) {
            for (const Record& record : records) {
                auto number = base.writer->newRecord();
                ASSERT_TRUE(number);
                ASSERT_EQ(base.put(*number, image(base, record)), WDB_OK);
            }
        });
    }
    // Stores records with parts.
    void putParts(const std::string& name,
                  const std::vector<std::pair<Record, std::vector<Record>>>& records) {
        withUnit(name, [&](UnitBase& base) {
            for (const auto& [head, parts] : records) {
                auto number = base.writer->newRecord();
                ASSERT_TRUE(number);
                ASSERT_EQ(base.put(*number, image(base, head, parts)), WDB_OK);
            }
        });
    }
    void replace(const std::string& name, RecordNumber number, const Record& record) {
        withUnit(name, [&](UnitBase& base) { ASSERT_EQ(base.put(number, image(base, record)), WDB_OK); });
    }
    // Moves all changes into the index files.
    void merge(const std::string& name) {
        snapshots_.clear();
        auto hold = directory_->acquireWriter(std::chrono::seconds(5));
        ASSERT_TRUE(hold);
        auto base = directory_->find(name);
        ASSERT_TRUE(base);
        ASSERT_EQ(mergeQueue(*directory_, *base, *hold), WDB_OK);
    }
    void remove(const std::string& name, RecordNumber number) {
        withUnit(name, [&](UnitBase& base) { ASSERT_EQ(base.remove(number), WDB_OK); });
    }

    // The rows of the current result: items of a column separated by ";", columns by "|", rows by " ". NULL
    // is "-".
    std::string rows(int32_t set = 0) {
        std::string result;
        RowItems row;
        for (int32_t i = 0;; ++i) {
            const Status status = search.fetchRow(set, i, row);
            if (status == WDB_FAIL) return result;
            if (!result.empty()) result += ' ';
            result += status == WDB_OK ? print(row) : "#" + std::to_string(status);
            if (status != WDB_OK && status != WDB_E_DELETED) return result;
        }
    }
    // The records of the current result.
    std::string records(int32_t set = 0) {
        std::string result;
        FoundRecord found;
        for (int32_t i = 1; search.recordAt(set, i, found) == WDB_OK; ++i) {
            if (i > 1) result += ' ';
            result += std::to_string(found.record);
        }
        return result;
    }
    // The records that a condition finds, or "#status".
    std::string find(const std::string& condition) {
        const Status status = search.execute("FIN " + condition);
        return status == WDB_OK ? records() : "#" + std::to_string(status);
    }
    // The rows that a selection gives, or "#status".
    std::string select(const std::string& command) {
        const Status status = search.execute(command);
        return status == WDB_OK ? rows() : "#" + std::to_string(status);
    }
    static std::string print(const RowItems& row) {
        std::string result;
        size_t start = 0;
        for (uint32_t i = 0; i < row.words[0]; ++i) {
            const uint32_t length = row.words[2 + 2 * i], flags = row.words[3 + 2 * i];
            if (i > 0) result += (flags & 8u) != 0 ? '|' : ';';
            result += (flags & 2u) != 0 ? "-" : row.data.substr(start, length);
            start += length + ((flags & 128u) != 0 ? 1 : 0);
        }
        return result;
    }

    // --- SearchContext ---
    Result<std::shared_ptr<OpenBase>> findBase(Slice name) override { return directory_->find(name); }
    bool mayRead(const BaseDefinition& base, FieldNumber field) override {
        const FieldDefinition* definition = base.schema->find(field);
        return definition != nullptr && definition->name != "SECRET";
    }
    Result<const BaseSnapshot*> snapshot(const std::shared_ptr<OpenBase>& base) override {
        auto at = snapshots_.find(base->id());
        if (at == snapshots_.end()) {
            auto taken = base->snapshot();
            if (!taken) return taken.status();
            at = snapshots_.emplace(base->id(), std::move(*taken)).first;
        }
        return &at->second;
    }
    bool snapshotsStay() const override { return stay_; }
    bool textsInline() const override { return textsInline_; }
    bool objectsInline() const override { return objectsInline_; }
    const ccl::CommandWords& commandWords() const override { return words_; }
    DateForm dateForm() const override { return {}; }
    DayNumber today() const override { return dayNumber(2024, 6, 1); }
    Analyzer& analyzer() override { return analyzer_; }

    template <typename Work>
    void withUnit(const std::string& name, Work&& work) {
        snapshots_.clear();
        auto hold = directory_->acquireWriter(std::chrono::seconds(5));
        ASSERT_TRUE(hold);
        SessionUnit unit(std::move(*hold));
        auto base = directory_->find(name);
        ASSERT_TRUE(base) << base.status();
        auto joined = unit.base(*base);
        ASSERT_TRUE(joined) << joined.status();
        work(**joined);
        ASSERT_EQ(unit.commit(++now_), WDB_OK);
    }
    std::string image(const UnitBase& base, const Record& record, const std::vector<Record>& parts = {}) {
        RecordData data;
        fill(base, record, data.head);
        for (const Record& part : parts) fill(base, part, data.parts.emplace_back());
        data.trim();
        auto bytes = encodeRecord(data, base.writer->commitNumber());
        EXPECT_TRUE(bytes);
        return *bytes;
    }
    void fill(const UnitBase& base, const Record& record, FieldsData& fields) {
        for (const auto& [name, items] : record) {
            const FieldDefinition* field = base.definition->schema->find(name);
            if (field == nullptr) {
                ADD_FAILURE() << "no field " << name;
                continue;
            }
            for (const std::string& text : items) {
                std::string value = text;
                if (holdsItems(field->type)) {
                    auto parsed = parseValue(field->type, text, {}, today());
                    EXPECT_TRUE(parsed) << name << '=' << text;
                    value = *parsed;
                }
                fields.at(field->number).items.push_back(value);
            }
        }
    }
    // Takes the current state at the next call.
    void renew() { snapshots_.clear(); }

    std::string home_;
    std::shared_ptr<SystemDirectory> directory_;
    std::map<BaseId, BaseSnapshot> snapshots_;
    ccl::CommandWords words_;
    Analyzer analyzer_;
    bool stay_ = true;
    bool textsInline_ = false;
    bool objectsInline_ = false;
    int64_t now_ = 1700000000000000;
    Search search{*this};
};

}  // namespace wdb
