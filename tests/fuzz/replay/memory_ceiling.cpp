#include "memory_ceiling.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

// The sanitizers reserve far more address space than they use, so under them
// the ceiling is on the resident size, which they watch themselves.
extern "C" const char* __asan_default_options() {
    return "hard_rss_limit_mb=2048";
}
extern "C" const char* __tsan_default_options() {
    return "hard_rss_limit_mb=2048";
}

namespace {

constexpr rlim_t ceilingBytes = rlim_t{2048} * 1024 * 1024;

constexpr bool isSanitized() {
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    return true;
#endif
#endif
    return false;
}

}  // namespace

void applyMemoryCeiling() {
    if (!isSanitized()) {
        const rlimit ceiling{ceilingBytes, ceilingBytes};
        ASSERT_EQ(setrlimit(RLIMIT_AS, &ceiling), 0);
    }
}
