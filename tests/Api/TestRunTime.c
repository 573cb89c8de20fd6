/* A stand-in for a host's run-time: a loadable module that exports the
 * handle allocator the library looks up, and tells tests which handles it
 * made, with their sizes, and how many are still alive. */

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#define KRD_TEST_EXPORT __attribute__((visibility("default")))

enum { kMaxLive = 4096 };
static struct {
  void** handle;
  size_t bytes;
} live[kMaxLive];
static size_t live_count = 0;
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;

/* The index of a live handle, or live_count; call with the lock held. */
static size_t Find(void* handle) {
  size_t index = 0;
  while (index < live_count && live[index].handle != handle) ++index;
  return index;
}

KRD_TEST_EXPORT void** AZNewHandle(size_t bytes) {
  void** handle = malloc(sizeof *handle);
  if (handle == NULL || (*handle = malloc(bytes)) == NULL) {
    free(handle);
    return NULL;
  }
  pthread_mutex_lock(&lock);
  if (live_count < kMaxLive) {
    live[live_count].handle = handle;
    live[live_count].bytes = bytes;
    ++live_count;
  }
  pthread_mutex_unlock(&lock);
  return handle;
}

KRD_TEST_EXPORT int32_t AZDisposeHandle(void** handle) {
  pthread_mutex_lock(&lock);
  const size_t index = Find(handle);
  if (index < live_count) live[index] = live[--live_count];
  pthread_mutex_unlock(&lock);
  free(*handle);
  free(handle);
  return 0;
}

KRD_TEST_EXPORT size_t TestRunTimeLiveHandles(void) {
  pthread_mutex_lock(&lock);
  const size_t count = live_count;
  pthread_mutex_unlock(&lock);
  return count;
}

/* The size a live handle was made with; -1 when this run-time did not make it. */
KRD_TEST_EXPORT int64_t TestRunTimeHandleSize(void* handle) {
  pthread_mutex_lock(&lock);
  const size_t index = Find(handle);
  const int64_t bytes = index < live_count ? (int64_t)live[index].bytes : -1;
  pthread_mutex_unlock(&lock);
  return bytes;
}
