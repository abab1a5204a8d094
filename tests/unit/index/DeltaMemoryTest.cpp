// Memory that runs out in the middle of a change leaves the changes before it as they were, and the change
// can be tried again.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <new>
#include <set>

#include "kernel/index/DeltaEntries.h"
#include "tests/unit/index/IndexModel.h"

namespace {

// Allocations of this program that still succeed; negative: all of them.
long allocationsLeft = -1;

void* allocate(std::size_t size) {
    if (allocationsLeft == 0) throw std::bad_alloc();
    if (allocationsLeft > 0) --allocationsLeft;
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace wdb::test {
namespace {

std::shared_ptr<const Schema> memorySchema() {
    return std::make_shared<const Schema>(std::vector<FieldDefinition>{
        fieldOf(1, FieldType::Text), fieldOf(2, FieldType::Phrase), fieldOf(3, FieldType::Integer)});
}

std::string imageOf(unsigned seed) {
    RecordData data;
    std::string text;
    for (unsigned i = 0; i < 12; ++i)
        text += "word" + std::to_string(seed * 7 % 40 + i * 3) + (i == 6 ? "\n\n" : " ");
    data.head.at(1).items = {text};
    data.head.at(2).items = {"name " + std::to_string(seed), "second"};
    data.head.at(3).items = {encodeInteger(seed % 5)};
    return *encodeRecord(data, 1);
}

using Seen = std::map<std::string, std::set<RecordNumber>>;

// Every key with the records in which a view sees it, found by walking the keys in their order.
Seen seenIn(const DeltaEntries& entries) {
    Seen seen;
    const Position upTo = entries.lastPosition();
    const auto note = [&](const std::string& key, uint32_t number) {
        const DeltaEntries::Entry& entry = entries.entry(number);
        if (entries.visible(entry, 0, upTo)) seen[key].insert(entry.record);
    };
    for (const bool words : {true, false}) {
        const DeltaEntries::Dictionary& keys = words ? entries.words() : entries.values();
        keys.forPrefix({}, [&](uint32_t number) {
            const std::string key = (words ? "w" : "v") + std::string(keys.key(number));
            for (const uint32_t tag : keys.entries(number)) note(key, words ? tag : tag / 2);
        });
    }
    for (const FieldNumber field : {1, 2, 3}) {
        for (const uint32_t number : entries.present(field)) note("present " + std::to_string(field), number);
        for (const uint32_t number : entries.multi(field)) note("multi " + std::to_string(field), number);
    }
    entries.touched(0, upTo).forEach([&](RecordNumber record) { seen["touched"].insert(record); });
    return seen;
}

TEST(DeltaMemory, AChangeThatFailsLeavesNothing) {
    DeltaEntries entries(memorySchema());
    DeltaEntries control(memorySchema());
    Position position = 0;
    long failures = 0;
    for (unsigned change = 1; change <= 70; ++change) {
        const RecordNumber record = 1 + change * 5 % 23;
        const std::string image = imageOf(change);
        const RecordView view = viewOf(image);
        const bool deletes = change % 9 == 0;
        ++position;
        control.add(position, record, deletes ? nullptr : &view);
        const Seen before = seenIn(entries);
        for (long left = 0;; ++left) {
            allocationsLeft = left;
            bool done = true;
            try {
                entries.add(position, record, deletes ? nullptr : &view);
            } catch (const std::bad_alloc&) {
                done = false;
            }
            allocationsLeft = -1;
            if (done) break;
            ++failures;
            ASSERT_EQ(seenIn(entries), before) << "change " << change << ", allocation " << left;
        }
        ASSERT_EQ(seenIn(entries), seenIn(control)) << "change " << change;
    }
    EXPECT_GT(failures, 100) << "the test is about failures";
}

// The same for taking over what another delta holds.
TEST(DeltaMemory, TakingOverCanBeTriedAgain) {
    DeltaEntries source(memorySchema());
    for (unsigned change = 1; change <= 12; ++change) {
        const std::string image = imageOf(change);
        const RecordView view = viewOf(image);
        source.add(change, 1 + change % 7, &view);
    }
    const Seen expected = seenIn(source);
    bool done = false;
    for (long left = 0; !done; ++left) {
        DeltaEntries target(memorySchema());
        done = true;
        allocationsLeft = left;
        try {
            target.addAll(source, 0);
        } catch (const std::bad_alloc&) {
            done = false;
        }
        allocationsLeft = -1;
        target.addAll(source, target.lastPosition());
        ASSERT_EQ(seenIn(target), expected) << "allocation " << left;
    }
}

}  // namespace
}  // namespace wdb::test
