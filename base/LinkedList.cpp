#include "base/LinkedList.h"

namespace LinkedListDetail {

bool IsObject(const void* self) {
    return self != nullptr;
}

} // namespace LinkedListDetail
