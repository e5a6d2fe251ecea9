// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The lock rules of this library in a form that clang checks with -Wthread-safety. Other compilers
/// see nothing of them. A member that a lock guards, and a function that wants a lock held, say so
/// here instead of in a comment.
#ifdef __clang__
#define CABINAUDIO_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define CABINAUDIO_THREAD_ATTRIBUTE(attribute)
#endif

/// A class that is a lock, named in the messages.
#define CABINAUDIO_CAPABILITY(name) CABINAUDIO_THREAD_ATTRIBUTE(capability(name))
/// A class that holds a lock for as long as it lives.
#define CABINAUDIO_SCOPED_CAPABILITY CABINAUDIO_THREAD_ATTRIBUTE(scoped_lockable)
/// A member that is read and written with the lock held only; for a pointer: the pointer itself.
#define CABINAUDIO_GUARDED_BY(lock) CABINAUDIO_THREAD_ATTRIBUTE(guarded_by(lock))
/// A pointer to memory that is read and written with the lock held only.
#define CABINAUDIO_POINTEE_GUARDED_BY(lock) CABINAUDIO_THREAD_ATTRIBUTE(pt_guarded_by(lock))
/// The caller holds the lock.
#define CABINAUDIO_REQUIRES(...) CABINAUDIO_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// The caller does not hold the lock: the function takes it.
#define CABINAUDIO_EXCLUDES(...) CABINAUDIO_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// The function returns with the lock held; without an argument the object's own.
#define CABINAUDIO_ACQUIRE(...) CABINAUDIO_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
/// The function gives the lock back; without an argument the object's own.
#define CABINAUDIO_RELEASE(...) CABINAUDIO_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
/// The function returns `result` when it took the lock.
#define CABINAUDIO_TRY_ACQUIRE(...) CABINAUDIO_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
/// The body is not checked: it is the lock itself, or follows a rule that clang has no words for,
/// which stands beside it.
#define CABINAUDIO_UNCHECKED_LOCKING CABINAUDIO_THREAD_ATTRIBUTE(no_thread_safety_analysis)
