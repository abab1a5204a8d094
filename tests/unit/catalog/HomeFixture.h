#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "kernel/catalog/DefinitionEditor.h"
#include "kernel/catalog/SessionUnit.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {

inline constexpr std::chrono::milliseconds kPatience{5000};

inline WdbFieldSpec fieldSpec(const char* name, const char* type) {
    WdbFieldSpec spec{};
    std::snprintf(spec.name, sizeof spec.name, "%s", name);
    std::snprintf(spec.typeName, sizeof spec.typeName, "%s", type);
    spec.indexed = 1;
    return spec;
}

// The base-level values that a caller of CREATE TABLE gives.
inline void nameFiles(WdbBaseDef& def, const std::string& location = "WELKSQL$BASES") {
    const std::string stem = location + ":" + def.name;
    std::snprintf(def.baseFile, sizeof def.baseFile, "%s.BAF", stem.c_str());
    std::snprintf(def.indexFile, sizeof def.indexFile, "%s.BIF", stem.c_str());
    std::snprintf(def.valueFile, sizeof def.valueFile, "%s.VIF", stem.c_str());
}

// A home directory, opened by its owner.
class Home {
public:
    explicit Home(std::string path, bool create = true) : path_(std::move(path)) {
        DirectoryOptions options;
        options.create = create;
        options.owner = "owner";
        auto opened = SystemDirectory::open(path_, options);
        if (opened) directory_ = *opened;
    }
    SystemDirectory& operator*() const { return *directory_; }
    SystemDirectory* operator->() const { return directory_.get(); }
    const std::shared_ptr<SystemDirectory>& shared() const { return directory_; }
    const std::string& path() const { return path_; }
    void close() { directory_.reset(); }

    static Actor owner() { return {"owner", true, true, false}; }
    DefinitionEditor editor() const { return DefinitionEditor(directory_); }
    DefinitionEditor::Locations locations() const {
        return [this](Slice name) { return directory_->setting(name); };
    }
    // NAME (unique PHRASE), NOTE (TEXT), COUNT (INTEGER).
    Status createBase(const char* name) const {
        DefinitionEditor edit = editor();
        WdbBaseDef def{};
        WDB_TRY(edit.getBaseDef(owner(), name, &def));
        nameFiles(def);
        std::snprintf(def.uniqueKey, sizeof def.uniqueKey, "NAME");
        WDB_TRY(edit.putFieldSpec(fieldSpec("NAME", "PHRASE")));
        WDB_TRY(edit.putFieldSpec(fieldSpec("NOTE", "TEXT")));
        WDB_TRY(edit.putFieldSpec(fieldSpec("COUNT", "INTEGER")));
        return edit.putBaseDef(owner(), def, locations(), kPatience, 1000);
    }
    WriterHold lock() const {
        auto hold = directory_->acquireWriter(kPatience);
        EXPECT_TRUE(hold);
        return hold ? std::move(*hold) : WriterHold();
    }

private:
    std::string path_;
    std::shared_ptr<SystemDirectory> directory_;
};

inline std::string rowImage(const std::string& name, const std::string& note, int64_t count,
                            uint64_t commit) {
    RecordData record;
    record.head.at(1).items = {name};
    record.head.at(2).items = {note};
    record.head.at(3).items = {encodeInteger(count)};
    record.trim();
    auto image = encodeRecord(record, commit);
    return image ? *image : std::string();
}

// Stores a row through a unit as the rules do, key included; 0 as number makes a new record.
inline Result<RecordNumber> putRow(UnitBase& unit, RecordNumber number, const std::string& name,
                                   const std::string& note, int64_t count = 1) {
    if (number == 0) {
        auto made = unit.writer->newRecord();
        if (!made) return made.status();
        number = *made;
    } else {
        const auto view = unit.writer->record(number);
        if (!view) return view.status();
        const ValueKey key = valueKey(FieldType::Phrase, view->items(1).first());
        WDB_TRY(unit.writer->dropKey(uniqueKey(1, key.bytes, key.cut, {})));
    }
    const ValueKey key = valueKey(FieldType::Phrase, name);
    WDB_TRY(unit.writer->setKey(uniqueKey(1, key.bytes, key.cut, {}), number));
    WDB_TRY(unit.put(number, rowImage(name, note, count, unit.writer->commitNumber())));
    return number;
}

// One row in a unit of its own.
inline Result<RecordNumber> putRow(const Home& home, const std::shared_ptr<OpenBase>& base,
                                   RecordNumber number, const std::string& name, const std::string& note,
                                   int64_t count = 1) {
    SessionUnit unit(home.lock());
    auto joined = unit.base(base);
    if (!joined) return joined.status();
    auto stored = putRow(**joined, number, name, note, count);
    if (stored) WDB_TRY(unit.commit(2000));
    return stored;
}

inline Status removeRow(const Home& home, const std::shared_ptr<OpenBase>& base, RecordNumber number,
                        const std::string& name) {
    SessionUnit unit(home.lock());
    auto joined = unit.base(base);
    if (!joined) return joined.status();
    const ValueKey key = valueKey(FieldType::Phrase, name);
    WDB_TRY((*joined)->writer->dropKey(uniqueKey(1, key.bytes, key.cut, {})));
    WDB_TRY((*joined)->remove(number));
    return unit.commit(2000);
}

inline std::vector<RecordNumber> toVector(const Result<RecordSet>& set) {
    std::vector<RecordNumber> numbers;
    EXPECT_TRUE(set) << set.status();
    if (set) set->forEach([&](RecordNumber number) { numbers.push_back(number); });
    return numbers;
}

// The records whose NOTE has a word, as a new snapshot sees it.
inline std::vector<RecordNumber> findWord(OpenBase& base, const std::string& word, UnitBase* unit = nullptr) {
    const auto snapshot = base.snapshot(unit);
    EXPECT_TRUE(snapshot) << snapshot.status();
    if (!snapshot) return {};
    IndexView index = snapshot->index();
    return toVector(index.word(2, Pattern(word)));
}

}  // namespace wdb
