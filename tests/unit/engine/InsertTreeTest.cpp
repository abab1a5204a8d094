// Statement trees that no text can make, and the faults that only they reach.
#include <gtest/gtest.h>

#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "tests/unit/engine/Articles.h"

namespace {

constexpr const char* kChecked = "SQLFilter::ValidateInsert";
constexpr const char* kQuery = "SQLFilter::ValidateLiteralSelect";

/// A filter over a record of its own, whose answer can be looked at.
class InsertTree : public testing::Test {
protected:
    InsertTree() : request("none"), filter(&request.data) {
        loadArticles();
        fakeKernel().tables["ODD"] = {{"A", 1, WDB_T_INTEGER, kPlainFlags}, {"Z", 2, 77, kPlainFlags}};
    }

    /// INSERT INTO table VALUES (...), the values being whole numbers; -1 stands for a missing node.
    static std::unique_ptr<wsql::WSQLStmtInsert> insertion(const char* table,
                                                           const std::vector<std::int32_t>& values) {
        auto insert = std::make_unique<wsql::WSQLStmtInsert>();
        if (table != nullptr) insert->table = std::make_unique<wsql::WSQLTableRef>(table);
        insert->values = std::make_unique<wsql::NodeList<wsql::WSQLScalar>>();
        for (const std::int32_t value : values) {
            insert->values->append(value < 0 ? nullptr : std::make_unique<wsql::WSQLInt>(value));
        }
        return insert;
    }

    static std::unique_ptr<wsql::WSQLStmtSelect> query(const std::vector<const char*>& columns) {
        auto select = std::make_unique<wsql::WSQLStmtSelect>();
        select->tables->append(std::make_unique<wsql::WSQLTableRef>("U"));
        for (const char* column : columns) select->addItem(std::make_unique<wsql::WSQLColumnRef>(column));
        return select;
    }

    std::string fault(const char* code, const char* source, const char* context,
                      const std::string& text) const {
        return faultDocument(code, source, context, text);
    }

    Request request;
    wsql::WSQLFilter filter;
};

}  // namespace

TEST_F(InsertTree, WithoutATable) {
    const std::string text = "Internal error - table reference was NULL.";
    const auto insert = insertion(nullptr, {1});
    EXPECT_FALSE(filter.ValidateInsert(insert.get()));
    EXPECT_EQ(request.document(), fault("1", "validation", kChecked, text));
    EXPECT_FALSE(filter.ExecuteInsert(insert.get()));
    EXPECT_EQ(request.document(), fault("0", "SQLFilter::ExecuteInsert", "execution", text));
}

TEST_F(InsertTree, WithoutAValue) {
    const auto insert = insertion("ODD", {1, -1});
    EXPECT_FALSE(filter.ValidateInsert(insert.get()));
    EXPECT_EQ(request.document(),
              fault("1", "validation", kChecked, "Internal error: NULL pointer to value for column 2."));
    const auto first = insertion("ODD", {-1, 1});
    filter.LoadFields(first->table.get());
    EXPECT_FALSE(filter.ExecuteInsert(first.get()));
    EXPECT_EQ(request.document(), fault("0", "SQLFilter::ExecuteInsert", "execution",
                                        "Internal error: NULL pointer for column 1."));
}

TEST_F(InsertTree, AFieldOfAnUnknownType) {
    const auto insert = insertion("ODD", {1, 2});
    EXPECT_FALSE(filter.ValidateInsert(insert.get()));
    EXPECT_EQ(request.document(),
              fault("1", "validation", kChecked,
                    "Unexpected error - unrecognized WELK data type for column 2 \"Z\"."));
}

TEST_F(InsertTree, QueriesThatAreNoValue) {
    EXPECT_FALSE(filter.ValidateLiteralSelect(nullptr));
    EXPECT_FALSE(filter.answered()) << "nothing to tell";
    EXPECT_FALSE(filter.ValidateLiteralSelect(query({"ID", "NAME"}).get()));
    EXPECT_EQ(request.document(),
              fault("0", "validation", kQuery,
                    "A subselect statement in the VALUES list of an INSERT may only return one column."));
    const auto united = query({"ID"});
    united->nextUnion = query({"TID"});
    EXPECT_FALSE(filter.ValidateLiteralSelect(united.get()));
    EXPECT_EQ(request.document(), fault("1", "validation", kQuery,
                                        "Cannot use UNION in a subselect statement within an INSERT."));
    EXPECT_TRUE(filter.ValidateLiteralSelect(query({"ID"}).get()));
}
