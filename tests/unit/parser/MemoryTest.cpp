// Every allocation of a parse is made to fail once, those of the generated scanner and parser included: the
// parse must end with its reason and give back all that it took. The linker turns malloc and its kin to the
// functions below.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "tests/tables/TableFile.h"
#include "tests/tables/TestContext.h"

namespace {

long liveBlocks = 0;
long allocationsLeft = -1;  // below 0: none fails

bool granted() {
    if (allocationsLeft == 0) return false;
    if (allocationsLeft > 0) --allocationsLeft;
    return true;
}

void* counted(void* block) {
    if (block != nullptr) ++liveBlocks;
    return block;
}

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size) {
    return granted() ? counted(__real_malloc(size)) : nullptr;
}
void* __wrap_calloc(size_t count, size_t size) {
    return granted() ? counted(__real_calloc(count, size)) : nullptr;
}
void* __wrap_realloc(void* block, size_t size) {
    if (!granted()) return nullptr;
    void* moved = __real_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}
void __wrap_free(void* block) {
    if (block != nullptr) --liveBlocks;
    __real_free(block);
}
}

void* operator new(std::size_t size) {
    void* block = __wrap_malloc(size != 0 ? size : 1);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void operator delete(void* block) noexcept {
    __wrap_free(block);
}
void operator delete[](void* block) noexcept {
    __wrap_free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    __wrap_free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    __wrap_free(block);
}

namespace wsql {
namespace {

struct Outcome {
    int result;
    long leaked;
    bool enough;  ///< the parse needed fewer allocations
};

/// Lets the n-th allocation and all behind it fail.
Outcome parseWithAllocations(TestContext& context, const std::string& sql, long allowed) {
    std::unique_ptr<WSQLStatement> statement;
    context.message.clear();
    const long before = liveBlocks;
    allocationsLeft = allowed;
    const int result = parseStatement(context, sql.c_str(), statement);
    const bool enough = allocationsLeft > 0;
    allocationsLeft = -1;
    EXPECT_EQ(result == ParseResult::kSuccess, statement != nullptr);
    statement.reset();
    return {result, liveBlocks - before, enough};
}

/// The reasons that a lack of memory may give.
bool isExhaustion(const Outcome& outcome, const std::string& message) {
    if (outcome.result == ParseResult::kExhausted) return message == "memory exhausted";
    return outcome.result == ParseResult::kError && message.rfind("out of dynamic memory in wsql", 0) == 0;
}

void failEveryAllocation(const std::string& sql) {
    SCOPED_TRACE(sql.substr(0, 200));
    constexpr long kMost = 600;
    TestContext context;
    context.message.reserve(4096);
    for (long allowed = 0; allowed < kMost; ++allowed) {
        const Outcome outcome = parseWithAllocations(context, sql, allowed);
        ASSERT_EQ(outcome.leaked, 0) << "allocation " << allowed;
        if (outcome.enough) return;
        // The last one granted may have been the last one needed.
        if (!isExhaustion(outcome, context.message)) {
            ASSERT_TRUE(parseWithAllocations(context, sql, allowed + 1).enough)
                << "allocation " << allowed << ": " << context.message;
        }
    }
    FAIL() << "more allocations than expected";
}

TEST(Memory, EveryFailedAllocationIsSurvived) {
    for (const char* name :
         {"sql/select_trees.tbl", "sql/condition_trees.tbl", "sql/statement_trees.tbl", "sql/faults.tbl"}) {
        for (const tables::Row& row : tables::read(name)) failEveryAllocation(tables::decoded(row.input));
    }
}

TEST(Memory, AGrowingParserStackIsSurvived) {
    const std::string open(900, '(');
    const std::string close(900, ')');
    failEveryAllocation("SELECT " + open + "1" + close);
    failEveryAllocation("SELECT a FROM t WHERE " + open + "a = DATE('x')" + close);
}

TEST(Memory, ExhaustionIsReportedByWhoMeetsIt) {
    struct Row {
        long allowed;
        int result;
        const char* message;
        const char* reason;
    };
    const Row rows[] = {
        {0, ParseResult::kError, "out of dynamic memory in wsql_scan_bytes()",
         "the scanner's copy of the text"},
        {1, ParseResult::kError, "out of dynamic memory in wsql_create_buffer()", "the scanner itself"},
        {2, ParseResult::kError, "out of dynamic memory in wsql_scan_buffer()", "its buffer's record"},
        {3, ParseResult::kError, "out of dynamic memory in wsqlensure_buffer_stack()",
         "its stack of buffers"},
        {4, ParseResult::kExhausted, "memory exhausted", "the first node"},
        {6, ParseResult::kExhausted, "memory exhausted", "a later one"},
    };
    for (const Row& row : rows) {
        TestContext context;
        context.message.reserve(64);
        const Outcome outcome = parseWithAllocations(context, "SELECT a, b FROM t WHERE c = 1", row.allowed);
        EXPECT_EQ(outcome.result, row.result) << row.reason;
        EXPECT_EQ(context.message, row.message) << row.reason;
    }
}

}  // namespace
}  // namespace wsql
