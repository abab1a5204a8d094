// Every allocation of a call fails in turn, alone or with all behind it: the call answers, the record keeps
// its rules, nothing stays behind.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

namespace {

// What the two allocators of the engine are told, and how much of it they have out.
struct Allocations {
    long granted = 0;      // so many before one fails
    bool onwards = false;  // all behind it fail as well
    long live = 0;
    bool watched = false;

    bool refuse() {
        if (!watched) return false;
        --granted;
        return granted == -1 || (onwards && granted < 0);
    }
};
Allocations allocations;

void* allocate(std::size_t size) {
    if (allocations.refuse()) throw std::bad_alloc();
    void* block = std::malloc(size > 0 ? size : 1);
    if (block == nullptr) throw std::bad_alloc();
    if (allocations.watched) ++allocations.live;
    return block;
}

void release(void* block) noexcept {
    if (block != nullptr && allocations.watched) --allocations.live;
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void operator delete(void* block) noexcept {
    release(block);
}
void operator delete[](void* block) noexcept {
    release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    release(block);
}

extern "C" {
// The process heap of the engine, by way of the linker.
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return allocations.refuse() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* block, std::size_t size) {
    return allocations.refuse() ? nullptr : __real_realloc(block, size);
}
}

namespace {

using Export = std::int32_t (*)(FilterData*, void*);

struct Case {
    Export function;
    const char* text;
    const char* reason;
    std::int32_t kernelStatus = WDB_OK;  // of commands and of restoring the search state
};

const Case kCases[] = {
    {execsql, "COMMIT", "a call that does nothing"},
    {execsql, "GET PROPERTY selecttext", "a property document"},
    {execsql, "SET PROPERTY loglevel = 3", "a value that is stored"},
    {execsql, "GET PROPERTY colour", "a fault"},
    {execsql, "ALTER TABLE T ADD COLUMN C INTEGER", "a statement without executor"},
    {execsql,
     "SELECT A, B + 1, 'x' FROM T WHERE A = 1 AND (B LIKE 'x%' OR NOT C IN (SELECT D FROM U)) ORDER BY 2",
     "a tree of many nodes over a table missing"},
    {execsql,
     "SELECT A, B + 1, 'x' FROM T WHERE A = 1 AND (B LIKE 'x%' OR NOT C IN (SELECT D FROM U)) ORDER BY )",
     "half a tree"},
    {execsql,
     "CREATE TABLE T (A VARCHAR(10) PRIMARY KEY, B INTEGER, FOREIGN KEY (B) REFERENCES U (C)) WITH (x=1)",
     "half a definition"},
    {execsql, "UPDATE ART SET QTY = 5", "a kernel that neither searches nor restores", WDB_E_STORAGE},
    {sqlgetencoding, "", "no statement at all"},
    {sqlgetobject, "OTHER=1\n", "an argument missing"},
    {sqlsetobject, "TABLE=NONE\nCOLUMNNAME=A\nRID=1\n", "a table missing"},
    {sqlsetobject, "TABLE=ART\nCOLUMNNAME=QTY\nRID=1\n", "a column that does not fit"},
    {sqlsetobject, "TABLE=ART\nCOLUMNID=1\nRID=0\n", "a record missing"},
    {sqlgettabledesc, "TABLENAME=a\"b'c`\n", "a name that cannot be quoted"},
};

void prepareKernel() {
    fakeKernel() = FakeKernel();
    fakeKernel().tables["ART"] = {{"BODY", 1, WDB_T_TEXT, 0}, {"QTY", 3, WDB_T_INTEGER, 0}};
    fakeKernel().settings["WELKSQL_LOG"] = "0";
}

// Runs the call with its n-th allocation refused, and those behind it if so wanted; false when it needed
// fewer.
bool runWithout(const Case& row, long n, bool onwards) {
    prepareKernel();
    fakeKernel().loadStatus = fakeKernel().cclStatus = row.kernelStatus;
    Request request(row.text);
    // What the kernel itself keeps is there already.
    fakeKernel().settings["SQL_SELECTTEXT"] = "1";
    allocations = {n, onwards, 0, true};
    const std::int32_t status = row.function(&request.data, nullptr);
    const bool refused = allocations.granted < 0;
    std::vector<std::string>().swap(fakeKernel().commands);  // the fake's own
    allocations.watched = false;
    const FilterData& data = request.data;
    EXPECT_EQ(status, data.status) << row.reason << ", allocation " << n;
    EXPECT_EQ(allocations.live, 0) << row.reason << ", allocation " << n;
    EXPECT_EQ(fakeKernel().saves, fakeKernel().loads) << row.reason << ", allocation " << n;
    EXPECT_TRUE(status % 2 != 0 || data.message[0] != '\0' || row.function == sqlgettabledesc)
        << row.reason << ", allocation " << n;
    if (data.output != nullptr) {
        EXPECT_EQ(std::strlen(data.output), static_cast<std::size_t>(data.outputLength)) << row.reason;
        EXPECT_EQ(request.document().find("<Fault ") == std::string::npos, status % 2 != 0)
            << row.reason << ", allocation " << n;
    } else {
        EXPECT_EQ(status % 2, 0) << row.reason << ", allocation " << n;
    }
    return refused;
}

TEST(Memory, RunsOutAtEveryPlaceOfACall) {
    for (const Case& row : kCases) {
        prepareKernel();
        Request warm(row.text);  // what is kept for the thread is there
        row.function(&warm.data, nullptr);
        for (const bool onwards : {false, true}) {
            long n = 0;
            while (runWithout(row, n, onwards) && n < 5000 && !testing::Test::HasFailure()) ++n;
            EXPECT_GT(n, 0) << row.reason << ": nothing was refused";
            EXPECT_LT(n, 5000) << row.reason;
        }
    }
}

}  // namespace
