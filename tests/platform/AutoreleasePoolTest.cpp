#include "platform/AutoreleasePool.h"

#include "support/Testing.h"

using platform::AutoreleasePool;

TEST(AutoreleasePool, NestedPoolsReleaseTheirOwnObjectsOnClose) {
    std::weak_ptr<int> innerObject;
    {
        AutoreleasePool outer;
        {
            AutoreleasePool inner;
            auto b = std::make_shared<int>(2);
            innerObject = b;
            AutoreleasePool::current()->autorelease(std::move(b));
        }
        EXPECT_TRUE(innerObject.expired());
        EXPECT_EQ(AutoreleasePool::current(), &outer);
    }
    EXPECT_EQ(AutoreleasePool::current(), nullptr);
}
