// A user's program: asks a list that is not there for its count. The library must stop it with its
// assertion line, whatever the program's optimiser assumes about `this`.
#include "base/BList.h"

#include <cstdio>

int main() {
    BList<int>* volatile missing = nullptr;
    std::printf("%d\n", static_cast<int>(missing->GetCount()));
    return 0;
}
