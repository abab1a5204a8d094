#include <gtest/gtest.h>

#include <memory>

#include "src/support/WSQLOptionalPtr.h"
#include "src/support/WfxPtrList.h"
#include "src/tree/WSQLList.h"

namespace wsql {
namespace {

TEST(WfxPtrList, KeepsOrderAndBounds) {
    int items[30] = {};
    WfxPtrList list;
    EXPECT_EQ(list.Get(0), nullptr);
    list.Insert(0, &items[0]);
    EXPECT_EQ(list.Count(), 1);
    EXPECT_EQ(list.Get(-1), nullptr);
    EXPECT_EQ(list.Get(1), nullptr);
    for (int i = 1; i < 30; ++i) list.Add(&items[i]);
    list.Insert(15, &items[7]);
    EXPECT_EQ(list.Get(14), &items[14]);
    EXPECT_EQ(list.Get(15), &items[7]);
    EXPECT_EQ(list.Get(16), &items[15]);
    list.Remove(15);
    list.Remove(-1);
    list.Remove(30);
    EXPECT_EQ(list.Count(), 30);
    for (int i = 0; i < 30; ++i) EXPECT_EQ(list.Get(i), &items[i]);
    list.Remove(29);
    EXPECT_EQ(list.Get(29), nullptr);
}

TEST(WfxPtrList, GrowsByTen) {
    int item = 0;
    WfxPtrList list;
    list.Add(&item);
    EXPECT_EQ(list.Capacity(), 11);
    for (int i = 0; i < 11; ++i) list.Add(&item);
    EXPECT_EQ(list.Capacity(), 22);
    list.Insert(0, &item);
    EXPECT_EQ(list.Capacity(), 22) << "12 entries and ten more still fit";
    list.Insert(20, &item);
    EXPECT_EQ(list.Capacity(), 30) << "ten behind the place asked for";
    EXPECT_EQ(list.Get(13), &item) << "though the entry goes to the end";
}

struct Counted {
    explicit Counted(int& alive) : alive_(alive) { ++alive_; }
    virtual ~Counted() { --alive_; }
    int& alive_;
};

TEST(WSQLList, IsANodeThatDoesNotOwnItsElements) {
    int alive = 0;
    Counted first(alive);
    {
        const std::unique_ptr<WSQLExpression> node = std::make_unique<WSQLList<Counted*>>();
        auto* list = dynamic_cast<WSQLList<Counted*>*>(node.get());
        ASSERT_NE(list, nullptr);
        list->Add(&first);
        EXPECT_EQ(list->Get(0), &first);
        EXPECT_NE(dynamic_cast<WSQLComposite*>(node.get()), nullptr);
    }
    EXPECT_EQ(alive, 1);
}

TEST(WSQLOptionalPtr, DestroysWhatItOwnsOnce) {
    int alive = 0;
    Counted borrowed(alive);
    {
        WSQLOptionalPtr<Counted> owner(new Counted(alive));
        EXPECT_TRUE(owner.Present());
        WSQLOptionalPtr<Counted> moved(std::move(owner));
        EXPECT_EQ(alive, 2);
        moved.Set(&borrowed, false);
        EXPECT_EQ(alive, 1) << "the owned one went when it was replaced";
        moved.Set(new Counted(alive));
        const std::unique_ptr<Counted> released(moved.Release());
        EXPECT_FALSE(moved.Present());
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 1);
}

}  // namespace
}  // namespace wsql
