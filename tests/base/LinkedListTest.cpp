#include "base/LinkedList.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using LinkedListDeathTest = ::testing::Test;

TEST_F(LinkedListDeathTest, EmptyTailAndNullPositionStopTheProgram) {
    LinkedList<std::string> list;
    EXPECT_DEATH(list.GetTail(), "\\(node\\), function GetTail, file LinkedList, line [0-9]+");
    EXPECT_DEATH(list.GetAt(nullptr), "\\(node\\), function GetAt, file LinkedList, line [0-9]+");
}

} // namespace
