#pragma once

#include <QtGlobal>

#include <malloc.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define PELORIN_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define PELORIN_SANITIZED 1
#endif
#endif

namespace pelorinnews::test {

/// The memory that the process has allocated, in bytes. The C library counts what its per-thread
/// caches keep of freed memory as allocated. Always 0 under a sanitizer, which has its own
/// allocator and finds leaks itself.
inline qint64 allocatedMemory() {
#ifdef PELORIN_SANITIZED
    return 0;
#else
    const struct mallinfo2 heap = ::mallinfo2();
    return static_cast<qint64>(heap.uordblks + heap.hblkhd);
#endif
}

}  // namespace pelorinnews::test
