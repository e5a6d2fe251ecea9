// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Lock annotations that clang checks with -Wthread-safety; other compilers ignore them. They
/// replace comments on guarded members and on functions that require a lock.
#ifdef __clang__
#define CABINAUDIO_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define CABINAUDIO_THREAD_ATTRIBUTE(attribute)
#endif

/// A class that is a lock; clang's messages use `name`.
#define CABINAUDIO_CAPABILITY(name) CABINAUDIO_THREAD_ATTRIBUTE(capability(name))
/// A class that holds a lock for its lifetime.
#define CABINAUDIO_SCOPED_CAPABILITY CABINAUDIO_THREAD_ATTRIBUTE(scoped_lockable)
/// A member that is accessed only with the lock held; of a pointer, the pointer itself.
#define CABINAUDIO_GUARDED_BY(lock) CABINAUDIO_THREAD_ATTRIBUTE(guarded_by(lock))
/// A pointer to memory that is accessed only with the lock held.
#define CABINAUDIO_POINTEE_GUARDED_BY(lock) CABINAUDIO_THREAD_ATTRIBUTE(pt_guarded_by(lock))
/// The caller holds the lock.
#define CABINAUDIO_REQUIRES(...) CABINAUDIO_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// The caller does not hold the lock: the function takes it.
#define CABINAUDIO_EXCLUDES(...) CABINAUDIO_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// The function returns with the lock held; without an argument, the object itself is the lock.
#define CABINAUDIO_ACQUIRE(...) CABINAUDIO_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
/// The function releases the lock; without an argument, the object itself is the lock.
#define CABINAUDIO_RELEASE(...) CABINAUDIO_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
/// The function returns `result` when it has taken the lock.
#define CABINAUDIO_TRY_ACQUIRE(...) CABINAUDIO_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
/// The body is not checked: it implements the lock, or it follows a rule that clang cannot express
/// and that a comment beside it gives.
#define CABINAUDIO_UNCHECKED_LOCKING CABINAUDIO_THREAD_ATTRIBUTE(no_thread_safety_analysis)
