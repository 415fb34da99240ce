// The functions of the malloc family, defined in the program itself: calls of every shared library
// end here too, and those of the operators, which the C++ library makes of them. Aligned blocks,
// which nobody here asks for, neither fail nor count.

#include "hostile/failing_allocator.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <new>

// What allocates in truth: the C library's functions, or those of a sanitizer in front of them.
#ifdef KIV_ALLOCATES_FROM_SANITIZER
#define TRUE_ALLOCATOR(name) __interceptor_##name
#else
#define TRUE_ALLOCATOR(name) __libc_##name
#endif

extern "C" {
void* TRUE_ALLOCATOR(malloc)(std::size_t size);
void* TRUE_ALLOCATOR(calloc)(std::size_t count, std::size_t size);
void* TRUE_ALLOCATOR(realloc)(void* block, std::size_t size);
void TRUE_ALLOCATOR(free)(void* block);
}

namespace TestSupport {

namespace {

// No constructors run for these: allocations come before main and after it.
constinit std::atomic<std::int64_t> countdown{0};
constinit std::atomic<bool> isArmed{false};
constinit std::atomic<bool> lasts{false};
/// If above 0, blocks of this size fail, and `countdown` says nothing.
constinit std::atomic<std::size_t> failingSize{0};
constinit std::atomic<bool> hasFailed{false};
constinit std::atomic<std::int64_t> live{0};

/// Set while a sanitizer asks for the stack of a thread that starts: it ends the process if it
/// isn't told.
constinit thread_local bool sanitizerIsAsking = false;

bool isDue(std::size_t size) {
    if (failingSize != 0) {
        return size == failingSize;
    }
    const std::int64_t left = countdown.fetch_sub(1) - 1;
    return left == 0 || (left < 0 && lasts);
}

bool fails(std::size_t size) {
    if (!isArmed.load(std::memory_order_relaxed) || sanitizerIsAsking || !isDue(size)) {
        return false;
    }
    hasFailed = true;
    errno = ENOMEM;
    return true;
}

void* counted(void* block) {
    live.fetch_add(block != nullptr ? 1 : 0, std::memory_order_relaxed);
    return block;
}

}  // namespace

void startShortage(std::int64_t n, bool isLasting, std::size_t size) {
    countdown = n;
    lasts = isLasting;
    failingSize = size;
    hasFailed = false;
    isArmed = true;
}

bool endShortage() {
    isArmed = false;
    return hasFailed;
}

std::int64_t liveBlocks() {
    return live;
}

}  // namespace TestSupport

using TestSupport::counted;
using TestSupport::fails;

// The functions of this program are hidden from its libraries otherwise.
#pragma GCC visibility push(default)

extern "C" {

void* malloc(std::size_t size) {
    return fails(size) ? nullptr : counted(TRUE_ALLOCATOR(malloc)(size));
}

void* calloc(std::size_t count, std::size_t size) {
    return fails(count * size) ? nullptr : counted(TRUE_ALLOCATOR(calloc)(count, size));
}

void* realloc(void* block, std::size_t size) {
    if (fails(size)) {
        return nullptr;
    }
    void* const moved = TRUE_ALLOCATOR(realloc)(block, size);
    if (block == nullptr) {
        return counted(moved);
    }
    if (size == 0 && moved == nullptr) {
        TestSupport::live.fetch_sub(1, std::memory_order_relaxed);
    }
    return moved;
}

void free(void* block) {
    TestSupport::live.fetch_sub(block != nullptr ? 1 : 0, std::memory_order_relaxed);
    TRUE_ALLOCATOR(free)(block);
}

}  // extern "C"

#ifdef KIV_ALLOCATES_FROM_SANITIZER
// The sanitizer has operators of its own, which don't come by here.

void* operator new(std::size_t size) {
    if (void* const block = malloc(size)) {
        return block;
    }
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return malloc(size);
}

void operator delete(void* block) noexcept {
    free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    free(block);
}

void operator delete[](void* block) noexcept {
    free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    free(block);
}

extern "C" int pthread_getattr_np(pthread_t thread, pthread_attr_t* attributes) noexcept {
    using Function = int (*)(pthread_t, pthread_attr_t*);
    const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_getattr_np"));
    TestSupport::sanitizerIsAsking = true;
    const int result = next(thread, attributes);
    TestSupport::sanitizerIsAsking = false;
    return result;
}
#endif

#pragma GCC visibility pop
