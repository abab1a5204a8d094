// The bound of the wait for an index job. A program of its own: it sleeps.
#include <gtest/gtest.h>

#include <chrono>

#include "src/WSQLFilter.h"
#include "tests/unit/engine/Articles.h"

TEST(Index, AJobThatDoesNotEndIsWaitedForTenSeconds) {
    loadArticles();
    fakeKernel().index.datesKnown = true;
    fakeKernel().index.asksUntilDone = -1;
    FilterData data{};
    wsql::WSQLFilter filter(&data);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(filter.IndexDatabase("T", true, true), WDB_OK) << "it goes on without us";
    const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited.count(), 10);
    EXPECT_LT(waited.count(), 12);
    EXPECT_FALSE(filter.answered());
    EXPECT_EQ(fakeKernel().dateForm, 1);
}
