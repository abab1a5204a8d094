#include "src/tree/WSQLStmtSelect.h"

#include "src/support/text.h"
#include "src/tree/TreeDump.h"

namespace wsql {

void WSQLOrderByItem::dump(TreeDump& out) const {
    out.open(descending ? "desc" : "asc");
    if (column) out.child(column);
    if (position != 0) out.number(position);
    out.close();
}

std::unique_ptr<WSQLOrderByItem> WSQLOrderByItem::clone() const {
    auto copy = std::make_unique<WSQLOrderByItem>();
    if (column) copy->column = column->cloneColumn();
    copy->position = position;
    copy->descending = descending;
    return copy;
}

WSQLStmtSelect::WSQLStmtSelect()
    : tables(std::make_unique<NodeList<WSQLTableRef>>()),
      joins(std::make_unique<NodeList<WSQLWelkJoin>>()),
      unionTail_(this),
      items_(std::make_unique<NodeList<WSQLScalar>>()) {}

WSQLStmtSelect::~WSQLStmtSelect() {
    // The chain is taken apart link by link, so that its length costs no stack.
    std::unique_ptr<WSQLStmtSelect> member = std::move(nextUnion);
    while (member) {
        std::unique_ptr<WSQLStmtSelect> next = std::move(member->nextUnion);
        member = std::move(next);
    }
}

void WSQLStmtSelect::countItem(const WSQLScalar* item, int32_t step) {
    if (item == nullptr) return;
    if (item->asColumnRef() != nullptr) columnItems_ += step;
    if (item->asFunctionRef() != nullptr) functionItems_ += step;
}

void WSQLStmtSelect::setItems(OwnedList<WSQLScalar> items) {
    items_ = std::move(items);
    columnItems_ = 0;
    functionItems_ = 0;
    for (const WSQLScalar& item : *items_) countItem(&item, 1);
}

void WSQLStmtSelect::addItem(std::unique_ptr<WSQLScalar> item) {
    const WSQLScalar* added = item.get();
    items_->append(std::move(item));
    countItem(added, 1);
}

void WSQLStmtSelect::insertItem(int32_t index, std::unique_ptr<WSQLScalar> item) {
    const WSQLScalar* added = item.get();
    items_->insert(index, std::move(item));
    countItem(added, 1);
}

void WSQLStmtSelect::replaceItem(int32_t index, std::unique_ptr<WSQLScalar> item) {
    if (items_->Get(index) == nullptr) return;
    countItem(items_->Get(index), -1);
    countItem(item.get(), 1);
    items_->replace(index, std::move(item));
}

std::unique_ptr<WSQLScalar> WSQLStmtSelect::takeItem(int32_t index) {
    countItem(items_->Get(index), -1);
    return items_->take(index);
}

void WSQLStmtSelect::addWhere(std::unique_ptr<WSQLCondition> condition) {
    if (!where) {
        where = std::move(condition);
    } else if (condition) {
        where = std::make_unique<WSQLCompositeCondition>(WSQLCompositeCondition::kAnd, std::move(where),
                                                         std::move(condition));
    }
}

WSQLTableRef* WSQLStmtSelect::findTable(const std::string& qualifier) const {
    WSQLTableRef* behindAlias = nullptr;
    for (WSQLTableRef& table : *tables) {
        if (equalNames(table.qualifier(), qualifier)) return &table;
        if (behindAlias == nullptr && equalNames(table.table, qualifier)) behindAlias = &table;
    }
    return behindAlias;
}

void WSQLStmtSelect::appendUnion(std::unique_ptr<WSQLStmtSelect> next, bool all) {
    WSQLStmtSelect* last = lastMember();
    const int32_t members = memberCount();
    WSQLStmtSelect* tail = next->lastMember();
    unionCount_ = members + next->memberCount();
    last->unionAll = all;
    last->nextUnion = std::move(next);
    unionTail_ = tail;
}

WSQLStmtSelect* WSQLStmtSelect::lastMember() {
    WSQLStmtSelect* member = unionTail_;
    while (member->nextUnion) member = member->nextUnion.get();
    return member;
}

const WSQLStmtSelect* WSQLStmtSelect::lastMember() const {
    return const_cast<WSQLStmtSelect*>(this)->lastMember();
}

int32_t WSQLStmtSelect::memberCount() const {
    int32_t members = unionCount_;
    for (const WSQLStmtSelect* member = unionTail_; member->nextUnion; member = member->nextUnion.get())
        ++members;
    return members;
}

std::unique_ptr<WSQLStmtSelect> WSQLStmtSelect::clone() const {
    std::unique_ptr<WSQLStmtSelect> first;
    bool all = false;
    for (const WSQLStmtSelect* member = this; member != nullptr; member = member->nextUnion.get()) {
        std::unique_ptr<WSQLStmtSelect> copy = member->cloneMember();
        if (first) {
            first->appendUnion(std::move(copy), all);
        } else {
            first = std::move(copy);
        }
        all = member->unionAll;
    }
    return first;
}

std::unique_ptr<WSQLStmtSelect> WSQLStmtSelect::cloneMember() const {
    auto copy = std::make_unique<WSQLStmtSelect>();
    copy->distinct = distinct;
    for (const WSQLScalar& scalar : *items_) copy->addItem(scalar.clone());
    copy->tables = cloneList(tables);
    if (joinSpec) copy->joinSpec = joinSpec->clone();
    copy->joins = cloneList(joins);
    if (where) copy->where = where->clone();
    if (groupBy) {
        copy->groupBy = std::make_unique<NodeList<WSQLColumnRef>>();
        for (const WSQLColumnRef& column : *groupBy) copy->groupBy->append(column.cloneColumn());
    }
    copy->orderBy = cloneList(orderBy);
    copy->needsPartRecords = needsPartRecords;
    return copy;
}

void WSQLStmtSelect::dumpMember(TreeDump& out) const {
    out.open("select");
    out.flag("distinct", distinct);
    out.list("items", items_);
    out.list("from", tables);
    if (joinSpec) out.child(joinSpec);
    out.list("joins", joins);
    out.clause("where", where);
    out.list("group", groupBy);
    out.list("order", orderBy);
    out.close();
}

void WSQLStmtSelect::dump(TreeDump& out) const {
    if (!nextUnion) {
        dumpMember(out);
        return;
    }
    out.open("union");
    for (const WSQLStmtSelect* member = this; member != nullptr; member = member->nextUnion.get()) {
        member->dumpMember(out);
        if (member->nextUnion) out.flag("all", member->unionAll);
    }
    out.close();
}

}  // namespace wsql
