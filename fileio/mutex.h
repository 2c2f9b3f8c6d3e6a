// POSIX mutexes with default attributes, and the annotations by which Clang proves that what a
// mutex guards is touched under it only.
//
// RawMutex is for objects that live as long as the process: it is constant-initialised, needs no
// destructor, and can be made anew with Init after Destroy. Mutex is for members of objects and is
// destroyed with them. Both are ready for use from construction on, hold nothing besides the
// pthread_mutex_t, and are not recursive: locking twice in one thread hangs.
//
// Lock with a MutexGuard. The order is: a part's mutex, its thread map's mutex, the file layer's
// mutex last.
#ifndef ZEVKA_FILEIO_MUTEX_H
#define ZEVKA_FILEIO_MUTEX_H

#include <pthread.h>

#if defined(__clang__)
#define ZEVKA_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ZEVKA_THREAD_ANNOTATION(x)
#endif

#define ZEVKA_CAPABILITY(x) ZEVKA_THREAD_ANNOTATION(capability(x))
#define ZEVKA_SCOPED_CAPABILITY ZEVKA_THREAD_ANNOTATION(scoped_lockable)
#define ZEVKA_GUARDED_BY(x) ZEVKA_THREAD_ANNOTATION(guarded_by(x))
#define ZEVKA_PT_GUARDED_BY(x) ZEVKA_THREAD_ANNOTATION(pt_guarded_by(x))
#define ZEVKA_REQUIRES(...) ZEVKA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ZEVKA_ACQUIRE(...) ZEVKA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ZEVKA_RELEASE(...) ZEVKA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ZEVKA_EXCLUDES(...) ZEVKA_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ZEVKA_RETURN_CAPABILITY(x) ZEVKA_THREAD_ANNOTATION(lock_returned(x))
#define ZEVKA_NO_THREAD_SAFETY_ANALYSIS ZEVKA_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace zevka {

// A mutex without a destructor, for objects of the whole process.
class ZEVKA_CAPABILITY("mutex") RawMutex {
 public:
  constexpr RawMutex() = default;
  ~RawMutex() = default;
  RawMutex(const RawMutex&) = delete;
  RawMutex& operator=(const RawMutex&) = delete;
  RawMutex(RawMutex&&) = delete;
  RawMutex& operator=(RawMutex&&) = delete;

  // Makes the mutex anew after Destroy. 0, or the error number.
  int Init() { return ::pthread_mutex_init(&mutex_, nullptr); }
  // Ends the mutex, which nobody may hold. 0, or the error number.
  int Destroy() { return ::pthread_mutex_destroy(&mutex_); }

  // What these mutexes guard is done in a moment, and falling asleep takes far longer: who finds
  // one taken looks again a few times first.
  void Lock() ZEVKA_ACQUIRE() {
    for (int tries = 0; tries < kTries; ++tries) {
      if (::pthread_mutex_trylock(&mutex_) == 0) {
        return;
      }
      for (int pauses = 0; pauses < kPausesBetween; ++pauses) {
        __builtin_ia32_pause();
      }
    }
    ::pthread_mutex_lock(&mutex_);
  }
  void Unlock() ZEVKA_RELEASE() { ::pthread_mutex_unlock(&mutex_); }

 private:
  static constexpr int kTries = 50;
  static constexpr int kPausesBetween = 4;

  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

// A mutex that ends with the object that holds it.
class ZEVKA_CAPABILITY("mutex") Mutex : public RawMutex {
 public:
  constexpr Mutex() = default;
  ~Mutex() { Destroy(); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;
  Mutex(Mutex&&) = delete;
  Mutex& operator=(Mutex&&) = delete;
};

static_assert(sizeof(Mutex) == sizeof(pthread_mutex_t) && sizeof(Mutex) == 40,
              "a mutex member is the POSIX mutex and nothing else");

// Holds a mutex, raw or not, until the end of its scope.
class ZEVKA_SCOPED_CAPABILITY MutexGuard {
 public:
  explicit MutexGuard(RawMutex& mutex) ZEVKA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~MutexGuard() ZEVKA_RELEASE() { mutex_.Unlock(); }
  MutexGuard(const MutexGuard&) = delete;
  MutexGuard& operator=(const MutexGuard&) = delete;
  MutexGuard(MutexGuard&&) = delete;
  MutexGuard& operator=(MutexGuard&&) = delete;

 private:
  RawMutex& mutex_;
};

}  // namespace zevka

#endif  // ZEVKA_FILEIO_MUTEX_H
