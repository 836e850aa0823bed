#include "base/LinkedList.h"

#include "support/Testing.h"

namespace {

using LinkedListDeathTest = ::testing::Test;

TEST_F(LinkedListDeathTest, EmptyTailAndNullPositionStopTheProgram) {
    LinkedList<std::string> list;
    EXPECT_DEATH(list.GetTail(), "\\(node\\), function GetTail, file LinkedList, line [0-9]+");
    EXPECT_DEATH(list.GetAt(nullptr), "\\(node\\), function GetAt, file LinkedList, line [0-9]+");
}

// The links themselves are BList's (its seeded run proves them); here the list's own entry points
// reach them: each removal takes its node, names the list's new ends, and on an empty list
// reports false.
TEST(LinkedList, RemovalsTakeTheirNodeAndReportAnEmptyList) {
    LinkedList<std::string> list;
    for (const char* value : {"a", "b", "c", "d"})
        list.AddTail(value);
    const auto contents = [&] {
        std::string out;
        for (__POSITION* pos = list.GetHeadPosition(); pos != nullptr;)
            out += list.GetNext(pos);
        return out + std::to_string(list.GetCount());
    };
    EXPECT_TRUE(list.RemoveHead());
    EXPECT_TRUE(list.RemoveTail());
    EXPECT_EQ(contents(), "bc2");
    EXPECT_EQ(list.GetTail(), "c");
    EXPECT_TRUE(list.RemoveAt(list.GetHeadPosition()));
    EXPECT_FALSE(list.RemoveAt(nullptr));
    EXPECT_EQ(contents(), "c1");
    list.RemoveAll();
    EXPECT_EQ(contents(), "0");
    EXPECT_FALSE(list.RemoveHead());
    EXPECT_FALSE(list.RemoveTail());
}

} // namespace
