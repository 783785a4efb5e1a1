#include "PLStack.h"

#include <gtest/gtest.h>

namespace {

TEST(PLStackTest, popsInReverseOrderOfPushingUntilEmpty)
{
    PLStack<int> stack;
    EXPECT_TRUE(stack.isEmpty());
    EXPECT_EQ(stack.popItem(), std::nullopt);
    stack.pushItem(1);
    stack.pushItem(2);
    stack.pushItem(3);
    EXPECT_EQ(stack.items().front(), 3);
    EXPECT_EQ(stack.popItem(), 3);
    EXPECT_EQ(stack.popItem(), 2);
    stack.pushItem(4);
    EXPECT_EQ(stack.popItem(), 4);
    EXPECT_EQ(stack.popItem(), 1);
    EXPECT_EQ(stack.popItem(), std::nullopt);
    EXPECT_TRUE(stack.isEmpty());
}

TEST(PLStackTest, clearingEmptiesTheStack)
{
    PLStack<int> stack;
    for (int i = 0; i < 1000; ++i)
        stack.pushItem(i);
    EXPECT_FALSE(stack.isEmpty());
    stack.clearStack();
    EXPECT_TRUE(stack.isEmpty());
    EXPECT_EQ(stack.popItem(), std::nullopt);
}

}
