/// Makes one allocation of the library fail where the library is part of the executable. The linker
/// puts the functions here in the place of every `malloc` and `calloc` of what it links.
#pragma once

#include <cstddef>

namespace failing_heap {

/// Lets the allocation fail that comes after `successes` more of them, and only that one.
void fail_after(size_t successes);
/// Lets no allocation fail any more; answers whether one did.
bool stop();

}  // namespace failing_heap
