// What clang checks of the locks: which mutex guards a field, and what a function needs to be held.
//
// With clang (the preset "clang", which ./test builds) a field of ORVANE_GUARDED_BY(mutex) that is
// touched without its mutex is an error of the build; other compilers see nothing. Only annotated
// mutexes count: platform::Mutex, and media::Mutex where it is to be Qt's.
#ifndef ORVANE_PLATFORM_THREADSAFETY_H
#define ORVANE_PLATFORM_THREADSAFETY_H

#if defined(__clang__)
#define ORVANE_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define ORVANE_THREAD_SAFETY(attribute)
#endif

// A class whose objects can be held, and one whose objects hold one as long as they live.
#define ORVANE_CAPABILITY ORVANE_THREAD_SAFETY(capability("mutex"))
#define ORVANE_SCOPED_CAPABILITY ORVANE_THREAD_SAFETY(scoped_lockable)

// Of a field.
#define ORVANE_GUARDED_BY(mutex) ORVANE_THREAD_SAFETY(guarded_by(mutex))

// Of a function, or of a lambda after its parentheses: the caller holds mutex, or must not.
#define ORVANE_REQUIRES(...) ORVANE_THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define ORVANE_EXCLUDES(...) ORVANE_THREAD_SAFETY(locks_excluded(__VA_ARGS__))

// Of a function that takes it, lets go of it, or has taken it when it returns that.
#define ORVANE_ACQUIRE(...) ORVANE_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define ORVANE_RELEASE(...) ORVANE_THREAD_SAFETY(release_capability(__VA_ARGS__))
#define ORVANE_TRY_ACQUIRE(...) ORVANE_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))

// Of a function that is itself a part of a lock.
#define ORVANE_IS_A_LOCK ORVANE_THREAD_SAFETY(no_thread_safety_analysis)

#endif
