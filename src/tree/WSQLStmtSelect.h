#pragma once

#include <memory>
#include <string>

#include "src/tree/NodeList.h"
#include "src/tree/WSQLColumnRef.h"
#include "src/tree/WSQLCondition.h"
#include "src/tree/WSQLJoin.h"
#include "src/tree/WSQLScalar.h"
#include "src/tree/WSQLStatement.h"
#include "src/tree/WSQLTableRef.h"

namespace wsql {

/// ORDER BY column or ORDER BY position.
class WSQLOrderByItem : public virtual WSQLExpression {
public:
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLOrderByItem> clone() const;

    std::unique_ptr<WSQLColumnRef> column;  ///< null when ordered by position (until validation fills it in)
    int32_t position = 0;                   ///< 1-based position in the select list; 0: none
    bool descending = false;
};

/// SELECT, a member of a UNION, or a sub-query.
class WSQLStmtSelect : public virtual WSQLStatement {
public:
    /// A union of more members is refused by the grammar, so recursion over the chain is bounded.
    static constexpr int32_t kMaxUnion = 5000;

    WSQLStmtSelect();
    ~WSQLStmtSelect() override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLStmtSelect> clone() const;

    /// Select list. The list is changed through these calls only: they keep the two counts and own the items.
    const WSQLList<WSQLScalar*>& items() const { return *items_; }
    int32_t itemCount() const { return items_->Count(); }
    WSQLScalar* item(int32_t index) const { return items_->Get(index); }   ///< 0-based; null out of range
    WSQLScalar& itemAt(int32_t index) const { return items_->at(index); }  ///< 0-based, in range
    void setItems(OwnedList<WSQLScalar> items);  ///< replaces the whole list; never null
    void addItem(std::unique_ptr<WSQLScalar> item);
    void insertItem(int32_t index, std::unique_ptr<WSQLScalar> item);
    void replaceItem(int32_t index, std::unique_ptr<WSQLScalar> item);  ///< deletes the old item
    std::unique_ptr<WSQLScalar> takeItem(int32_t index);                ///< removes it; the caller owns it
    int32_t columnItemCount() const { return columnItems_; }            ///< items that are a WSQLColumnRef
    int32_t functionItemCount() const { return functionItems_; }        ///< items that are a WSQLFunctionRef

    /// Replaces the WSQLAllColumns item at `index` by one bound column reference per field of the tables that
    /// it stands for (FROM order, then field-number order). With an index that holds no WSQLAllColumns item
    /// the columns of every table are inserted there. The tables' field lists must be loaded; dictionary
    /// tables need one too. False when no table matches or a field list is missing.
    bool expandItem(int32_t index);

    /// ANDs the condition to a WHERE that is there already.
    void addWhere(std::unique_ptr<WSQLCondition> condition);

    /// Attaches a join: `right` enters the FROM list when no table of that name and alias is in it; each
    /// comparison of two columns in the AND chain of `condition` becomes a join entry between copies of
    /// `left` and `right`; the rest is ANDed to the WHERE. An entry whose columns stand the other way round
    /// is turned, operator included. False, with the reason in `error`, when the condition holds no such
    /// comparison.
    bool attachJoin(int32_t kind, std::unique_ptr<WSQLTableRef> left, std::unique_ptr<WSQLTableRef> right,
                    std::unique_ptr<WSQLCondition> condition, std::string& error);

    /// The FROM table that goes by `qualifier` (its alias, else its name; ASCII letter case ignored), else
    /// the first one whose name stands behind another alias; null when none.
    WSQLTableRef* findTable(const std::string& qualifier) const;

    /// UNION chain: appended at the end. `all` belongs to the link in front of `next`.
    void appendUnion(std::unique_ptr<WSQLStmtSelect> next, bool all);
    bool hasUnion() const { return nextUnion != nullptr; }
    const WSQLStmtSelect* lastMember() const;
    WSQLStmtSelect* lastMember();
    int32_t memberCount() const;  ///< this and the following members

    bool distinct = false;
    OwnedList<WSQLTableRef> tables;  ///< never null; empty for a SELECT without FROM
    std::unique_ptr<WSQLJoinSpec>
        joinSpec;                   ///< FROM written with JOIN; then `tables` is empty until validation
    OwnedList<WSQLWelkJoin> joins;  ///< never null; filled by validation
    std::unique_ptr<WSQLCondition> where;  ///< null when absent
    OwnedList<WSQLColumnRef> groupBy;      ///< null when absent
    OwnedList<WSQLOrderByItem> orderBy;    ///< null when absent
    std::unique_ptr<WSQLStmtSelect> nextUnion;
    bool unionAll = false;          ///< kind of the link to `nextUnion`
    bool needsPartRecords = false;  ///< set by validation

private:
    void countItem(const WSQLScalar* item, int32_t step);
    int32_t expandTable(const WSQLTableRef& table, int32_t index);
    std::unique_ptr<WSQLStmtSelect> cloneMember() const;
    void dumpMember(TreeDump& out) const;

    WSQLStmtSelect*
        unionTail_;           ///< a member at or before the end of the chain, so that appending needs no walk
    int32_t unionCount_ = 1;  ///< members up to and including unionTail_
    OwnedList<WSQLScalar> items_;
    int32_t columnItems_ = 0;
    int32_t functionItems_ = 0;
};

}  // namespace wsql
