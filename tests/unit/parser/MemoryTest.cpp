// Every allocation of a parse is made to fail once: the parse must end as exhausted and give back all it
// took.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "tests/tables/TableFile.h"
#include "tests/tables/TestContext.h"

namespace {

long liveBlocks = 0;
long allocationsLeft = -1;  // below 0: none fails

void* allocate(std::size_t size) {
    if (allocationsLeft == 0) throw std::bad_alloc();
    if (allocationsLeft > 0) --allocationsLeft;
    void* block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr) throw std::bad_alloc();
    ++liveBlocks;
    return block;
}

void release(void* block) noexcept {
    if (block == nullptr) return;
    --liveBlocks;
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

namespace wsql {
namespace {

/// Lets the n-th allocation and all behind it fail. True when the parse needed fewer.
bool parseWithAllocations(TestContext& context, const std::string& sql, long allowed, long& leaked) {
    std::unique_ptr<WSQLStatement> statement;
    const long before = liveBlocks;
    allocationsLeft = allowed;
    const int result = parseStatement(context, sql.c_str(), statement);
    const bool enough = allocationsLeft > 0;
    allocationsLeft = -1;
    EXPECT_EQ(result == ParseResult::kSuccess, statement != nullptr);
    statement.reset();
    leaked = liveBlocks - before;
    return enough;
}

TEST(Memory, EveryFailedAllocationIsSurvived) {
    constexpr long kMost = 400;
    for (const char* name :
         {"sql/select_trees.tbl", "sql/condition_trees.tbl", "sql/statement_trees.tbl", "sql/faults.tbl"}) {
        for (const tables::Row& row : tables::read(name)) {
            const std::string sql = tables::decoded(row.input);
            TestContext context;
            context.message.reserve(4096);
            for (long allowed = 0; allowed < kMost; ++allowed) {
                long leaked = 0;
                const bool enough = parseWithAllocations(context, sql, allowed, leaked);
                ASSERT_EQ(leaked, 0) << "allocation " << allowed << " of " << sql;
                if (enough) break;
                ASSERT_LT(allowed + 1, kMost) << "more allocations than expected: " << sql;
            }
        }
    }
}

TEST(Memory, ExhaustionIsReportedAsSuch) {
    TestContext context;
    context.message.reserve(64);
    std::unique_ptr<WSQLStatement> statement;
    allocationsLeft = 2;
    const int result = parseStatement(context, "SELECT a, b FROM t WHERE c = 1", statement);
    allocationsLeft = -1;
    EXPECT_EQ(result, ParseResult::kExhausted);
    EXPECT_EQ(context.message, "memory exhausted");
}

}  // namespace
}  // namespace wsql
