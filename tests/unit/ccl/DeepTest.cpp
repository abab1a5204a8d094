#include <gtest/gtest.h>
#include <pthread.h>

#include "kernel/ccl/Printer.h"
#include "kernel/ccl/Reader.h"

// Nesting costs memory, never the thread's stack: every line here is read, printed and freed on a stack of
// 256 KB.
namespace wdb::ccl {
namespace {

struct Job {
    std::string line;
    bool accepted = false;
    size_t position = 0;
    size_t printed = 0;
};

void* run(void* argument) {
    Job& job = *static_cast<Job*>(argument);
    const auto command = readCommand(job.line, CommandWords(), &job.position);
    job.accepted = static_cast<bool>(command);
    if (command) job.printed = printCommand(*command).size();
    return nullptr;
}

void runOnSmallStack(Job& job) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &job), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

std::string repeat(std::string_view text, size_t count) {
    std::string result;
    result.reserve(text.size() * count);
    for (size_t i = 0; i < count; ++i) result += text;
    return result;
}

TEST(DeepTest, ParenthesesNestAsDeepAsTheTextAllows) {
    const size_t depth = (WDB_COMMAND_MAX - 20) / 2;
    Job closed{"FIND " + std::string(depth, '(') + "A=1" + std::string(depth, ')')};
    runOnSmallStack(closed);
    EXPECT_TRUE(closed.accepted);
    EXPECT_EQ(closed.printed, std::string_view("FIN A = 1").size());
    Job open{"FIND " + std::string(WDB_COMMAND_MAX - 5, '(')};
    runOnSmallStack(open);
    EXPECT_FALSE(open.accepted);
    EXPECT_EQ(open.position, size_t{WDB_COMMAND_MAX});
}

TEST(DeepTest, ConnectivesNestToTheLeftAndToTheRight) {
    const size_t depth = 200000;
    Job right{"FIND " + repeat("A=1 OR (", depth) + "B=2" + std::string(depth, ')')};
    runOnSmallStack(right);
    EXPECT_TRUE(right.accepted);
    Job left{"FIND " + repeat("A=1 AND ", depth) + "B=2"};
    runOnSmallStack(left);
    EXPECT_TRUE(left.accepted);
    EXPECT_EQ(left.printed, right.printed) << "the same tokens, the parentheses at other places";
}

TEST(DeepTest, ArithmeticNests) {
    const size_t depth = 200000;
    Job job{"SEL FRL(T) FIELD(" + repeat("1-(", depth) + "T.A" + std::string(depth, ')') + ")"};
    runOnSmallStack(job);
    EXPECT_TRUE(job.accepted);
}

TEST(DeepTest, LongerThanTheLimitIsRefusedWhole) {
    const std::string line = "FIND A=" + std::string(WDB_COMMAND_MAX - 6, 'x');
    size_t position = 0;
    EXPECT_EQ(readCommand(line, CommandWords(), &position).status(), WDB_E_CCL_LENGTH);
    EXPECT_TRUE(readCommand(std::string_view(line).substr(0, WDB_COMMAND_MAX), CommandWords(), &position));
}

}  // namespace
}  // namespace wdb::ccl
