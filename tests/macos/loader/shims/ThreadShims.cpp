// Threads. A program's mutex, condition, lock or once is a record that begins with a signature; this one keeps a
// pointer to glibc's after it, made when the object is first used.
#include <array>
#include <atomic>
#include <cstdint>

#include <pthread.h>
#include <unistd.h>

#include "tests/macos/loader/Shims.h"
#include "tests/macos/loader/ThreadLocals.h"

extern "C" {
int __cxa_atexit(void (*function)(void*), void* argument, void* library);
int __cxa_thread_atexit_impl(void (*function)(void*), void* argument, void* library);
extern void* __dso_handle;
}

namespace quarn::loader {
namespace {

constexpr long kOurs = 0x5155524e;

struct Object {
  std::atomic<long> signature;
  std::atomic<void*> native;
};

template <class Native, class Make>
Native* nativeOf(void* record, Make make) {
  auto& object = *static_cast<Object*>(record);
  if (object.signature == kOurs) return static_cast<Native*>(object.native.load());
  static pthread_mutex_t making = PTHREAD_MUTEX_INITIALIZER;
  ::pthread_mutex_lock(&making);
  if (object.signature != kOurs) {
    auto* native = new Native;
    make(native);
    object.native = native;
    object.signature = kOurs;
  }
  ::pthread_mutex_unlock(&making);
  return static_cast<Native*>(object.native.load());
}

template <class Native, int (*Destroy)(Native*)>
int destroy(void* record) {
  auto& object = *static_cast<Object*>(record);
  if (object.signature != kOurs) return 0;
  auto* native = static_cast<Native*>(object.native.load());
  if (const int error = Destroy(native); error != 0) return darwinError(error);
  delete native;
  object.signature = 0;
  return 0;
}

pthread_mutex_t* mutexOf(void* record) {
  return nativeOf<pthread_mutex_t>(record, [](auto* native) { ::pthread_mutex_init(native, nullptr); });
}
pthread_cond_t* conditionOf(void* record) {
  return nativeOf<pthread_cond_t>(record, [](auto* native) { ::pthread_cond_init(native, nullptr); });
}
pthread_rwlock_t* lockOf(void* record) {
  return nativeOf<pthread_rwlock_t>(record, [](auto* native) { ::pthread_rwlock_init(native, nullptr); });
}

struct MutexAttributes {
  long signature;
  int kind;
};
constexpr int kRecursive = 2;

int initMutexAttributes(MutexAttributes* attributes) {
  *attributes = {0, 0};
  return 0;
}
int destroyMutexAttributes(MutexAttributes*) { return 0; }
int setMutexKind(MutexAttributes* attributes, int kind) {
  attributes->kind = kind;
  return 0;
}
int initMutex(void* record, const MutexAttributes* attributes) {
  static_cast<Object*>(record)->signature = 0;
  nativeOf<pthread_mutex_t>(record, [&](pthread_mutex_t* native) {
    pthread_mutexattr_t kind;
    ::pthread_mutexattr_init(&kind);
    if (attributes != nullptr && attributes->kind == kRecursive)
      ::pthread_mutexattr_settype(&kind, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutex_init(native, &kind);
    ::pthread_mutexattr_destroy(&kind);
  });
  return 0;
}
int lockMutex(void* mutex) { return darwinError(::pthread_mutex_lock(mutexOf(mutex))); }
int tryMutex(void* mutex) { return darwinError(::pthread_mutex_trylock(mutexOf(mutex))); }
int unlockMutex(void* mutex) { return darwinError(::pthread_mutex_unlock(mutexOf(mutex))); }

int waitFor(void* condition, void* mutex) { return ::pthread_cond_wait(conditionOf(condition), mutexOf(mutex)); }
int waitUntil(void* condition, void* mutex, const timespec* time) {
  return darwinError(::pthread_cond_timedwait(conditionOf(condition), mutexOf(mutex), time));
}
int wakeOne(void* condition) { return ::pthread_cond_signal(conditionOf(condition)); }
int wakeAll(void* condition) { return ::pthread_cond_broadcast(conditionOf(condition)); }

int lockToRead(void* lock) { return darwinError(::pthread_rwlock_rdlock(lockOf(lock))); }
int lockToWrite(void* lock) { return darwinError(::pthread_rwlock_wrlock(lockOf(lock))); }
int unlock(void* lock) { return darwinError(::pthread_rwlock_unlock(lockOf(lock))); }

int runOnce(void* once, void (*function)()) {
  return ::pthread_once(nativeOf<pthread_once_t>(once, [](auto* native) { *native = PTHREAD_ONCE_INIT; }), function);
}

int makeKey(unsigned long* key, void (*destroyValue)(void*)) {
  pthread_key_t made = 0;
  const int error = ::pthread_key_create(&made, destroyValue);
  *key = made;
  return darwinError(error);
}
int deleteKey(unsigned long key) { return darwinError(::pthread_key_delete(static_cast<pthread_key_t>(key))); }
void* valueOf(unsigned long key) { return ::pthread_getspecific(static_cast<pthread_key_t>(key)); }
int setValue(unsigned long key, const void* value) {
  return ::pthread_setspecific(static_cast<pthread_key_t>(key), value);
}

int startThread(pthread_t* thread, const void* /*attributes*/, void* (*function)(void*), void* argument) {
  return darwinError(::pthread_create(thread, nullptr, function, argument));
}
std::uint32_t machThread(pthread_t) { return static_cast<std::uint32_t>(::gettid()); }
int threadNumber(pthread_t, std::uint64_t* number) {
  *number = static_cast<std::uint64_t>(::gettid());
  return 0;
}
int setQualityOfService(unsigned /*kind*/, int /*priority*/) { return 0; }

void atThreadExit(void (*function)(void*), void* object) { __cxa_thread_atexit_impl(function, object, &__dso_handle); }

}  // namespace

std::span<const Shim> threadShims() {
  static const std::array shims{shim("pthread_mutexattr_init", initMutexAttributes),
                                shim("pthread_mutexattr_destroy", destroyMutexAttributes),
                                shim("pthread_mutexattr_settype", setMutexKind),
                                shim("pthread_mutex_init", initMutex),
                                shim("pthread_mutex_destroy", destroy<pthread_mutex_t, ::pthread_mutex_destroy>),
                                shim("pthread_mutex_lock", lockMutex),
                                shim("pthread_mutex_trylock", tryMutex),
                                shim("pthread_mutex_unlock", unlockMutex),
                                shim("pthread_cond_wait", waitFor),
                                shim("pthread_cond_timedwait", waitUntil),
                                shim("pthread_cond_signal", wakeOne),
                                shim("pthread_cond_broadcast", wakeAll),
                                shim("pthread_cond_destroy", destroy<pthread_cond_t, ::pthread_cond_destroy>),
                                shim("pthread_rwlock_rdlock", lockToRead),
                                shim("pthread_rwlock_wrlock", lockToWrite),
                                shim("pthread_rwlock_unlock", unlock),
                                shim("pthread_rwlock_destroy", destroy<pthread_rwlock_t, ::pthread_rwlock_destroy>),
                                shim("pthread_once", runOnce),
                                shim("pthread_key_create", makeKey),
                                shim("pthread_key_delete", deleteKey),
                                shim("pthread_getspecific", valueOf),
                                shim("pthread_setspecific", setValue),
                                shim("pthread_create", startThread),
                                shim("pthread_mach_thread_np", machThread),
                                shim("pthread_threadid_np", threadNumber),
                                shim("pthread_set_qos_class_self_np", setQualityOfService),
                                shim("__cxa_atexit", ::__cxa_atexit),
                                shim("_tlv_bootstrap", quarn_thread_local_address),
                                shim("_tlv_atexit", atThreadExit)};
  return shims;
}

}  // namespace quarn::loader
