#include "platform/AutoreleasePool.h"

namespace platform {

namespace {
thread_local AutoreleasePool* innermost = nullptr;
} // namespace

AutoreleasePool::AutoreleasePool() : outer_(innermost) {
    innermost = this;
}

AutoreleasePool::~AutoreleasePool() {
    while (!objects_.empty())
        objects_.pop_back();
    innermost = outer_;
}

AutoreleasePool* AutoreleasePool::current() {
    return innermost;
}

} // namespace platform
